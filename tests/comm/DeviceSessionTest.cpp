// The printer session without a printer: URI quirks, trimming, the write and
// read primitives, the reset, and the flush handshake over a scripted
// transport.
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "DeviceCommunication.h"
#include "FakeTransport.h"
#include "RecordingWaits.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

const std::string kReplyRequest = "\x1b" "E 2\r";
const std::string kResetCommand = "\x1b.\r";

// A session with a scripted transport; the fake stays reachable.
struct Session {
  explicit Session(uint32_t kind = 2) {
    auto owned = std::make_unique<FakeTransport>();
    fake = owned.get();
    session = std::make_unique<DeviceCommunication>("Card", std::move(owned), kind);
  }
  FakeTransport* fake;
  std::unique_ptr<DeviceCommunication> session;
};

DeviceCommunication NoTransport() { return DeviceCommunication("Card", nullptr, 2); }

TEST(DeviceUriTest, SerialNumberIsEverythingAfterTheFirstEquals) {
  auto session = NoTransport();
  CaptureStderr();
  EXPECT_EQ(session.GetSerialNumberFromURI("usb://Orvex/VKTS32?serial=12345"), "12345");
  EXPECT_EQ(GetCapturedStderr(), "position 25\nSerial number is 12345\n");
  EXPECT_EQ(session.GetSerialNumberFromURI("usb://Orvex/VKTS32?serial=A=B"), "A=B");
  EXPECT_EQ(session.GetSerialNumberFromURI(""), "");
}

TEST(DeviceUriTest, SerialNumberWithoutEqualsFailsLoudly) {
  auto session = NoTransport();
  CaptureStderr();
  EXPECT_THROW(session.GetSerialNumberFromURI("usb://Orvex/VKTS32"), std::out_of_range);
  EXPECT_EQ(GetCapturedStderr(), "string was not found\n");
}

TEST(DeviceUriTest, IpAddressIsCutAtTheSchemeColon) {
  auto session = NoTransport();
  CaptureStderr();
  EXPECT_EQ(session.GetIPAddressFromURI("vkt3socket://10.1.2.3:9100"), "10.1.2.3:9");
  EXPECT_EQ(GetCapturedStderr(), "position 12\nposition 10\nip address 10.1.2.3:9\n");
  // A trailing "/" becomes ":9100" before the cut.
  EXPECT_EQ(session.GetIPAddressFromURI("vkt3socket://10.1.2.3/"), "10.1.2.3:9");
  EXPECT_EQ(session.GetIPAddressFromURI("vkt3socket://192.168.100.200"), "192.168.10");
  EXPECT_EQ(session.GetIPAddressFromURI(""), std::nullopt);
}

TEST(DeviceUriTest, IpAddressQuirksFailInsteadOfShortening) {
  auto session = NoTransport();
  // No "/" at all: the unguarded index.
  CaptureStderr();
  EXPECT_THROW(session.GetIPAddressFromURI("printer:9100"), std::out_of_range);
  EXPECT_EQ(GetCapturedStderr(), "string was not found\n");
  // A host part shorter than the cut point.
  EXPECT_THROW(session.GetIPAddressFromURI("vkt3socket://10.1"), std::out_of_range);
}

TEST(DeviceUriTest, IpAddressWithoutAnyColonKeepsTheWholeHost) {
  auto session = NoTransport();
  CaptureStderr();
  EXPECT_EQ(session.GetIPAddressFromURI("host/printer"), "printer");
  EXPECT_EQ(GetCapturedStderr(), "position 4\nstring was not found\nip address printer\n");
}

TEST(TrimStringTest, RemovesBlanksAndTabsOnly) {
  EXPECT_EQ(DeviceCommunication::TrimString(" \t 2950 \t"), "2950");
  EXPECT_EQ(DeviceCommunication::TrimString("  120,200\r\n"), "120,200\r\n");
  EXPECT_EQ(DeviceCommunication::TrimString("\r 5 "), "\r 5");
  EXPECT_EQ(DeviceCommunication::TrimString(" \t "), "");
  EXPECT_EQ(DeviceCommunication::TrimString("a b"), "a b");
}

