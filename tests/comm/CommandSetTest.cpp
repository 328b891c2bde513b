// The session's command set against the emulator: the exact bytes of every
// command and each query's result for every reply form, for NAK, for
// silence and without a transport.
#include "DeviceCommunication.h"
#include "EmulatorFixture.h"

namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

class CommandSetTest : public EmulatorTest {
 protected:
  void Open(PrinterProfile profile = PrinterProfile(), std::chrono::milliseconds readWait = kTestReadWait) {
    StartEmulator(std::move(profile));
    session_ = std::make_unique<DeviceCommunication>("Card", Connect(readWait), 2);
    Received(0, kFlushRound.size());
  }
  // What the session sent after the drain on its one connection.
  std::string Sent(size_t size) { return Received(0, kFlushRound.size() + size).substr(kFlushRound.size()); }

  std::unique_ptr<DeviceCommunication> session_;
};

// Every query as text: nullopt shows as "<none>", numbers as digits.
using Ask = std::string (*)(DeviceCommunication&);
struct Query {
  std::string command;
  Ask ask;
  std::string onNak;
};
const std::string kNak = PrinterEngine::ErrorForm(PrinterEngine::kErrorInjected);
const Query kQueries[] = {
    {"V", [](DeviceCommunication& s) { return s.GetFirmwareVersion(); }, kNak},  // no NAK test
    {"!V 15", [](DeviceCommunication& s) { return s.GetHeadResistance(); }, "None"},
    {"!NL", [](DeviceCommunication& s) { return s.GetPanelsPrinted(); }, "None"},
    {"!RIBLEN", [](DeviceCommunication& s) { return s.GetRemainingCount(); }, "None"},
    {"!RIBBON", [](DeviceCommunication& s) { return s.GetRibbonType().value_or("<none>"); }, "No Ribbon"},
    {"%SERIE", [](DeviceCommunication& s) { return s.GetSerialNumber(); }, kNak},  // no NAK test
    {"&V", [](DeviceCommunication& s) { return s.GetMagAdvancedSettings(); }, "None"},
    {"ATM 1 1", [](DeviceCommunication& s) { return std::to_string(s.GetFeederStatus()); }, "0"}};
const Query& QueryOf(const std::string& command) {
  for (const Query& q : kQueries)
    if (q.command == command) return q;
  throw std::logic_error(command);
}

TEST_F(CommandSetTest, EachQuerySendsItsCommandAndParsesEveryReplyForm) {
  const struct {
    std::string command, reply, expected;
    const char* log = nullptr;  // the exact log when set
  } cases[] = {{"V", "VKT32-M V1.02.03.016\r", "VKT32-M V1.02.03.016\r"},
               {"V", std::string(kReplyBufferSize, '7'), std::string(kReplyBufferSize, '7')},  // full, no overrun
               {"!V 15", " 2950\r", "2950\r", "Head Resistance is 2950\r\n"},
               {"!NL", "!1234 0\x06", "1234", "Panels Printed is 1234\n"},
               {"!NL", "!1234 7 other text\x06", "1234"},
               {"!NL", "  !1234 7\t", "!1234 7"},  // no ACK: shown as it came
               {"!NL", "987\x06", "987"},
               {"!RIBLEN", "120,200\r", "120", "Remaining Count is 120\n"},
               {"!RIBLEN", "120\r", "120\r"},  // single field: not trimmed
               {"!RIBLEN", "55,200\x04", "None"},
               {"!RIBLEN", " 77,200\r", " 77"},
               {"!RIBBON", "43\r", "YMCKO"},
               {"!RIBBON", "71\r", "1/2 YMCKO 400 image"},
               {"!RIBBON", "64\r", "1/2 YMCKO 400 image"},
               {"!RIBBON", "20\r", "<none>"},
               {"!RIBBON", "72\r", "<none>"},
               {"!RIBBON", "73\r", "N/A"},
               {"!RIBBON", "-1\r", "N/A"},
               {"!RIBBON", "10087\r", "N/A"},
               {"!RIBBON", std::string(kReplyBufferSize, '4'), "N/A"},
               {"!RIBBON", "abc\r", "No Ribbon"},
               {"!RIBBON", " 1\r", "Monochrome"},
               {"%SERIE", "\tS32000001\r", "S32000001\r"},
               {"&V", "TRACK 1 W:A R:Q\x06", "TRACK 1 W:A R:Q\x06"},
               {"&V", "  T1 W:A \r", "T1 W:A \r", "Buffer contains T1 W:A \r\n"},
               {"ATM 1 1", "2\r", "2", "Feeder Status  is 2\n"},
               {"ATM 1 1", "1 ready\r", "1"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command + " <- " + c.reply.substr(0, 20));
    PrinterProfile profile;
    profile.replyOverrides[c.command] = c.reply;
    Open(profile);
    CaptureStderr();
    EXPECT_EQ(QueryOf(c.command).ask(*session_), c.expected);
    const std::string log = GetCapturedStderr();
    EXPECT_TRUE(!c.log || log == c.log) << log;
    const std::string wire = "\x1b" + c.command + "\r" + kReplyRequest;
    EXPECT_EQ(Sent(wire.size()), wire);
  }
}

