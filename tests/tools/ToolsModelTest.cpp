// The printer-tools models against the emulated printer: the bytes it
// received (and the writes they came in), the prompts and waits, and the
// session after the printer's reset.
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "DeviceSettings.h"
#include "EncoderTestFixture.h"
#include "FirmwareDownload.h"
#include "Maintenance.h"

namespace {

using namespace std::chrono_literals;
using encoder_test::Prompts;
using encoder_test::WithReplyRequest;
using Steps = std::vector<std::pair<long long, long long>>;  // progress: sent, total
using Wait = RecordingWaits::Entry;
using Kind = Maintenance::ConsoleOutcome::Kind;
using Check = FirmwareDownload::Check;
using Strings = std::vector<std::string>;

// A question or alert (with buttons), or a notice that closes itself after `seconds`.
Prompter::Prompt Ask(const std::string& message, Strings buttons = {"Yes", "No"}, int seconds = 0,
                     const std::string& icon = encoder_test::kIcon) {
  const auto level = buttons.empty() ? Prompter::Level::kNote : Prompter::Level::kCaution;
  return {"Orvex Printer Settings", message, buttons, level, icon, seconds};
}

// A firmware image of our own (or any file): a pattern with the markers at
// 14 and 15 and the model tag at 277 (when the file is long enough).
std::string FirmwareBytes(size_t size, int marker1, int marker2, const std::string& tag = "K100") {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + 7) & 0xFF);
  if (size > 15) bytes[14] = static_cast<char>(marker1), bytes[15] = static_cast<char>(marker2);
  if (size >= 281) bytes.replace(277, 4, tag);
  return bytes;
}

class ToolsModelTest : public encoder_test::EncoderTest {
 protected:
  ~ToolsModelTest() override { std::filesystem::remove_all(folder_); }

  // Forgets the prompts, waits, writes and status lines so far; records each progress call from here.
  std::function<void(long long, long long)> Track() {
    prompter_.prompts.clear(), waits_.entries.clear(), wire_->writes.clear(), progress_.clear(), status_.clear();
    return [this](long long sent, long long total) { progress_.emplace_back(sent, total); };
  }
  ToolsContext Tools(bool session = true) {
    return {session ? session_.get() : nullptr, prompter_, encoder_test::kIcon};
  }
  // A file of `bytes` in the test's folder; size -1: a path with no file.
  std::string File(const std::string& bytes, int size = 0) {
    std::filesystem::create_directories(folder_);
    const std::string path = folder_ + "/" + std::to_string(files_++);
    if (size >= 0) std::ofstream(path, std::ios::binary) << bytes;
    return path;
  }
  bool Download(const std::string& path, bool withSession = true) {
    const auto progress = Track();
    const auto status = [this](const std::string& text) { status_.push_back(text); };
    return FirmwareDownload(Tools(withSession)).Download(path, status, progress);
  }

  const std::string folder_ = testing::TempDir() + "vkt-tools-" + std::to_string(getpid());
  int files_ = 0;
  Steps progress_;
  Strings status_;
};

TEST_F(ToolsModelTest, ConsoleLinesTheResetEjectAndCleaning) {
  const std::string longest(45, 'X');
  const Prompts tooLong{Ask("The command is too long: a printer command can hold at most 45 characters.", {"Ok"})},
      resetting{Ask("\nPlease wait while printer is resetting.", {}, 20, "")};
  // clang-format off
  const struct { std::string line; bool session; Kind kind; int card; std::string status, sent; Prompts prompts; }
  cases[] = {
      {"A 0", true, Kind::kTestCard, 0, "<ACK>", "", {}},  // the tool's own shortcuts never reach the printer
      {"A 2", false, Kind::kTestCard, 2, "<ACK>", "", {}},
      {"", true, Kind::kEmpty, -1, "", "", {}},
      // Unknown: NAK, which the session empties.
      {"a 1", true, Kind::kReplied, -1, "<NACK>", WithReplyRequest("a 1"), {}},
      {"MO", true, Kind::kReplied, -1, "<ACK>", WithReplyRequest("MO"), {}},
      {"+O", true, Kind::kReplied, -1, "12\r", WithReplyRequest("+O"), {}},  // as received, terminator and all
      {"+EC", true, Kind::kReplied, -1, "\x06OK\r", WithReplyRequest("+EC"), {}},  // longer than an ACK
      {"ZZ", true, Kind::kNoReply, -1, "", WithReplyRequest("ZZ"), {}},
      {longest, true, Kind::kReplied, -1, "<NACK>", WithReplyRequest(longest), {}},
      {longest + "Y", true, Kind::kTooLong, -1, "", "", tooLong},
      {"MO", false, Kind::kNoSession, -1, "", "", {}},
      // A reset: no reply request, a notice, a pause, then the session connects again.
      {"R", true, Kind::kReset, -1, "", "\x1bR\r", resetting},
  };
  // clang-format on
  Start("offset_front_x = 12\nreply +EC = \\x06OK\\r\nsilent ZZ\nfeeder_mode = 2");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.line);
    Track();
    const Maintenance::ConsoleOutcome outcome = Maintenance(Tools(c.session)).ExecuteConsoleLine(c.line);
    EXPECT_EQ(std::make_tuple(outcome.kind, outcome.testCard, outcome.status),
              std::make_tuple(c.kind, c.card, c.status));
    EXPECT_EQ(Sent(), c.sent);
    EXPECT_EQ(prompter_.prompts, c.prompts);
  }
  EXPECT_EQ(waits_.entries, (std::vector<Wait>{{Wait::kSleep, 8s}, {Wait::kSleep, 300us}}));
  EXPECT_EQ(session_->GetFeederStatus(), 2);  // on the new connection

  // Eject and the two cleanings.
  constexpr int kEject = 9;
  // clang-format off
  const Prompter::Prompt printer = Ask("\nPlease remove the ribbon and cards from the printer.Close the printer cover "
      "and lid then click YES.Follow LCD instructions to continue with the cleaning process.");
  const Prompter::Prompt head = Ask("\nPlease remove the ribbon from the printer.Close the head of the printer.Press "
      "Clear button on the printer.Then press YES");
  // clang-format off
  const struct { int kind, answer; bool session, result; Prompts prompts; std::string sent; } commands[] = {
      {kEject, 0, true, true, {}, "\x1bMO\r"},  // the command alone
      {0, 0, true, true, {printer}, "\033CLEAN\r"},
      {1, 0, true, true, {head}, "\x1bMCLEAN\r"},
      {0, 1, true, false, {printer}, ""},
      {-1, 0, true, false, {}, ""},
      {0, 0, false, false, {printer}, ""},
  };
  // clang-format on
  for (const auto& c : commands) {
    Track();
    prompter_.answers = {c.answer};
    Maintenance maintenance(Tools(c.session));
    EXPECT_EQ(c.kind == kEject ? (maintenance.EjectCard(), true) : maintenance.Clean(c.kind), c.result);
    EXPECT_EQ(Sent(), c.sent) << (&c - commands);
    EXPECT_EQ(prompter_.prompts, c.prompts);
  }
}

