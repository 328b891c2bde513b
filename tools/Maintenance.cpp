// Maintenance commands: each talks straight to the printer through the
// session (write, reply request, read) and blocks its caller while it runs.
#include "Maintenance.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>

#include "DeviceCommunication.h"
#include "Log.h"
#include "Waits.h"

namespace {

constexpr char kAck = 0x06;
constexpr char kNak = 0x15;
constexpr char kCleanPrinterQuestion[] =
    "\nPlease remove the ribbon and cards from the printer.Close the printer cover and lid then click YES.Follow LCD "
    "instructions to continue with the cleaning process.";
constexpr char kCleanHeadQuestion[] =
    "\nPlease remove the ribbon from the printer.Close the head of the printer.Press Clear button on the printer.Then "
    "press YES";
constexpr char kResettingNotice[] = "\nPlease wait while printer is resetting.";

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

void Maintenance::EjectCard() {
  if (context_.session) context_.session->WriteToPrinter("\x1bMO\r", 4);
}

bool Maintenance::Clean(int kind) {
  const char* question = nullptr;
  const char* command = nullptr;
  int length = 0;
  switch (kind) {
    case 0:
      question = kCleanPrinterQuestion;
      command =
          "\x1b"
          "CLEAN\r";
      length = 7;
      break;
    case 1:
      question = kCleanHeadQuestion;
      command = "\x1bMCLEAN\r";
      length = 8;
      break;
    default:
      return false;
  }
  if (context_.prompter.Show(kHeader, question, {"Yes", "No"}, Prompter::Level::kCaution, context_.icon) != 0)
    return false;
  if (!context_.session) return false;
  context_.session->WriteToPrinter(command, length);
  // The printer answers when the cleaning starts; what it says is not examined.
  (void)context_.session->ReadFromPrinter();
  return true;
}

Maintenance::ConsoleOutcome Maintenance::ExecuteConsoleLine(const std::string& line,
                                                            const std::function<void()>& clearStatus) {
  using Kind = ConsoleOutcome::Kind;
  if (line.empty()) return {Kind::kEmpty, -1, {}};
  static const std::array<std::string, 3> kTestCardShortcuts{"A 0", "A 1", "A 2"};
  for (int kind = 0; kind < 3; ++kind) {
    if (line == kTestCardShortcuts[kind]) return {Kind::kTestCard, kind, "<ACK>"};
  }
  if (static_cast<int>(line.size()) > kMaxConsoleLine) {
    context_.prompter.Show(kHeader, kConsoleLineTooLong, {"Ok"}, Prompter::Level::kCaution, context_.icon);
    return {Kind::kTooLong, -1, {}};
  }
  DeviceCommunication* session = context_.session;
  if (!session) return {Kind::kNoSession, -1, {}};

  char command[kConsoleBufferSize] = {};
  std::snprintf(command, sizeof command, "\x1b%s\r", line.c_str());
  const int length = static_cast<int>(std::strlen(command));
  VktLog("Command send to printer is %s -- %d\n", command, length);
  if (line == "R") {
    session->WriteToPrinter(command, length);
    // The printer drops its connection while it resets: give it time, then connect again.
    if (clearStatus) clearStatus();
    context_.prompter.Show(kHeader, kResettingNotice, {}, Prompter::Level::kNote, {}, 20);
    Waits::Current().Sleep(std::chrono::seconds(8));
    session->ResetHandle();
    return {Kind::kReset, -1, {}};
  }

  const std::optional<std::string> reply = session->AskPrinter(command, length);
  if (!reply) return {Kind::kNoReply, -1, {}};
  if (!reply->empty() && (*reply)[0] == kNak) return {Kind::kReplied, -1, "COMMAND ERROR"};
  if (*reply == std::string(1, kAck)) return {Kind::kReplied, -1, "<ACK>"};
  if (!reply->empty()) return {Kind::kReplied, -1, *reply};
  // The session turns a reply that began with NAK into the empty text.
  return {Kind::kReplied, -1, "<NACK>"};
}

long long Maintenance::SendPRNFile(const std::string& path, const Progress& progress) {
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  DeviceCommunication* session = context_.session;
  if (!file || !session) return -1;
  std::fseek(file.get(), 0, SEEK_END);
  const long size = std::ftell(file.get());
  std::fseek(file.get(), 0, SEEK_SET);
  const long long total = size > 0 ? size : 0;
  if (progress) progress(0, total);
  std::array<char, kBlockSize> block;
  long long sent = 0;
  while (true) {
    const size_t count = std::fread(block.data(), 1, block.size(), file.get());
    if (count < 1) break;
    // The file's bytes go out as they are: no framing, no reply.
    session->WriteToPrinter(block.data(), static_cast<int>(count));
    sent += static_cast<long long>(count);
    if (progress) progress(sent, total);
  }
  return sent;
}