TEST(SessionPrimitivesTest, WithoutTransportNothingIsSentOrRead) {
  auto session = NoTransport();
  EXPECT_EQ(session.TransportKind(), 0u);
  EXPECT_EQ(session.GetDeviceStatusInfo(), 0u);
  EXPECT_FALSE(session.IsNetworkPrinter());
  EXPECT_EQ(session.WriteToPrinter("\x1bV\r", 3), -1);
  EXPECT_EQ(session.ReadFromPrinter(), std::nullopt);
  EXPECT_EQ(session.GetPrinterIPAddress(), std::nullopt);
  session.ResetHandle();  // does nothing, must not fail
}

TEST(SessionPrimitivesTest, WriteHidesTheTransportResult) {
  Session s;
  EXPECT_TRUE(s.session->IsNetworkPrinter());
  EXPECT_EQ(s.session->GetDeviceStatusInfo(), 7u);
  EXPECT_EQ(s.session->WriteToPrinter("\x1b.\r", 3), 0);
  EXPECT_EQ(s.session->WriteToPrinter("xyz", 0), 0);
  EXPECT_EQ(s.session->WriteToPrinter("xyz", -1), -1);
  EXPECT_EQ(s.session->WriteToPrinter(nullptr, 3), -1);
  EXPECT_EQ(s.fake->writes, (std::vector<std::string>{"\x1b.\r", ""}));
  Session usb(1);
  EXPECT_FALSE(usb.session->IsNetworkPrinter());
}

TEST(SessionPrimitivesTest, ReadTrimsAndTurnsNakIntoEmptyText) {
  Session s;
  s.fake->replies = {FakeTransport::Bytes("  2950\r\n"), FakeTransport::Bytes("\x15" "E1\x04"),
                     FakeTransport::Bytes("\x15"), FakeTransport::Failure(), {std::string(), -1}};
  CaptureStderr();
  EXPECT_EQ(s.session->ReadFromPrinter(), "2950\r\n");
  EXPECT_EQ(s.session->ReadFromPrinter(), "");
  EXPECT_EQ(GetCapturedStderr(), "Received   2950\r\nReceived \x15" "E1\x04\nEmptyString\n");
  EXPECT_EQ(s.session->ReadFromPrinter(), "");
  EXPECT_EQ(s.session->ReadFromPrinter(), std::nullopt);  // no buffer handed over
  EXPECT_EQ(s.session->ReadFromPrinter(), "");            // a buffer with a failed count
  EXPECT_TRUE(s.fake->writes.empty());
}

TEST(SessionPrimitivesTest, ReadOfAFullBufferStopsAtItsEnd) {
  Session s;
  s.fake->replies = {FakeTransport::Bytes(std::string(kReplyBufferSize, 'x'))};
  EXPECT_EQ(s.session->ReadFromPrinter(), std::string(kReplyBufferSize, 'x'));
}

TEST(ResetHandleTest, ClosesWaitsAndReopensOnce) {
  // No scheduler: the resume request fails silently.
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  RecordingWaits waits;
  Session s;
  s.session->ResetHandle();
  EXPECT_EQ(s.fake->closes, 1);
  EXPECT_EQ(s.fake->opens, 1);
  EXPECT_EQ(waits.entries, (std::vector<RecordingWaits::Entry>{
                               {RecordingWaits::Entry::kSleep, std::chrono::microseconds(300)}}));
  unsetenv("CUPS_SERVER");
}

