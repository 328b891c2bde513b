// Encoder settings: the printer's settings reply read into the choices, and
// the commands that change them.
#include "EncoderSettings.h"

#include <algorithm>
#include <initializer_list>

#include "DeviceCommunication.h"
#include "Log.h"

namespace {

// Write (W) and read (R) format codes by track and by format index: a
// track's own format is its bare capital letter.
constexpr const char* kWriteCodes[3][3] = {{"A", "a2", "a3"}, {"b1", "B", "b3"}, {"c1", "c2", "C"}};
constexpr const char* kReadCodes[3][3] = {{"Q", "q2", "q3"}, {"r1", "R", "r3"}, {"s1", "s2", "S"}};

// Density items: 0 = 210 bits per inch, 1 = 75.
constexpr const char* kDensities[2] = {"210", "75"};

bool Contains(const std::string& text, const char* marker) { return text.find(marker) != std::string::npos; }

bool ContainsAny(const std::string& text, std::initializer_list<const char*> markers) {
  return std::any_of(markers.begin(), markers.end(), [&](const char* m) { return Contains(text, m); });
}

}  // namespace

void EncoderSettings::ReadSettingsReply(const std::string& reply, State& state) {
  // Plain substring tests in a fixed order; nothing is tokenised.
  if (Contains(reply, "TRACK 1 W:A")) state.modes[0] = 0;
  if (Contains(reply, "TRACK 1 W:a3")) state.modes[0] = 2;
  if (Contains(reply, "TRACK 1 W:a2")) state.modes[0] = 1;

  if (Contains(reply, "TRACK 2 W:b1")) state.modes[1] = 0;
  if (Contains(reply, "TRACK 2 W:B")) state.modes[1] = 1;
  if (Contains(reply, "TRACK 2 W:b3")) state.modes[1] = 2;

  if (Contains(reply, "TRACK 3 W:c1")) state.modes[2] = 0;
  if (Contains(reply, "TRACK 3 W:c2")) state.modes[2] = 1;
  if (Contains(reply, "TRACK 3 W:C")) state.modes[2] = 2;

  // A density counts only when the track's write and read codes form one of
  // the matched pairs; a mixed pair leaves the density as it was.
  if (ContainsAny(reply, {"TRACK 1 W:A R:Q D:75", "TRACK 1 W:a2 R:q2 D:75", "TRACK 1 W:a3 R:q3 D:75"})) {
    state.densities[0] = 1;
  }
  if (ContainsAny(reply, {"TRACK 1 W:A R:Q D:210", "TRACK 1 W:a2 R:q2 D:210", "TRACK 1 W:a3 R:q3 D:210"})) {
    state.densities[0] = 0;
  }
  if (ContainsAny(reply, {"TRACK 2 W:b1 R:r1 D:75", "TRACK 2 W:B R:R D:75", "TRACK 2 W:b3 R:r3 D:75"})) {
    state.densities[1] = 1;
  }
  if (ContainsAny(reply, {"TRACK 2 W:b1 R:r1 D:210", "TRACK 2 W:B R:R D:210", "TRACK 2 W:b3 R:r3 D:210"})) {
    state.densities[1] = 0;
  }
  if (ContainsAny(reply, {"TRACK 3 W:c1 R:s1 D:75", "TRACK 3 W:c2 R:s2 D:75", "TRACK 3 W:C R:S D:75"})) {
    state.densities[2] = 1;
  }
  // The first 210 marker of track 3 pairs c1 with "R:Q", not "R:s1": the
  // product has always matched it so, and a c1/s1 track at 210 keeps its
  // density unchanged.
  if (ContainsAny(reply, {"TRACK 3 W:c1 R:Q D:210", "TRACK 3 W:c2 R:s2 D:210", "TRACK 3 W:C R:S D:210"})) {
    state.densities[2] = 0;
  }

  // Each button follows its own word.
  state.high = Contains(reply, "CO:HIGH");
  state.low = Contains(reply, "CO:LOW");
}

bool EncoderSettings::SetMagUIAdvSettings(State& state) {
  if (!context_.session) return false;
  ReadSettingsReply(context_.session->GetMagAdvancedSettings(), state);
  return true;
}

void EncoderSettings::SendSetting(const std::string& text) {
  if (!context_.session) return;
  const std::string command = "\x1b" + text + "\r";
  // The answer carries nothing to act on; a failed step does not stop the rest.
  (void)context_.session->AskPrinter(command.data(), static_cast<int>(command.size()));
}

void EncoderSettings::EncodeApplyButton(const State& state) {
  for (int track = 0; track < 3; ++track) {
    const int mode = state.modes[track];
    if (mode < 0 || mode > 2) continue;  // no selection: nothing for this track
    SendSetting(StringPrintf("&CDEW %d %s", track + 1, kWriteCodes[track][mode]));
    SendSetting(StringPrintf("&CDER %d %s", track + 1, kReadCodes[track][mode]));
  }
  for (int track = 0; track < 3; ++track) {
    const int density = state.densities[track];
    if (density < 0 || density > 1) continue;
    SendSetting(StringPrintf("&D %d %s", track + 1, kDensities[density]));
  }
  SendSetting("&W 0");
  // Independent tests: both radios off sends neither command.
  if (state.high) SendSetting("&C 1");
  if (state.low) SendSetting("&C 0");

  // The notice comes after every command was sent; it closes by itself.
  context_.prompter.Show(kHeader, kApplyingNotice, {"OK", ""}, Prompter::Level::kCaution, context_.icon,
                         kApplyingNoticeSeconds);
}
