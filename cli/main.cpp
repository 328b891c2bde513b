// vkts3-cli: the printer-properties tool from a terminal. Every command runs
// the same models as the window, so the printer and the PPD receive exactly
// what the window would send. `vkts3-cli --help` lists the commands.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include "Cli.h"
#include "CupsPasswordPolicy.h"

namespace {

using cli::Command;

void PrintUsage(std::FILE* out) {
  std::fprintf(out, "usage: vkts3-cli COMMAND [ARGUMENTS] [--yes] [--json] [--verbose]\n\n");
  for (const Command& command : cli::Commands())
    std::fprintf(out, "  vkts3-cli %s %s\n", command.name, command.synopsis);
  std::fprintf(out,
               "\n--yes answers the questions the window would ask with Yes (else they are asked on a terminal,\n"
               "or answered No); --verbose writes the diagnostic log to standard error; `vkts3-cli COMMAND --help`\n"
               "tells what a command does.\n");
}

void PrintCommandHelp(std::FILE* out, const Command& command) {
  std::fprintf(out, "usage: vkts3-cli %s %s\n\n%s\n", command.name, command.synopsis, command.help);
}

}  // namespace

int main(int argc, char** argv) {
  NeverAskForCupsPassword();
  if (argc < 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h") {
    PrintUsage(argc < 2 ? stderr : stdout);
    return argc < 2 ? cli::kUsage : cli::kDone;
  }
  const std::string name = argv[1];
  const auto& commands = cli::Commands();
  const auto found =
      std::find_if(commands.begin(), commands.end(), [&](const Command& command) { return name == command.name; });
  if (found == commands.end()) {
    std::fprintf(stderr, "vkts3-cli: unknown command %s\n", name.c_str());
    PrintUsage(stderr);
    return cli::kUsage;
  }
  const Command& command = *found;

  cli::Args args;
  bool verbose = false;
  for (int i = 2; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--help" || arg == "-h") {
      PrintCommandHelp(stdout, command);
      return cli::kDone;
    } else if (arg == "--json") {
      args.json = true;
    } else if (arg == "--yes") {
      args.yes = true;
    } else if (arg == "--verbose") {
      verbose = true;
    } else if (arg.rfind("--", 0) == 0 && arg.size() > 2) {
      const bool takesValue = std::find(command.valueOptions.begin(), command.valueOptions.end(), arg.substr(2)) !=
                              command.valueOptions.end();
      if (!takesValue || i + 1 >= argc) {
        std::fprintf(stderr, "vkts3-cli %s: %s %s\n", name.c_str(),
                     takesValue ? "missing value after" : "unknown option", arg.c_str());
        PrintCommandHelp(stderr, command);
        return cli::kUsage;
      }
      args.values[arg.substr(2)].push_back(argv[++i]);
    } else {
      args.positional.push_back(arg);
    }
  }
  const int count = static_cast<int>(args.positional.size());
  if (count < command.minPositional || (command.maxPositional >= 0 && count > command.maxPositional)) {
    PrintCommandHelp(stderr, command);
    return cli::kUsage;
  }

  // The answer goes to standard output and notices to standard error, both
  // kept aside; the library's own lines (the diagnostic log on standard
  // error, a few transport messages on standard output) go nowhere, or to
  // standard error with --verbose.
  std::FILE* out = ::fdopen(::dup(STDOUT_FILENO), "w");
  std::FILE* err = ::fdopen(::dup(STDERR_FILENO), "w");
  if (!out || !err) return cli::kFailed;
  std::setvbuf(err, nullptr, _IONBF, 0);
  const int sink = verbose ? ::dup(STDERR_FILENO) : ::open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (sink >= 0) {
    ::dup2(sink, STDOUT_FILENO);
    if (!verbose) ::dup2(sink, STDERR_FILENO);
    ::close(sink);
  }

  TerminalPrompter prompter(err, args.yes, ::isatty(STDIN_FILENO) ? &std::cin : nullptr);
  cli::Io io{out, err, prompter};
  const int status = command.run(io, args);
  std::fflush(out);
  return status;
}
