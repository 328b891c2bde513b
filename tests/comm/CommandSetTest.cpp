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

// The reply texts are fixed here so the results show the session's parsing,
// not the emulator's defaults.
PrinterProfile ReplyProfile() {
  PrinterProfile profile;
  profile.replyOverrides = {
      {"V", "VKT32-M V1.02.03.016\r"}, {"!V 15", " 2950\r"},     {"!NL", "!1234 0\x06"},
      {"!RIBLEN", "120,200\r"},        {"!RIBBON", "43\r"},       {"%SERIE", "\tS32000001\r"},
      {"&V", "TRACK 1 W:A R:Q\x06"},   {"ATM 1 1", "2\r"},
  };
  return profile;
}

TEST_F(CommandSetTest, QueriesSendTheirCommandThenTheReplyRequest) {
  Open(ReplyProfile());
  std::string expected;
  EXPECT_EQ(session_->GetFirmwareVersion(), "VKT32-M V1.02.03.016\r");
  expected += "\x1bV\r" + kReplyRequest;
  EXPECT_EQ(session_->GetHeadResistance(), "2950\r");
  expected += "\x1b!V 15\r" + kReplyRequest;
  EXPECT_EQ(session_->GetPanelsPrinted(), "1234");
  expected += "\x1b!NL\r" + kReplyRequest;
  EXPECT_EQ(session_->GetRemainingCount(), "120");
  expected += "\x1b!RIBLEN\r" + kReplyRequest;
  EXPECT_EQ(session_->GetRibbonType(), "YMCKO");
  expected += "\x1b!RIBBON\r" + kReplyRequest;
  EXPECT_EQ(session_->GetSerialNumber(), "S32000001\r");
  expected += "\x1b%SERIE\r" + kReplyRequest;
  EXPECT_EQ(session_->GetMagAdvancedSettings(), "TRACK 1 W:A R:Q\x06");
  expected += "\x1b&V\r" + kReplyRequest;
  EXPECT_EQ(session_->GetFeederStatus(), 2);
  expected += "\x1b" "ATM 1 1\r" + kReplyRequest;
  EXPECT_EQ(Sent(expected.size()), expected);
}

TEST_F(CommandSetTest, QueriesLogTheirResults) {
  Open(ReplyProfile());
  CaptureStderr();
  session_->GetHeadResistance();
  session_->GetPanelsPrinted();
  session_->GetRemainingCount();
  session_->GetFeederStatus();
  EXPECT_EQ(GetCapturedStderr(),
            "Head Resistance is 2950\r\nPanels Printed is 1234\nRemaining Count is 120\nFeeder Status  is 2\n");
}

TEST_F(CommandSetTest, PanelsPrintedRewritesOnlyAnAckEndedReply) {
  PrinterProfile profile;
  profile.replyOverrides["!NL"] = "!1234 7 other text\x06";
  Open(profile);
  EXPECT_EQ(session_->GetPanelsPrinted(), "1234");
}

TEST_F(CommandSetTest, PanelsPrintedWithoutAckIsShownAsItCame) {
  PrinterProfile profile;
  profile.replyOverrides["!NL"] = "  !1234 7\t";
  Open(profile);
  EXPECT_EQ(session_->GetPanelsPrinted(), "!1234 7");
}

TEST_F(CommandSetTest, PanelsPrintedWithoutBangAndOnlyAck) {
  PrinterProfile profile;
  profile.replyOverrides["!NL"] = "987\x06";
  Open(profile);
  EXPECT_EQ(session_->GetPanelsPrinted(), "987");
}

TEST_F(CommandSetTest, RemainingCountForms) {
  PrinterProfile profile;
  profile.replyOverrides["!RIBLEN"] = "120\r";
  Open(profile);
  EXPECT_EQ(session_->GetRemainingCount(), "120\r");  // not trimmed, single field
}

TEST_F(CommandSetTest, RemainingCountEndingInEotIsNone) {
  PrinterProfile profile;
  profile.replyOverrides["!RIBLEN"] = "55,200\x04";
  Open(profile);
  EXPECT_EQ(session_->GetRemainingCount(), "None");
}

