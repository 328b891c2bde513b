// The printer session without a printer: URI quirks, the write and read
// primitives, the reset, the flush handshake over a scripted transport, the
// print-queue calls with no scheduler to ask, and the ribbon tables.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "DeviceCommunication.h"
#include "RecordingWaits.h"
#include "VKTS3Communication.h"

namespace {

// A scripted transport for session tests: hands out prepared replies and
// records every write and every connect/close call.
class FakeTransport : public VKTS3Communication {
 public:
  struct Reply {
    std::optional<std::string> bytes;  // nullopt: no buffer handed over
    int count = 0;                     // what the read returns
  };
  static Reply Bytes(const std::string& b) { return {b, static_cast<int>(b.size())}; }

  std::deque<Reply> replies;        // an empty script means "no reply"
  std::vector<std::string> writes;  // every SendDataToPrinter, in order
  uint32_t status = 7;
  int closes = 0, opens = 0;

  int GetDataFromPrinter(ReplyBuffer* buffer) override {
    if (replies.empty()) return -1;
    Reply reply = replies.front();
    replies.pop_front();
    if (reply.bytes) {
      *buffer = std::make_unique<char[]>(kReplyBufferSize);
      std::memcpy(buffer->get(), reply.bytes->data(), std::min<size_t>(reply.bytes->size(), kReplyBufferSize));
    }
    return reply.count;
  }
  int SendDataToPrinter(const char* data, int length) override {
    writes.emplace_back(data, static_cast<size_t>(length));
    return length;
  }
  void FlushPrinterEndPoint() override { RunFlushHandshake(); }
  void ClosePrinterHandle() override { ++closes; }
  int GetPrinterHandle() override { return ++opens, 1; }
  uint32_t GetDeviceStatus() override { return status; }
  std::optional<std::string> GetIPAddress() override { return std::nullopt; }
};

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using Reply = FakeTransport::Reply;
Reply B(const std::string& bytes) { return FakeTransport::Bytes(bytes); }

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

// Print-queue calls end at once and quietly when no scheduler answers.
class NoScheduler : public testing::Test {
 protected:
  void SetUp() override { setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1); }
  void TearDown() override { unsetenv("CUPS_SERVER"); }
};

TEST(DeviceUriTest, SerialNumberAndIpAddressCuts) {
  DeviceCommunication session("Card", nullptr, 2);
  const struct {
    bool ip;
    std::string uri, expected;
    const char* log = nullptr;  // the exact log when set
  } cases[] = {{false, "usb://Orvex/VKTS32?serial=12345", "12345", "position 25\nSerial number is 12345\n"},
               {false, "usb://Orvex/VKTS32?serial=A=B", "A=B"},
               // What Linux's usb backend writes: the serial's own value, unescaped.
               {false, "usb://Orvex/VKTS32?serial=S32%2F01%20a&interface=1", "S32/01 a"},
               {false, "usb://Orvex/VKTS32?interface=1&serial=X9", "X9"},
               {false, "usb://Orvex/VKTS32?serial=5%2G%4", "5%2G%4"},  // no escape: kept as written
               {false, "usb://Orvex/VKTS32?id=7", "7"},
               {false, "", ""},
               {false, "usb://Orvex/VKTS32", "<out of range>", "string was not found\n"},
               {true, "vkt3socket://10.1.2.3:9100", "10.1.2.3:9", "position 12\nposition 10\nip address 10.1.2.3:9\n"},
               {true, "vkt3socket://10.1.2.3/", "10.1.2.3:9"},  // "/" becomes ":9100" before the cut
               {true, "vkt3socket://192.168.100.200", "192.168.10"},
               {true, "", "<none>"},
               {true, "printer:9100", "<out of range>", "string was not found\n"},  // no "/" at all
               {true, "vkt3socket://10.1", "<out of range>"},                       // shorter than the cut
               {true, "host/printer", "printer", "position 4\nstring was not found\nip address printer\n"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.uri);
    CaptureStderr();
    std::string result;
    try {
      result = c.ip ? session.GetIPAddressFromURI(c.uri).value_or("<none>") : session.GetSerialNumberFromURI(c.uri);
    } catch (const std::out_of_range&) {
      result = "<out of range>";
    }
    const std::string log = GetCapturedStderr();
    EXPECT_EQ(result, c.expected);
    EXPECT_TRUE(!c.log || log == c.log) << log;
  }
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
  EXPECT_FALSE(Session(1).session->IsNetworkPrinter());
  DeviceCommunication none("Card", nullptr, 2);
  EXPECT_EQ(none.WriteToPrinter("\x1bV\r", 3), -1);
  EXPECT_EQ(none.ReadFromPrinter(), std::nullopt);
  EXPECT_EQ(none.GetPrinterIPAddress(), std::nullopt);
  EXPECT_FALSE(none.IsNetworkPrinter());
  none.ResetHandle();  // does nothing, must not fail
}

