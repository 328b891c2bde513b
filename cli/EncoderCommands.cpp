// The magnetic encoder from the command line: its settings, encoding and
// reading a card, through the same models as the encoding tab.
#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "CardEncoder.h"
#include "Cli.h"
#include "DeviceCommunication.h"
#include "EncoderSettings.h"
#include "TrackValidator.h"

namespace cli {
namespace {

using State = EncoderSettings::State;

// The settings in the order they are printed: the coercivity, then per track
// its mode and its density.
constexpr std::array<const char*, 7> kSettings{"coercivity", "t1-mode", "t1-density", "t2-mode",
                                               "t2-density", "t3-mode", "t3-density"};

bool IsMode(size_t setting) { return setting % 2 == 1; }
size_t TrackOf(size_t setting) { return (setting - 1) / 2; }

// The texts a setting takes: those of the window's radio pair or list.
std::vector<std::string> Choices(size_t setting) {
  if (setting == 0) return {EncoderSettings::kCoercivityTexts.begin(), EncoderSettings::kCoercivityTexts.end()};
  if (IsMode(setting)) return {EncoderSettings::kModeTexts.begin(), EncoderSettings::kModeTexts.end()};
  return {EncoderSettings::kDensityTexts.begin(), EncoderSettings::kDensityTexts.end()};
}

// The index of the choice `state` holds, or -1 when it holds none (or, for
// the coercivity, both).
int Chosen(const State& state, size_t setting) {
  if (setting == 0) return state.high == state.low ? -1 : state.high ? 0 : 1;
  return IsMode(setting) ? state.modes[TrackOf(setting)] : state.densities[TrackOf(setting)];
}

void Choose(State& state, size_t setting, int index) {
  if (setting == 0) {
    state.high = index == 0;
    state.low = index == 1;
  } else if (IsMode(setting)) {
    state.modes[TrackOf(setting)] = index;
  } else {
    state.densities[TrackOf(setting)] = index;
  }
}

EncoderContext Context(Io& io, DeviceCommunication& session, const std::string& queue) {
  return {&session, io.prompter, {}, queue};
}

int Encoder(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::vector<std::string> names(kSettings.begin(), kSettings.end());
  std::vector<std::optional<std::string>> wanted;
  if (const std::string problem = ParseSettings(args, names, wanted); !problem.empty()) return Fail(io, problem);
  std::vector<int> chosen(names.size(), -1);
  bool changing = false;
  for (size_t setting = 0; setting < names.size(); ++setting) {
    if (!wanted[setting]) continue;
    const std::vector<std::string> choices = Choices(setting);
    const auto choice = std::find(choices.begin(), choices.end(), *wanted[setting]);
    if (choice == choices.end()) {
      std::string valid;
      for (const std::string& text : choices) valid += (valid.empty() ? "" : ", ") + text;
      return Fail(io, names[setting] + "=" + *wanted[setting] + " is not offered; valid: " + valid);
    }
    chosen[setting] = static_cast<int>(choice - choices.begin());
    changing = true;
  }

  auto session = OpenSession(io, queue);
  if (!session) return kFailed;
  EncoderSettings settings(Context(io, *session, queue));
  if (changing) {
    // As in the window: the controls as start-up filled them from the
    // printer, the changes, then Apply, which sends every setting.
    State state = EncoderSettings::Factory();
    settings.SetMagUIAdvSettings(state);
    for (size_t setting = 0; setting < names.size(); ++setting) {
      if (chosen[setting] >= 0) Choose(state, setting, chosen[setting]);
    }
    settings.EncodeApplyButton(state);
  }
  // What the printer holds: a setting its reply does not name stays unknown.
  State held = EncoderSettings::NothingSelected();
  settings.SetMagUIAdvSettings(held);
  std::vector<std::pair<std::string, std::string>> fields;
  for (size_t setting = 0; setting < names.size(); ++setting) {
    const int index = Chosen(held, setting);
    fields.emplace_back(names[setting], index < 0 ? "unknown" : Choices(setting)[static_cast<size_t>(index)]);
  }
  PrintFields(io, args, queue, fields);
  for (size_t setting = 0; setting < names.size(); ++setting) {
    if (chosen[setting] >= 0 && Chosen(held, setting) != chosen[setting])
      return Fail(io, "the printer did not take " + names[setting]);
  }
  return kDone;
}

int Encode(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  auto session = OpenSession(io, queue);
  if (!session) return kFailed;
  const EncoderContext context = Context(io, *session, queue);
  // Each track's text must pass the rule of the format the printer holds for
  // it, as the window's lists show it after start-up.
  State state = EncoderSettings::Factory();
  EncoderSettings(context).SetMagUIAdvSettings(state);
  TrackValidator validator(context);
  std::array<CardEncoder::Track, 3> tracks;
  for (size_t track = 0; track < 3; ++track) {
    const std::string option = "track" + std::to_string(track + 1);
    if (!args.Has(option)) continue;
    const std::u16string text = TrackValidator::FromUtf8(args.Value(option));
    const auto field = static_cast<TrackValidator::Field>(track);
    // The alert has said what the field would have kept.
    if (validator.SetValidationToTrack(field, text, state.modes) != text) return kFailed;
    tracks[track] = {true, text};
  }
  switch (CardEncoder(context).EncodeBtn(tracks)) {
    case CardEncoder::Encoded::kDeclined:
      return Fail(io, "card not encoded");
    case CardEncoder::Encoded::kNoData:
      return kFailed;  // the notice named the track
    case CardEncoder::Encoded::kSent:
      break;
  }
  return kDone;
}

int Read(Io& io, const Args& args) {
  std::array<bool, 3> ticked{true, true, true};
  if (args.Has("tracks")) {
    const std::string list = args.Value("tracks");
    ticked = {false, false, false};
    bool valid = !list.empty();
    for (size_t at = 0; valid && at < list.size(); at += 2) {
      const char digit = list[at];
      valid = digit >= '1' && digit <= '3' && (at + 1 == list.size() || list[at + 1] == ',');
      if (valid) ticked[static_cast<size_t>(digit - '1')] = true;
    }
    if (!valid || list.back() == ',')
      return Fail(io, "--tracks takes track numbers 1, 2, 3 separated by commas, not " + list);
  }
  const std::string& queue = args.positional[0];
  auto session = OpenSession(io, queue);
  if (!session) return kFailed;
  CardEncoder encoder(Context(io, *session, queue));
  if (!encoder.AskForCard()) return Fail(io, "card not read");
  const CardEncoder::CardRead read = encoder.ReadTracks(ticked);

  std::vector<std::pair<std::string, std::string>> fields;
  for (size_t track = 0; track < 3; ++track) {
    if (read.tracks[track]) fields.emplace_back("track" + std::to_string(track + 1), *read.tracks[track]);
  }
  PrintFields(io, args, queue, fields);
  if (read.unanswered) return Fail(io, "the printer did not answer for track " + std::to_string(read.unanswered));
  return kDone;
}

}  // namespace

void AddEncoderCommands(std::vector<Command>& commands) {
  commands.push_back({"encoder",
                      "QUEUE [--set NAME=VALUE...] [--json]",
                      "Prints the magnetic encoder's settings the printer holds: coercivity, and per track the "
                      "format (t1-mode, t2-mode, t3-mode) and the density (t1-density, t2-density, t3-density), "
                      "named by the texts of the window's lists; a setting the printer does not report is "
                      "unknown. With --set NAME=VALUE (as often as needed) the settings are applied "
                      "as the window's Apply sends them, VALUE being one of \"High Coercivity\", \"Low "
                      "Coercivity\"; \"Track 1 format (alphanumeric)\", \"Track 2 format (numeric)\", \"Track 3 "
                      "format (numeric)\"; \"210 BPI\", \"75 BPI\".",
                      {"set"},
                      Encoder,
                      1,
                      1});
  commands.push_back({"encode",
                      "QUEUE [--track1 TEXT] [--track2 TEXT] [--track3 TEXT] [--yes]",
                      "Encodes the magnetic stripe of a card from the feeder, after the window's card question; a "
                      "track not given is encoded empty. A text must pass the window's rule for the format the "
                      "printer holds for its track: in track-1 format at most 76 of blank $ ' ( ) . / ^ * + A-Z "
                      "0-9, in track-2 or track-3 format at most 37 or 104 of = 0-9.",
                      {"track1", "track2", "track3"},
                      Encode,
                      1,
                      1});
  commands.push_back({"read",
                      "QUEUE [--tracks 1,2,3] [--yes] [--json]",
                      "Reads the tracks of a card from the feeder (all three unless --tracks names some), after "
                      "the window's card question, and prints each track read; a track the printer could not "
                      "read is empty.",
                      {"tracks"},
                      Read,
                      1,
                      1});
}

}  // namespace cli