TEST_F(ToolsModelTest, FirmwareFilesTheirKindAndTheDownloadOfFirmwareAndPrnFiles) {
  // clang-format off
  const struct { std::string bytes; Check check; std::string details; } cases[] = {
      {FirmwareBytes(600, 0x12, 0xFF), Check::kFirmware, "Printer F/W|0x12FF"},
      {FirmwareBytes(400, 0x00, 0xFF), Check::kFirmware, "Printer F/W|0x0FF"},
      {FirmwareBytes(100, 0x3A, 0xFF), Check::kFirmware, "Printer F/W|0x3AFF"},  // too short for a tag
      {FirmwareBytes(400, 0xFF, 0x05), Check::kFirmware, "Laminator F/W|0x5FF"},
      {FirmwareBytes(400, 0x01, 0x3A, "L720"), Check::kFirmware, "Laminator F/W|0x3AFF"},  // the tag decides
      {FirmwareBytes(400, 0xFF, 0xFF), Check::kRejected, "|"},
      {FirmwareBytes(400, 0x12, 0x34), Check::kRejected, "|"},
      {"", Check::kUnreadable, "|"},  // no such file
  };
  // clang-format on
  const Prompts refusal{Ask("Incorrect firmware file.\nPlease select the correct firmware file.", {"Ok"})};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.details + " " + std::to_string(c.bytes.size()));
    prompter_.prompts.clear();
    FirmwareDownload::Details details;
    EXPECT_EQ(FirmwareDownload(Tools(false)).Choose(File(c.bytes, c.bytes.empty() ? -1 : 0), &details), c.check);
    EXPECT_EQ(details.type + "|" + details.checksum, c.details);
    EXPECT_EQ(prompter_.prompts, c.check == Check::kRejected ? refusal : Prompts{});
  }

  // A PRN file goes out as it is, a firmware file between ESC "DC " and its length, and FF CR; both in 4096-byte
  // blocks. After a download the printer resets.
  const std::string body = FirmwareBytes(10000, 0x12, 0xFF);
  // clang-format off
  const struct { std::string file; bool session; Strings blocks; Steps progress; std::string length; } files[] = {
      {File(body), true, {body.substr(0, 4096), body.substr(4096, 4096), body.substr(8192)},
       {{0, 10000}, {4096, 10000}, {8192, 10000}, {10000, 10000}}, std::string("\0\0\x27\x10", 4)},
      {File(""), true, {}, {{0, 0}}, std::string(4, '\0')},
      {File("", -1), true, {}, {}, ""},  // no such file
      {File(body), false, {}, {}, ""},
  };
  // clang-format on
  for (const auto& c : files) {
    SCOPED_TRACE(&c - files);
    Start("feeder_mode = 1");
    const bool sent = !c.length.empty();
    long long bytes = 0;
    for (const std::string& block : c.blocks) bytes += static_cast<long long>(block.size());
    EXPECT_EQ(Maintenance(Tools(c.session)).SendPRNFile(c.file, Track()), sent ? bytes : -1);
    EXPECT_EQ(std::make_pair(wire_->writes, progress_), std::make_pair(c.blocks, c.progress));
    Strings writes = c.blocks;
    if (sent) writes.insert(writes.begin(), "\033DC " + c.length), writes.push_back(std::string("\xff\r", 2));
    Start("feeder_mode = 1");  // a printer that took no PRN file before
    EXPECT_EQ(Download(c.file, c.session), sent);
    EXPECT_EQ(std::make_pair(wire_->writes, progress_), std::make_pair(writes, c.progress));
    EXPECT_TRUE(sent || (status_.empty() && prompter_.prompts.empty() && waits_.entries.empty()));
    if (!sent) continue;
    EXPECT_EQ(status_, (Strings{"Firmware downloading please wait...", "Firmware downloaded successfully..."}));
    // A second for the status line to be drawn, seven for the printer to take the image, then the new connection.
    EXPECT_EQ(waits_.entries, (std::vector<Wait>{{Wait::kEventLoop, 1s}, {Wait::kSleep, 7s}, {Wait::kSleep, 300us}}));
    EXPECT_EQ(prompter_.prompts, Prompts{Ask("\nPlease wait until printer resets and initializes.", {}, 20, "")});
    // The printer took the body, reset, and answers on the new connection.
    EXPECT_TRUE(server_->Engine().CapturedData().back() == (bytes ? body : ""));
    EXPECT_EQ(server_->Engine().ResetCount(), 1);
    EXPECT_EQ(session_->GetFeederStatus(), 1);
  }

  // A file too long for the 32-bit length field is refused unsent (a sparse file: no disk is used).
  const std::string huge = File("");
  std::filesystem::resize_file(huge, 0x100000000ull + 10);
  EXPECT_TRUE(!Download(huge) && wire_->writes.empty());

  // The printer drops the connection after 5000 bytes of a 16 MB image (more
  // than the connection's buffers hold, so the loss shows while sending).
  Start("close_after_bytes = 5000\nclose_after_times = 1");
  const std::string image = FirmwareBytes(16 << 20, 0x12, 0xFF);
  EXPECT_FALSE(Download(File(image)));
  EXPECT_EQ(status_,
            (Strings{"Firmware downloading please wait...",
                     "Firmware download failed: the printer did not take the whole file. Please download it again."}));
  EXPECT_LT(wire_->writes.size(), image.size() / 4096);  // it stopped at the lost part
  EXPECT_TRUE(prompter_.prompts.empty());                // no reset notice: nothing says the printer took it
  EXPECT_EQ(session_->GetFeederStatus(), 0);             // the session is connected again and answers
}

