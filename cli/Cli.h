// The command-line tool's frame: parsed arguments, the command table, and the
// helpers every command shares (output streams, opening a session, JSON).
#pragma once

#include <array>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CardSetupModel.h"
#include "DeviceCommunication.h"
#include "PPDHelper.h"
#include "PrinterInformation.h"
#include "TerminalPrompter.h"

namespace cli {

// Exit statuses.
constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kUsage = 2;

struct Args {
  std::vector<std::string> positional;                     // after the command name
  std::map<std::string, std::vector<std::string>> values;  // --name VALUE, in order given
  bool json = false;
  bool yes = false;

  bool Has(const std::string& name) const { return values.count(name) != 0; }
  // The last value given for --name, or `fallback`.
  std::string Value(const std::string& name, const std::string& fallback = {}) const;
};

// Where a command writes: its answer to `out` (standard output), notices and
// failures to `err` (standard error). The library's own diagnostic lines go
// elsewhere (nowhere, or standard error with --verbose).
struct Io {
  std::FILE* out;
  std::FILE* err;
  TerminalPrompter& prompter;
};

struct Command {
  const char* name;
  const char* synopsis;                   // the arguments after the name
  const char* help;                       // what it does, one paragraph
  std::vector<std::string> valueOptions;  // options that take a value ("--set", "--kind", ...)
  int (*run)(Io& io, const Args& args);
  int minPositional;
  int maxPositional;  // -1: no limit
};

// Every command, in the order `--help` lists them.
const std::vector<Command>& Commands();

// Tells the reason on standard error and returns kFailed.
int Fail(Io& io, const std::string& reason);

// A session to the queue that answers, as the window's start-up would have
// it; null (after telling why on standard error) when there is none.
std::unique_ptr<DeviceCommunication> OpenSession(Io& io, const std::string& queue);

// A queue's card setup as the window's start-up leaves it: the session, the
// driver settings, the printer facts and the card-setup model.
struct CardSetupSession {
  std::unique_ptr<DeviceCommunication> session;
  PPDHelper driverSettings;
  PrinterInformation info;
  std::array<std::string, 4> offsets;  // front X, front Y, back X, back Y as the printer reports them
  CardSetupModel model;
};
// Null (after telling why) when the printer or its driver settings cannot be had.
std::unique_ptr<CardSetupSession> OpenCardSetup(Io& io, const std::string& queue);

// The --set NAME=VALUE pairs of a command whose names are `names`: the value
// of each name (the last one given), in the order of `names`. The reason
// when a pair names something else.
std::string ParseSettings(const Args& args, const std::vector<std::string>& names,
                          std::vector<std::optional<std::string>>& values);

// Chooses each value given with --set through `set` (the reason when the
// value is refused, else empty), in the order of the names. The first
// refusal's reason, or empty; `changing` tells whether any value was given.
std::string ChooseSettings(const std::vector<std::optional<std::string>>& wanted,
                           const std::function<std::string(size_t index, const std::string& value)>& set,
                           bool& changing);

// Prints `fields` (name, value) as "name: value" lines, or with --json as one
// object that starts with the queue.
void PrintFields(Io& io, const Args& args, const std::string& queue,
                 const std::vector<std::pair<std::string, std::string>>& fields);

// A JSON string literal of `text`.
std::string JsonString(const std::string& text);

// A progress bar on standard error when it is a terminal: "sent of total".
void ShowProgress(Io& io, long long sent, long long total);
void EndProgress(Io& io);

// The command tables of each group.
void AddInfoCommands(std::vector<Command>& commands);
void AddToolsCommands(std::vector<Command>& commands);
void AddCardSetupCommands(std::vector<Command>& commands);
void AddJobLogCommands(std::vector<Command>& commands);
void AddArchiveCommands(std::vector<Command>& commands);
void AddTestCardCommands(std::vector<Command>& commands);
void AddEncoderCommands(std::vector<Command>& commands);

}  // namespace cli
