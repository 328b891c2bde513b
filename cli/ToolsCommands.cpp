// The printer tools from the command line: eject, clean, console, send-prn,
// firmware, offsets and feeder, through the same models as the tools and
// device-settings tabs.
#include <array>
#include <cstdlib>
#include <string>

#include "Cli.h"
#include "DeviceCommunication.h"
#include "DeviceSettings.h"
#include "FirmwareDownload.h"
#include "Maintenance.h"

namespace cli {
namespace {

ToolsContext Context(Io& io, DeviceCommunication& session) { return {&session, io.prompter, {}}; }

int Eject(Io& io, const Args& args) {
  auto session = OpenSession(io, args.positional[0]);
  if (!session) return kFailed;
  Maintenance(Context(io, *session)).EjectCard();
  return kDone;
}

int Clean(Io& io, const Args& args) {
  const std::string kind = args.Value("kind", "printer");
  if (kind != "printer" && kind != "encoder") return Fail(io, "--kind is printer or encoder, not " + kind);
  auto session = OpenSession(io, args.positional[0]);
  if (!session) return kFailed;
  if (!Maintenance(Context(io, *session)).Clean(kind == "printer" ? 0 : 1)) return Fail(io, "cleaning not started");
  return kDone;
}

int Console(Io& io, const Args& args) {
  std::string line;
  for (size_t i = 1; i < args.positional.size(); ++i) line += (i > 1 ? " " : "") + args.positional[i];
  auto session = OpenSession(io, args.positional[0]);
  if (!session) return kFailed;
  const Maintenance::ConsoleOutcome outcome = Maintenance(Context(io, *session)).ExecuteConsoleLine(line);
  using Kind = Maintenance::ConsoleOutcome::Kind;
  switch (outcome.kind) {
    case Kind::kReplied:
      std::fprintf(io.out, "%s\n", outcome.status.c_str());
      return kDone;
    case Kind::kReset:
      return kDone;
    case Kind::kTestCard:
      return Fail(io,
                  "\"" + line + "\" is the window's test-card shortcut; print test cards with `vkts3-cli test-card`");
    case Kind::kNoReply:
      return Fail(io, "the printer did not answer");
    default:  // empty, too long (already told), no session
      return kFailed;
  }
}

int SendPrn(Io& io, const Args& args) {
  auto session = OpenSession(io, args.positional[0]);
  if (!session) return kFailed;
  const std::string& path = args.positional[1];
  const long long sent = Maintenance(Context(io, *session)).SendPRNFile(path, [&io](long long done, long long total) {
    ShowProgress(io, done, total);
  });
  EndProgress(io);
  if (sent < 0) return Fail(io, "cannot read " + path);
  std::fprintf(io.out, "%lld bytes sent\n", sent);
  return kDone;
}

int Firmware(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::string& path = args.positional[1];
  auto session = OpenSession(io, queue);
  if (!session) return kFailed;
  FirmwareDownload download(Context(io, *session));
  FirmwareDownload::Details details;
  switch (download.Choose(path, &details)) {
    case FirmwareDownload::Check::kUnreadable:
      return Fail(io, "cannot read " + path);
    case FirmwareDownload::Check::kRejected:
      return kFailed;  // the notice said why
    case FirmwareDownload::Check::kFirmware:
      break;
  }
  // The window shows the kind and checksum beside the Download button; here
  // they are part of the question.
  const std::string question = "Download " + path + " (" + details.type + ", checksum " + details.checksum + ") to " +
                               queue + "? The printer resets afterwards.";
  if (io.prompter.Show(Maintenance::kHeader, question, {"Yes", "No"}, Prompter::Level::kCaution) != 0)
    return Fail(io, "firmware not downloaded");
  const bool sent = download.Download(
      path, [&io](const std::string& text) { std::fprintf(io.err, "%s\n", text.c_str()); },
      [&io](long long done, long long total) { ShowProgress(io, done, total); });
  EndProgress(io);
  return sent ? kDone : Fail(io, "firmware not downloaded");
}

// "12" or "-4": a whole number as the offset fields accept it.
bool ParseOffset(const std::string& text, int& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  const long number = std::strtol(text.c_str(), &end, 10);
  if (*end != '\0' || number < -9999 || number > 9999) return false;
  value = static_cast<int>(number);
  return true;
}

int Offsets(Io& io, const Args& args) {
  std::array<int, 4> wanted{};
  const bool setting = args.Has("set");
  if (setting) {
    const std::string text = args.Value("set");
    size_t start = 0;
    for (int i = 0; i < 4; ++i) {
      const size_t comma = text.find(',', start);
      const std::string part = text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
      if (!ParseOffset(part, wanted[static_cast<size_t>(i)]) || (i < 3) == (comma == std::string::npos))
        return Fail(io, "--set takes four whole numbers FX,FY,BX,BY, not " + text);
      start = comma + 1;
    }
  }
  auto session = OpenSession(io, args.positional[0]);
  if (!session) return kFailed;
  DeviceSettings settings(Context(io, *session));
  if (setting) {
    if (!settings.ConfirmOffsetChange()) return Fail(io, "offsets not changed");
    settings.SendOffsets(wanted);
  }
  const std::array<std::string, 4> offsets = settings.ReadOffsets();
  static const std::array<const char*, 4> kNames{"FrontX", "FrontY", "BackX", "BackY"};
  std::vector<std::pair<std::string, std::string>> fields;
  for (size_t i = 0; i < 4; ++i) fields.emplace_back(kNames[i], offsets[i]);
  PrintFields(io, args, args.positional[0], fields);
  return kDone;
}

int Feeder(Io& io, const Args& args) {
  static const std::array<const char*, 3> kWords{"card", "single", "auto"};
  int wanted = -1;
  if (args.Has("set")) {
    const std::string word = args.Value("set");
    for (int i = 0; i < 3; ++i)
      if (word == kWords[static_cast<size_t>(i)]) wanted = i;
    if (wanted < 0) return Fail(io, "--set takes card, single or auto, not " + word);
  }
  auto session = OpenSession(io, args.positional[0]);
  if (!session) return kFailed;
  DeviceSettings settings(Context(io, *session));
  int mode = settings.FeederStatus();
  // The window offers Apply only for a mode other than the printer's.
  if (wanted >= 0 && wanted != mode) {
    settings.SetFeeder(wanted);
    mode = settings.FeederStatus();
  }
  const bool known = mode >= 0 && mode < 3;
  const std::string word = known ? kWords[static_cast<size_t>(mode)] : std::to_string(mode);
  const std::string text = known ? DeviceSettings::kFeederModes[static_cast<size_t>(mode)] : "unknown";
  if (args.json)
    std::fprintf(io.out, "{\"queue\": %s, \"feeder\": %s, \"text\": %s}\n", JsonString(args.positional[0]).c_str(),
                 JsonString(word).c_str(), JsonString(text).c_str());
  else
    std::fprintf(io.out, "%s (%s)\n", word.c_str(), text.c_str());
  return wanted >= 0 && mode != wanted ? Fail(io, "the printer kept its feeder mode") : kDone;
}

}  // namespace

void AddToolsCommands(std::vector<Command>& commands) {
  commands.push_back({"clean",
                      "QUEUE [--kind printer|encoder] [--yes]",
                      "Starts the cleaning of the printer (the default) or of the encoder, after the window's "
                      "question.",
                      {"kind"},
                      Clean,
                      1,
                      1});
  commands.push_back({"eject", "QUEUE", "Ejects the card in the printer.", {}, Eject, 1, 1});
  commands.push_back({"console",
                      "QUEUE COMMAND",
                      "Sends one printer command (at most 45 characters, without ESC and CR) and prints the "
                      "printer's answer: <ACK>, <NACK>, COMMAND ERROR or the reply text.",
                      {},
                      Console,
                      2,
                      -1});
  commands.push_back({"send-prn", "QUEUE FILE", "Sends a raw PRN file to the printer as it is.", {}, SendPrn, 2, 2});
  commands.push_back({"firmware",
                      "QUEUE FILE [--yes]",
                      "Checks that FILE is printer or laminator firmware, asks to confirm (naming its kind and "
                      "checksum), downloads it and waits for the printer to reset.",
                      {},
                      Firmware,
                      2,
                      2});
  commands.push_back({"offsets",
                      "QUEUE [--set FX,FY,BX,BY] [--yes] [--json]",
                      "Prints the print offsets kept in the printer (front X, front Y, back X, back Y); with --set, "
                      "sends new ones after the window's question, then prints what the printer holds.",
                      {"set"},
                      Offsets,
                      1,
                      1});
  commands.push_back({"feeder",
                      "QUEUE [--set card|single|auto] [--json]",
                      "Prints the card feeder mode (card feeder, single feeder slot, auto feed); with --set, "
                      "changes it.",
                      {"set"},
                      Feeder,
                      1,
                      1});
}

}  // namespace cli