TEST(ResetHandleTest, RetriesFiveTimesWhileTheStatusStaysZero) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  RecordingWaits waits;
  Session s;
  s.fake->status = 0;
  CaptureStderr();
  s.session->ResetHandle();
  EXPECT_EQ(GetCapturedStderr(), "Trying to get the device handle\n");
  EXPECT_EQ(s.fake->closes, 6);
  EXPECT_EQ(s.fake->opens, 6);
  EXPECT_EQ(waits.Total(), std::chrono::microseconds(600));
  EXPECT_EQ(s.session->GetDeviceStatusInfo(), 7u);  // stored at construction, not updated
  unsetenv("CUPS_SERVER");
}

// The flush handshake as both transports run it.
std::vector<std::string> Rounds(int n) {
  std::vector<std::string> writes;
  for (int i = 0; i < n; ++i) {
    writes.push_back(kResetCommand);
    writes.push_back(kReplyRequest);
  }
  return writes;
}

TEST(FlushHandshakeTest, EndsOnAck) {
  FakeTransport t;
  t.replies = {FakeTransport::Bytes("\x06")};
  t.FlushPrinterEndPoint();
  EXPECT_EQ(t.writes, Rounds(1));
}

TEST(FlushHandshakeTest, RepeatsWhileThePrinterAnswersNak) {
  FakeTransport t;
  for (int i = 0; i < 40; ++i) t.replies.push_back(FakeTransport::Bytes("\x15" "E1\x04"));
  t.replies.push_back(FakeTransport::Bytes("\x06"));
  t.FlushPrinterEndPoint();
  EXPECT_EQ(t.writes, Rounds(41));
  EXPECT_TRUE(t.replies.empty());
}

TEST(FlushHandshakeTest, StopsOnAFailedReadOrAnotherReply) {
  FakeTransport silent;  // first read fails, the loop tries once more
  silent.FlushPrinterEndPoint();
  EXPECT_EQ(silent.writes, Rounds(2));

  FakeTransport other;
  other.replies = {FakeTransport::Bytes("V1\r"), FakeTransport::Bytes("\x15"), FakeTransport::Bytes("5\r"),
                   FakeTransport::Bytes("\x06")};
  other.FlushPrinterEndPoint();
  EXPECT_EQ(other.writes, Rounds(3));
  EXPECT_EQ(other.replies.size(), 1u);

  FakeTransport closed;  // the printer closed the connection: zero bytes
  closed.replies = {FakeTransport::Bytes("\x15"), {std::string(), 0}, FakeTransport::Bytes("\x06")};
  closed.FlushPrinterEndPoint();
  EXPECT_EQ(closed.writes, Rounds(2));
}

}  // namespace

namespace {

// Print-queue calls with no scheduler to ask: they end at once and quietly.
class NoSchedulerTest : public testing::Test {
 protected:
  void SetUp() override { setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1); }
  void TearDown() override { unsetenv("CUPS_SERVER"); }
};

TEST_F(NoSchedulerTest, CheckJobStatusReturnsAtOnceForNoJobOrNoQueue) {
  RecordingWaits waits;
  CaptureStderr();
  CheckJobStatus(0, "Card");
  CheckJobStatus(-3, "Card");
  CheckJobStatus(12, "");
  EXPECT_EQ(GetCapturedStderr(), "Job Id is 0\nJob Id is -3\nJob Id is 12\n");
  CaptureStderr();
  CheckJobStatus(12, "Card");  // the scheduler lists no jobs
  EXPECT_EQ(GetCapturedStderr(), "Job Id is 12\nJob Completed\n");
  EXPECT_TRUE(waits.entries.empty());
}

TEST_F(NoSchedulerTest, BusyIsFalseAndEnableIsSilent) {
  EXPECT_FALSE(IsPrinterBusy("Card"));
  EXPECT_FALSE(IsPrinterBusy(nullptr));
  DeviceCommunication session("Card", nullptr, 0);
  CaptureStderr();
  session.EnablePrinter("Card");
  session.EnablePrinter(nullptr);
  EXPECT_EQ(GetCapturedStderr(), "");
}

}  // namespace