TEST(SessionPrimitivesTest, ReadTrimsAndTurnsNakIntoEmptyText) {
  Session s;
  const std::string full(kReplyBufferSize, 'x');
  s.fake->replies = {B("  2950\r\n"), B("\025E1\x04"), B("\x15"), {std::nullopt, -1}, {std::string(), -1}, B(full)};
  CaptureStderr();
  EXPECT_EQ(s.session->ReadFromPrinter(), "2950\r\n");
  EXPECT_EQ(s.session->ReadFromPrinter(), "");
  EXPECT_EQ(GetCapturedStderr(), "Received   2950\r\nReceived \025E1\x04\nEmptyString\n");
  EXPECT_EQ(s.session->ReadFromPrinter(), "");
  EXPECT_EQ(s.session->ReadFromPrinter(), std::nullopt);  // no buffer handed over
  EXPECT_EQ(s.session->ReadFromPrinter(), "");            // a buffer with a failed count
  EXPECT_EQ(s.session->ReadFromPrinter(), full);          // stops at the buffer's end
  EXPECT_TRUE(s.fake->writes.empty());
}

TEST_F(NoScheduler, ResetClosesWaitsAndReopensWhileTheStatusStaysZero) {
  for (uint32_t status : {7u, 0u}) {
    SCOPED_TRACE(status);
    RecordingWaits waits;
    Session s;
    s.fake->status = status;
    CaptureStderr();
    s.session->ResetHandle();
    EXPECT_EQ(GetCapturedStderr(), status ? "" : "Trying to get the device handle\n");
    EXPECT_EQ(s.fake->closes, status ? 1 : 6);
    EXPECT_EQ(s.fake->opens, status ? 1 : 6);
    EXPECT_EQ(waits.entries.size(), status ? 1u : 2u);
    EXPECT_EQ(waits.entries[0], (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, std::chrono::microseconds(300)}));
    EXPECT_EQ(waits.Total(), std::chrono::microseconds(status ? 300 : 600));
    EXPECT_EQ(s.session->GetDeviceStatusInfo(), 7u);  // stored at construction, not updated
  }
}

TEST(FlushHandshakeTest, RoundsUntilAckFailureOrAnotherReply) {
  std::vector<Reply> naks(40, B("\025E1\x04"));
  naks.push_back(B("\x06"));
  const struct {
    const char* name;
    std::vector<Reply> replies;
    size_t rounds, left;
  } cases[] = {{"ack", {B("\x06")}, 1, 0},
               {"naks then ack", naks, 41, 0},
               {"silent: one more try", {}, 2, 0},
               {"other replies", {B("V1\r"), B("\x15"), B("5\r"), B("\x06")}, 3, 1},
               {"closed: zero bytes", {B("\x15"), {std::string(), 0}, B("\x06")}, 2, 1},
               // A printer that answers NAK to everything: the rounds end.
               {"naks for ever", std::vector<Reply>(150, B("\025E1\x04")), 100, 50}};
  for (const auto& c : cases) {
    FakeTransport t;
    t.replies.assign(c.replies.begin(), c.replies.end());
    t.FlushPrinterEndPoint();
    std::vector<std::string> expected;
    for (size_t i = 0; i < c.rounds; ++i) expected.insert(expected.end(), {"\x1b.\r", "\033E 2\r"});
    EXPECT_EQ(t.writes, expected) << c.name;
    EXPECT_EQ(t.replies.size(), c.left) << c.name;
  }
}

TEST_F(NoScheduler, JobWaitBusyTestAndEnableEndAtOnce) {
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

  EXPECT_FALSE(IsPrinterBusy("Card"));
  EXPECT_FALSE(IsPrinterBusy(nullptr));
  DeviceCommunication session("Card", nullptr, 0);
  CaptureStderr();
  session.EnablePrinter("Card");
  session.EnablePrinter(nullptr);
  EXPECT_EQ(GetCapturedStderr(), "");
}

TEST(RibbonTableTest, NamesOfTheKnownCodesOnly) {
  std::istringstream table(
      "0=No Ribbon|1=Monochrome|31=YMCKOKO|32=1/2 YMCKOKO 250 image|33=1/3 YMCKOK 310 image|34=WrKr 600 image|"
      "43=YMCKO|44=1/2 YMCKO 400|47=KRO|50=YMCKO 200|51=YMCKOK 165|52=1/2 YMCKO 250 image|53=KrO 500|54=KdO 500|"
      "57=Black Monochrome 2000|58=Black Monochrome 1000|62=YMCKOO|63=White Mono 1400 image|64=1/2 YMCKO 400 image|"
      "65=YMCKO 280 image|66=YMCKOK 230 image|67=KrO 700|68=KdO 700|70=YMCKO 100|71=1/2 YMCKO 400 image");
  std::map<int, std::string> names;
  for (std::string entry; std::getline(table, entry, '|');) names[std::stoi(entry)] = entry.substr(entry.find('=') + 1);
  ASSERT_EQ(names.size(), 25u);
  for (int code = -5; code <= 200; ++code) {
    const auto it = names.find(code);
    EXPECT_EQ(GetRibbonName(code), it == names.end() ? std::nullopt : std::optional(it->second)) << code;
  }
}

TEST(RibbonTableTest, FlagsPerRibbonIndex) {
  for (int index = -1; index <= 100; ++index) {
    int first = -7, second = -7;
    GetRibbonDetails(index, &first, &second);
    const bool both = index == 1 || index == 14, firstOnly = index == 0 || (index >= 2 && index <= 7);
    EXPECT_EQ(std::make_pair(first, second), std::make_pair(both || firstOnly ? 1 : 0, both ? 1 : 0)) << index;
  }
}

}  // namespace