TEST_F(CommandSetTest, RemainingCountKeepsLeadingBlanks) {
  PrinterProfile profile;
  profile.replyOverrides["!RIBLEN"] = " 77,200\r";
  Open(profile);
  EXPECT_EQ(session_->GetRemainingCount(), " 77");
}

struct RibbonCase {
  std::string reply;
  std::optional<std::string> result;
};

class RibbonTypeTest : public CommandSetTest, public testing::WithParamInterface<RibbonCase> {};

TEST_P(RibbonTypeTest, CodeBecomesNameOrResultWord) {
  PrinterProfile profile;
  profile.replyOverrides["!RIBBON"] = GetParam().reply;
  Open(profile);
  EXPECT_EQ(session_->GetRibbonType(), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Codes, RibbonTypeTest,
                         testing::Values(RibbonCase{"43\r", "YMCKO"}, RibbonCase{"71\r", "1/2 YMCKO 400 image"},
                                         RibbonCase{"64\r", "1/2 YMCKO 400 image"}, RibbonCase{"20\r", std::nullopt},
                                         RibbonCase{"72\r", std::nullopt}, RibbonCase{"73\r", "N/A"},
                                         RibbonCase{"-1\r", "N/A"}, RibbonCase{"10087\r", "N/A"},
                                         RibbonCase{"abc\r", "No Ribbon"}, RibbonCase{" 1\r", "Monochrome"}));

TEST_F(CommandSetTest, MagAdvancedSettingsAsTheyCome) {
  PrinterProfile profile;
  profile.replyOverrides["&V"] = "  T1 W:A \r";
  Open(profile);
  CaptureStderr();
  EXPECT_EQ(session_->GetMagAdvancedSettings(), "T1 W:A \r");
  EXPECT_EQ(GetCapturedStderr(), "Buffer contains T1 W:A \r\n");
}

TEST_F(CommandSetTest, FeederStatusIsTheLeadingNumber) {
  PrinterProfile profile;
  profile.replyOverrides["ATM 1 1"] = "1 ready\r";
  Open(profile);
  EXPECT_EQ(session_->GetFeederStatus(), 1);
}

TEST_F(CommandSetTest, NakRepliesGiveNoneWhereTheQueryTestsForIt) {
  PrinterProfile profile;
  for (const char* pattern : {"V", "!V", "!NL", "!RIBLEN", "!RIBBON", "%SERIE", "&V", "ATM"})
    profile.nakCommands[pattern] = 0;
  Open(profile);
  const std::string nak = PrinterEngine::ErrorForm(PrinterEngine::kErrorInjected);
  EXPECT_EQ(session_->GetFirmwareVersion(), nak);  // no NAK test
  EXPECT_EQ(session_->GetHeadResistance(), "None");
  EXPECT_EQ(session_->GetPanelsPrinted(), "None");
  EXPECT_EQ(session_->GetRemainingCount(), "None");
  EXPECT_EQ(session_->GetRibbonType(), "No Ribbon");  // no digits: code 0
  EXPECT_EQ(session_->GetSerialNumber(), nak);      // no NAK test
  EXPECT_EQ(session_->GetMagAdvancedSettings(), "None");
  EXPECT_EQ(session_->GetFeederStatus(), 0);
}

TEST_F(CommandSetTest, SilentPrinterGivesEmptyResults) {
  PrinterProfile profile;
  profile.silentCommands = {"V", "!V", "!NL", "!RIBLEN", "!RIBBON", "%SERIE", "&V", "ATM"};
  Open(profile, kSilenceReadWait);
  CaptureStderr();
  EXPECT_EQ(session_->GetFirmwareVersion(), "");
  EXPECT_EQ(session_->GetHeadResistance(), "");
  EXPECT_EQ(session_->GetPanelsPrinted(), "");
  EXPECT_EQ(session_->GetRemainingCount(), "");
  EXPECT_EQ(session_->GetRibbonType(), "");
  EXPECT_EQ(session_->GetSerialNumber(), "");
  EXPECT_EQ(session_->GetMagAdvancedSettings(), "");  // never taken for settings
  EXPECT_EQ(session_->GetFeederStatus(), 0);
  std::string log = GetCapturedStderr();
  EXPECT_THAT(log, HasSubstr("FD Not Set for Reading  "));
  EXPECT_THAT(log, HasSubstr("Buffer contains \n"));
  EXPECT_THAT(log, HasSubstr("Feeder Status  is 0\n"));
}

TEST(CommandSetWithoutTransportTest, EveryQueryAnswersNa) {
  DeviceCommunication session("Card", nullptr, 2);
  EXPECT_EQ(session.GetFirmwareVersion(), "NA");
  EXPECT_EQ(session.GetHeadResistance(), "NA");
  EXPECT_EQ(session.GetPanelsPrinted(), "NA");
  EXPECT_EQ(session.GetRemainingCount(), "NA");
  EXPECT_EQ(session.GetRibbonType(), "NA");
  EXPECT_EQ(session.GetSerialNumber(), "NA");
  EXPECT_EQ(session.GetMagAdvancedSettings(), "NA");
  EXPECT_EQ(session.GetFeederStatus(), 0);
  EXPECT_EQ(session.MagWriteBtnClicked("A", "1", "2"), -1);
  session.SetSingleFeedOptions(1);
}

TEST_F(CommandSetTest, FullReplyBecomesTextWithoutOverrun) {
  PrinterProfile profile;
  profile.replyOverrides["V"] = std::string(kReplyBufferSize, '7');
  profile.replyOverrides["!RIBBON"] = std::string(kReplyBufferSize, '4');
  Open(profile);
  EXPECT_EQ(session_->GetFirmwareVersion(), std::string(kReplyBufferSize, '7'));
  EXPECT_EQ(session_->GetRibbonType(), "N/A");  // a huge number
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
  session_->SetSingleFeedOptions(3);
  session_->SetSingleFeedOptions(-1);
  session_->SetSingleFeedOptions(2);
  std::string expected = "\x1b" "ATM 2\r" + kReplyRequest;
  EXPECT_EQ(Sent(expected.size()), expected);
  EXPECT_EQ(server_->Engine().State().feederMode, 2);
  session_->SetSingleFeedOptions(0);
  session_->SetSingleFeedOptions(1);
  expected += "\x1b" "ATM 0\r" + kReplyRequest + "\x1b" "ATM 1\r" + kReplyRequest;
  EXPECT_EQ(Sent(expected.size()), expected);
  EXPECT_EQ(server_->Engine().State().feederMode, 1);
  // Every reply was consumed: the next query gets its own.
  EXPECT_EQ(session_->GetFeederStatus(), 1);
}

TEST_F(CommandSetTest, WriteThenReadThroughTheSession) {
  Open(ReplyProfile());
  EXPECT_EQ(session_->WriteToPrinter("\x1b!V 15\r", 7), 0);
  EXPECT_EQ(session_->WriteToPrinter(kReplyRequest.data(), 5), 0);
  EXPECT_EQ(session_->ReadFromPrinter(), "2950\r");
  EXPECT_EQ(session_->GetPrinterIPAddress(), "127.0.0.1");
}

TEST_F(CommandSetTest, ResetReconnectsWithoutDraining) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  Open(ReplyProfile());
  uint32_t before = session_->GetDeviceStatusInfo();
  session_->ResetHandle();
  EXPECT_EQ(session_->GetSerialNumber(), "S32000001\r");
  EXPECT_EQ(Received(1, 8 + 5), "\x1b%SERIE\r" + kReplyRequest);
  EXPECT_EQ(server_->ConnectionCount(), 2);
  EXPECT_EQ(session_->GetDeviceStatusInfo(), before);
  unsetenv("CUPS_SERVER");
}

TEST(SessionFromQueueTest, UnknownQueueHasNoTransport) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  CaptureStderr();
  DeviceCommunication session("NoSuchQueue");
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("Printer Name is NoSuchQueue\n"));
  EXPECT_EQ(session.Transport(), nullptr);
  EXPECT_EQ(session.TransportKind(), 0u);
  EXPECT_EQ(session.GetDeviceStatusInfo(), 0u);
  EXPECT_EQ(session.GetFirmwareVersion(), "NA");
  unsetenv("CUPS_SERVER");
}

}  // namespace
