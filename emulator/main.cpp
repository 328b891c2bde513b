// vkt-emulator: one emulated card printer on a loopback TCP port, for the
// tests, the sandbox, the demo and the benchmarks.
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "EmulatorServer.h"
#include "Log.h"

namespace {

const char kUsage[] =
    "Usage: vkt-emulator --port PORT --profile FILE [options]\n"
    "\n"
    "Emulates one Orvex VKT card printer on 127.0.0.1:PORT (the printer's raw port).\n"
    "\n"
    "  --port PORT          TCP port on 127.0.0.1; 0 picks a free one\n"
    "  --profile FILE       printer profile (see emulator/profiles/README.md)\n"
    "  --capture-dir DIR    write raw data (print jobs, PRN files) and firmware bodies here\n"
    "  --transcript FILE    append every byte received and sent, per connection\n"
    "  --nak CMD            answer the error form to CMD (repeatable)\n"
    "  --silent CMD         never answer CMD, not even to the reply request (repeatable)\n"
    "  --close-after N      drop each connection after it received N bytes\n"
    "  --delay-ms N         delay every reply by N milliseconds\n"
    "  --port-file FILE     write the port number to FILE once listening\n"
    "  --quiet              no log line per command\n"
    "  --help               this text\n"
    "\n"
    "A CMD matches a command equal to it or starting with it and a blank\n"
    "(\"!V\" matches \"!V 15\"). Stops on SIGTERM or SIGINT.\n";

bool ParseNumber(const char* text, long* out) {
  char* end = nullptr;
  long value = std::strtol(text, &end, 10);
  if (end == text || *end != '\0' || value < 0) return false;
  *out = value;
  return true;
}

int Fail(const char* message) {
  std::fprintf(stderr, "vkt-emulator: %s\n%s", message, kUsage);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  long port = -1;
  std::string profilePath, captureDir, transcriptPath, portFile;
  std::vector<std::string> naks, silents;
  long closeAfter = -1, delayMs = -1;
  bool quiet = false;

  for (int i = 1; i < argc; ++i) {
    std::string option = argv[i];
    if (option == "--help" || option == "-h") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (option == "--quiet") {
      quiet = true;
      continue;
    }
    if (i + 1 >= argc) return Fail(("missing value after " + option).c_str());
    const char* value = argv[++i];
    if (option == "--port") {
      if (!ParseNumber(value, &port) || port > 65535) return Fail("bad --port");
    } else if (option == "--profile") {
      profilePath = value;
    } else if (option == "--capture-dir") {
      captureDir = value;
    } else if (option == "--transcript") {
      transcriptPath = value;
    } else if (option == "--nak") {
      naks.push_back(value);
    } else if (option == "--silent") {
      silents.push_back(value);
    } else if (option == "--close-after") {
      if (!ParseNumber(value, &closeAfter)) return Fail("bad --close-after");
    } else if (option == "--delay-ms") {
      if (!ParseNumber(value, &delayMs) || delayMs > 600000) return Fail("bad --delay-ms");
    } else if (option == "--port-file") {
      portFile = value;
    } else {
      return Fail(("unknown option " + option).c_str());
    }
  }
  if (port < 0) return Fail("--port is required");
  if (profilePath.empty()) return Fail("--profile is required");

  PrinterProfile profile;
  std::string error;
  if (!LoadPrinterProfile(profilePath, &profile, &error)) {
    std::fprintf(stderr, "vkt-emulator: %s\n", error.c_str());
    return 1;
  }
  for (const auto& command : naks) profile.nakCommands[command] = 0;
  for (const auto& command : silents) profile.silentCommands.push_back(command);
  if (closeAfter >= 0) profile.closeAfterBytes = closeAfter;
  if (delayMs >= 0) profile.delayMs = static_cast<int>(delayMs);

  // Signals are taken by sigwait below; block them before the server thread
  // exists so it inherits the mask.
  sigset_t stopSignals;
  sigemptyset(&stopSignals);
  sigaddset(&stopSignals, SIGTERM);
  sigaddset(&stopSignals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  EmulatorServer server(profile);
  server.Engine().SetLogCommands(!quiet);
  if (!captureDir.empty()) server.Engine().SetCaptureDirectory(captureDir);
  if (!transcriptPath.empty() && !server.SetTranscriptFile(transcriptPath)) {
    std::fprintf(stderr, "vkt-emulator: cannot open transcript %s: %s\n", transcriptPath.c_str(),
                 std::strerror(errno));
    return 1;
  }
  if (!server.Start(static_cast<int>(port))) {
    std::fprintf(stderr, "vkt-emulator: cannot listen on 127.0.0.1:%ld: %s\n", port, std::strerror(errno));
    return 1;
  }
  if (!portFile.empty()) {
    // Written under a temporary name and renamed: a reader never sees a partial number.
    std::string partial = portFile + ".part";
    {
      std::ofstream file(partial, std::ios::trunc);
      file << server.Port() << "\n";
    }
    if (std::rename(partial.c_str(), portFile.c_str()) != 0) {
      std::fprintf(stderr, "vkt-emulator: cannot write %s: %s\n", portFile.c_str(), std::strerror(errno));
      server.Stop();
      return 1;
    }
  }
  VktLog("vkt-emulator: %s (%s) listening on 127.0.0.1:%d", profile.model.c_str(), profile.firmware.c_str(),
         server.Port());

  int signalNumber = 0;
  sigwait(&stopSignals, &signalNumber);
  VktLog("vkt-emulator: stopping on signal %d", signalNumber);
  server.Stop();
  return 0;
}