TEST_F(CommandSetTest, NakSilenceAndNoTransport) {
  PrinterProfile naks;
  for (const Query& q : kQueries) naks.nakCommands[q.command] = 0;
  Open(naks);
  for (const Query& q : kQueries) EXPECT_EQ(q.ask(*session_), q.onNak) << q.command;

  PrinterProfile silent;
  for (const Query& q : kQueries) silent.silentCommands.push_back(q.command);
  Open(silent, kSilenceReadWait);
  CaptureStderr();
  for (const Query& q : kQueries) EXPECT_EQ(q.ask(*session_), q.command == "ATM 1 1" ? "0" : "") << q.command;
  const std::string log = GetCapturedStderr();
  EXPECT_THAT(log, HasSubstr("FD Not Set for Reading  "));
  EXPECT_THAT(log, HasSubstr("Buffer contains \n"));

  DeviceCommunication none("Card", nullptr, 2);
  for (const Query& q : kQueries) EXPECT_EQ(q.ask(none), q.command == "ATM 1 1" ? "0" : "NA") << q.command;
  EXPECT_EQ(none.MagWriteBtnClicked("A", "1", "2"), -1);
  none.SetSingleFeedOptions(1);
}

TEST_F(CommandSetTest, MagneticWriteSendsFourCommandsInOneWrite) {
  Open();
  EXPECT_EQ(session_->MagWriteBtnClicked("ABC123", "4567", "890"), 0);
  const std::string expected = "\x1b&B 1 ABC123\r\x1b&B 2 4567\r\x1b&B 3 890\r\x1b&E*\r";
  EXPECT_EQ(Sent(expected.size()), expected);
  auto state = server_->Engine().State();
  EXPECT_EQ(state.cardTrack[0], "ABC123");
  EXPECT_EQ(state.cardTrack[2], "890");
}

TEST_F(CommandSetTest, SingleFeedModesAndNothingForOthers) {
  Open();
  for (int mode : {3, -1, 2, 0, 1}) session_->SetSingleFeedOptions(mode);
  const std::string expected =
      "\033ATM 2\r" + kReplyRequest + "\033ATM 0\r" + kReplyRequest + "\033ATM 1\r" + kReplyRequest;
  EXPECT_EQ(Sent(expected.size()), expected);
  EXPECT_EQ(server_->Engine().State().feederMode, 1);
  // Every reply was consumed: the next query gets its own.
  EXPECT_EQ(session_->GetFeederStatus(), 1);
}

TEST_F(CommandSetTest, WriteReadAndResetThroughTheSession) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  PrinterProfile profile;
  profile.replyOverrides = {{"!V 15", " 2950\r"}, {"%SERIE", "S32000001\r"}};
  Open(profile);
  EXPECT_EQ(session_->WriteToPrinter("\x1b!V 15\r", 7), 0);
  EXPECT_EQ(session_->WriteToPrinter(kReplyRequest.data(), 5), 0);
  EXPECT_EQ(session_->ReadFromPrinter(), "2950\r");
  EXPECT_EQ(session_->GetPrinterIPAddress(), "127.0.0.1");

  // The reset reconnects without draining.
  uint32_t before = session_->GetDeviceStatusInfo();
  session_->ResetHandle();
  EXPECT_EQ(session_->GetSerialNumber(), "S32000001\r");
  EXPECT_EQ(Received(1, 8 + 5), "\x1b%SERIE\r" + kReplyRequest);
  EXPECT_EQ(server_->ConnectionCount(), 2);
  EXPECT_EQ(session_->GetDeviceStatusInfo(), before);

  CaptureStderr();
  DeviceCommunication unknown("NoSuchQueue");
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("Printer Name is NoSuchQueue\n"));
  EXPECT_EQ(unknown.Transport(), nullptr);
  EXPECT_EQ(unknown.TransportKind(), 0u);
  EXPECT_EQ(unknown.GetDeviceStatusInfo(), 0u);
  unsetenv("CUPS_SERVER");
}

}  // namespace