TEST_F(ToolsModelTest, OffsetsAndTheFeederMode) {
  Start("offset_front_x = 5\noffset_front_y = -3\noffset_back_x = 12\nreply +OYB = \\x20 7 \\x06\\r\nfeeder_mode = 1");
  // A set command: zero-padded to 50 bytes, then the reply request.
  const auto set = [](const std::string& t) { return ("\033" + t + "\r").append(48 - t.size(), '\0') + "\033E 2\r"; };

  EXPECT_EQ(DeviceSettings(Tools()).ReadOffsets(),
            (std::array<std::string, 4>{"5", "-3", "12", "7"}));  // the numbers alone
  EXPECT_EQ(Sent(),
            WithReplyRequest("+O") + WithReplyRequest("+OY") + WithReplyRequest("+OB") + WithReplyRequest("+OYB"));
  EXPECT_EQ(DeviceSettings(Tools(false)).ReadOffsets(), (std::array<std::string, 4>{}));

  prompter_.answers = {1, 0};
  EXPECT_FALSE(DeviceSettings(Tools()).ConfirmOffsetChange());
  EXPECT_TRUE(DeviceSettings(Tools()).ConfirmOffsetChange());
  DeviceSettings(Tools()).SendOffsets({7, -8, 9, 31});
  EXPECT_EQ(Sent(), set("+O 7") + set("+OY -8") + set("+OB 9") + set("+OYB 31"));
  const PrinterProfile state = server_->Engine().State();  // the printer keeps them
  EXPECT_EQ(std::vector({state.offsetFrontX, state.offsetFrontY, state.offsetBackX, state.offsetBackY}),
            std::vector({7, -8, 9, 31}));

  EXPECT_EQ(DeviceSettings(Tools()).FeederStatus() * 10 + DeviceSettings(Tools(false)).FeederStatus(), 10);
  Sent();
  DeviceSettings(Tools()).SetFeeder(2);
  EXPECT_EQ(Sent(), WithReplyRequest("ATM 2"));
  EXPECT_EQ(server_->Engine().State().feederMode, 2);
  DeviceSettings(Tools(false)).SendOffsets({1, 2, 3, 4});
  DeviceSettings(Tools(false)).SetFeeder(0);  // the notice all the same
  EXPECT_EQ(Sent(), "");
  const auto question = Ask("You are about to change the printer offset.Do you want to continue?");
  const auto applying = Ask("\nApplying printer settings pease wait....", {}, 3);
  EXPECT_EQ(prompter_.prompts, (Prompts{question, question, applying, applying}));
}

}  // namespace
