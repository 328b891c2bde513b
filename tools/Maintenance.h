// Card eject, cleaning, the command console and raw PRN files: commands that
// go straight to the printer through the session.
#pragma once

#include <functional>
#include <string>

#include "ToolsContext.h"

class Maintenance {
 public:
  // A console line is sent as ESC, the line, CR and a zero byte in a buffer
  // of this size, so a line may hold at most kMaxConsoleLine characters.
  static constexpr int kConsoleBufferSize = 48;
  static constexpr int kMaxConsoleLine = kConsoleBufferSize - 3;
  static constexpr const char* kConsoleLineTooLong =
      "The command is too long: a printer command can hold at most 45 characters.";
  // Files go to the printer in blocks of this size.
  static constexpr int kBlockSize = 4096;
  static constexpr const char* kHeader = "Orvex Printer Settings";

  // Called after each block with the bytes sent so far and the file's size.
  using Progress = std::function<void(long long sent, long long total)>;

  explicit Maintenance(ToolsContext context) : context_(std::move(context)) {}

  void EjectCard();
  // 0 cleans the printer, 1 the encoder; asks first. True when the command
  // went out.
  bool Clean(int kind);

  // What became of a console line.
  struct ConsoleOutcome {
    enum class Kind { kTestCard, kEmpty, kTooLong, kNoSession, kReset, kNoReply, kReplied } kind = Kind::kEmpty;
    int testCard = -1;   // kTestCard: the card the shortcut "A 0".."A 2" names
    std::string status;  // kReplied: "<ACK>", "<NACK>", "COMMAND ERROR" or the reply text
  };
  // Sends one console line and reads the printer's answer. The test-card
  // shortcuts are the tool's own and never reach the printer; "R" resets the
  // printer: `clearStatus` runs before its notice, then a pause, then the
  // session connects again.
  ConsoleOutcome ExecuteConsoleLine(const std::string& line, const std::function<void()>& clearStatus = {});

  // Sends the file's bytes as they are, in kBlockSize blocks. The bytes sent,
  // or -1 when the file cannot be opened or there is no session.
  long long SendPRNFile(const std::string& path, const Progress& progress = {});

 private:
  ToolsContext context_;
};
