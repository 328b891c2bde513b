// The printer session and its transports: URI quirks, the write and read
// primitives, the reset and the flush handshake over a scripted transport,
// the print-queue calls with no scheduler to ask, the ribbon tables; then the
// network transport and the command set against the in-process printer
// emulator and against hosts that refuse or vanish: connect, drain, read
// waits, reconnect on EPIPE, the exact bytes of every command and each
// query's result for every reply form, for NAK, for silence and without a
// transport.
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <unistd.h>

#include <cstring>
#include <deque>
#include <sstream>
#include <thread>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "EthernetCommunication.h"
#include "RecordingWaits.h"

namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// A scripted transport: hands out prepared replies (nullopt bytes: no buffer
// handed over) and records every write and every connect/close call.
struct Reply {
  std::optional<std::string> bytes;
  int count;
};
Reply B(const std::string& b) { return {b, static_cast<int>(b.size())}; }

class FakeTransport : public VKTS3Communication {
 public:
  std::deque<Reply> replies;  // an empty script means "no reply"
  std::vector<std::string> writes;
  uint32_t status = 7;
  int closes = 0, opens = 0;

  int GetDataFromPrinter(ReplyBuffer* buffer) override {
    if (replies.empty()) return -1;
    const Reply reply = replies.front();
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

// A session with a scripted transport that stays reachable.
struct Session {
  FakeTransport* fake = new FakeTransport;
  DeviceCommunication session{"Card", std::unique_ptr<VKTS3Communication>(fake), 2};
};

TEST(DeviceUriTest, SerialNumberAndIpAddressCuts) {
  DeviceCommunication session("Card", nullptr, 2);
  // What Linux's usb backend writes: the serial's own value, unescaped; no
  // escape: kept as written. For the address "/" becomes ":9100" before the
  // cut; no "/" at all; shorter than the cut.
  const std::tuple<bool, std::string, std::string> cases[] = {
      // clang-format off
      {false, "usb://Orvex/VKTS32?serial=12345", "12345"},
      {false, "usb://Orvex/VKTS32?serial=A=B", "A=B"},
      {false, "usb://Orvex/VKTS32?interface=1&serial=X9", "X9"},
      {false, "usb://Orvex/VKTS32?serial=S32%2F01%20a&interface=1", "S32/01 a"},
      {false, "usb://Orvex/VKTS32?serial=5%2G%4", "5%2G%4"},
      {false, "usb://Orvex/VKTS32?id=7", "7"},
      {false, "", ""},
      {false, "usb://Orvex/VKTS32", "<out of range>"},
      {true, "vkt3socket://10.1.2.3:9100", "10.1.2.3:9"},
      {true, "vkt3socket://10.1.2.3/", "10.1.2.3:9"},
      {true, "vkt3socket://192.168.100.200", "192.168.10"},
      {true, "", "<none>"},
      {true, "printer:9100", "<out of range>"},
      {true, "vkt3socket://10.1", "<out of range>"},
      {true, "host/printer", "printer"},
      // clang-format on
  };
  for (const auto& [ip, uri, expected] : cases) {
    std::string result = "<out of range>";
    try {
      result = ip ? session.GetIPAddressFromURI(uri).value_or("<none>") : session.GetSerialNumberFromURI(uri);
    } catch (const std::out_of_range&) {
    }
    EXPECT_EQ(result, expected) << uri;
  }
}

TEST(SessionPrimitivesTest, WriteHidesTheTransportResultAndReadTrimsAndTurnsNakIntoEmptyText) {
  Session s;
  EXPECT_TRUE(s.session.IsNetworkPrinter());
  EXPECT_FALSE(DeviceCommunication("Card", std::make_unique<FakeTransport>(), 1).IsNetworkPrinter());
  EXPECT_EQ(s.session.GetDeviceStatusInfo(), 7u);
  std::ostringstream results;
  results << s.session.WriteToPrinter("\x1b.\r", 3) << s.session.WriteToPrinter("xyz", 0)
          << s.session.WriteToPrinter("xyz", -1) << s.session.WriteToPrinter(nullptr, 3);
  EXPECT_EQ(results.str(), "00-1-1");
  EXPECT_EQ(s.fake->writes, (std::vector<std::string>{"\x1b.\r", ""}));

  // Trimmed, NAK, a lone NAK, no buffer handed over, a buffer with a failed
  // count, a full buffer (read up to its end).
  const std::string full(kReplyBufferSize, 'x');
  s.fake->replies = {B("  2950\r\n"), B("\025E1\x04"), B("\x15"), {std::nullopt, -1}, {std::string(), -1}, B(full)};
  std::string reads;
  for (int i = 0; i < 6; ++i) reads += s.session.ReadFromPrinter().value_or("<none>") + "|";
  EXPECT_EQ(reads, "2950\r\n|||<none>||" + full + "|");
  EXPECT_EQ(s.fake->writes.size(), 2u);

  DeviceCommunication none("Card", nullptr, 2);
  EXPECT_FALSE(none.GetPrinterIPAddress() || none.IsNetworkPrinter());
  none.ResetHandle();  // does nothing, must not fail
}

TEST(FlushHandshakeTest, RoundsUntilAckFailureOrAnotherReply) {
  std::vector<Reply> naks(40, B("\025E1\x04"));
  naks.push_back(B("\x06"));
  const struct {
    const char* name;
    std::vector<Reply> replies;
    size_t rounds, left;
  } cases[] = {
      // clang-format off
      {"ack", {B("\x06")}, 1, 0},
      {"naks then ack", naks, 41, 0},
      {"silent: one more try", {}, 2, 0},
      {"other replies", {B("V1\r"), B("\x15"), B("5\r"), B("\x06")}, 3, 1},
      {"closed: zero bytes", {B("\x15"), {std::string(), 0}, B("\x06")}, 2, 1},
      // A printer that answers NAK to everything: the rounds end.
      {"naks for ever", std::vector<Reply>(150, B("\025E1\x04")), 100, 50},
      // clang-format on
  };
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

// Without a scheduler to ask the reset, the job wait, the busy test and the
// enable end at once and quietly.
TEST(NoSchedulerTest, ResetJobWaitBusyTestAndEnable) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  for (uint32_t status : {7u, 0u}) {  // the reset reopens while the status stays zero
    RecordingWaits waits;
    Session s;
    s.fake->status = status;
    CaptureStderr();
    s.session.ResetHandle();
    std::ostringstream state;  // the status stays what it was at construction
    state << GetCapturedStderr() << s.fake->closes << "/" << s.fake->opens << " " << waits.entries.size() << "x"
          << waits.Total().count() << "us " << s.session.GetDeviceStatusInfo();
    EXPECT_EQ(state.str(), status ? "1/1 1x300us 7" : "Trying to get the device handle\n6/6 2x600us 7");
  }
  RecordingWaits waits;
  for (const auto& [job, queue] : {std::pair(0, "Card"), {-3, "Card"}, {12, ""}, {12, "Card"}})
    CheckJobStatus(job, queue);  // the scheduler lists no jobs
  EXPECT_TRUE(waits.entries.empty());
  EXPECT_FALSE(IsPrinterBusy("Card") || IsPrinterBusy(nullptr));
  DeviceCommunication session("Card", nullptr, 0);
  session.EnablePrinter("Card");
  session.EnablePrinter(nullptr);
  unsetenv("CUPS_SERVER");
}

TEST(RibbonTableTest, NamesOfTheKnownCodesOnlyAndFlagsPerRibbonIndex) {
  std::string names, flags;
  for (int code = -5; code <= 200; ++code) {
    if (const auto name = GetRibbonName(code)) names += std::to_string(code) + "=" + *name + "|";
    int first = -7, second = -7;
    GetRibbonDetails(code, &first, &second);
    if (first || second) flags += std::to_string(code) + ":" + std::to_string(first) + std::to_string(second) + " ";
  }
  EXPECT_EQ(names,
            "0=No Ribbon|1=Monochrome|31=YMCKOKO|32=1/2 YMCKOKO 250 image|33=1/3 YMCKOK 310 image|34=WrKr 600 image|"
            "43=YMCKO|44=1/2 YMCKO 400|47=KRO|50=YMCKO 200|51=YMCKOK 165|52=1/2 YMCKO 250 image|53=KrO 500|54=KdO 500|"
            "57=Black Monochrome 2000|58=Black Monochrome 1000|62=YMCKOO|63=White Mono 1400 image|64=1/2 YMCKO 400 "
            "image|65=YMCKO 280 image|66=YMCKOK 230 image|67=KrO 700|68=KdO 700|70=YMCKO 100|71=1/2 YMCKO 400 image|");
  EXPECT_EQ(flags, "0:10 1:11 2:10 3:10 4:10 5:10 6:10 7:10 14:11 ");
}

// Read waits: generous where a reply is due (a loaded CI machine must not
// turn a late reply into a failure), short where silence is the point.
constexpr std::chrono::milliseconds kTestReadWait{3000}, kSilenceReadWait{200};
const std::string kReplyRequest = "\033E 2\r";
const std::string kFlushRound = "\x1b.\r" + kReplyRequest;
// ESC command CR and the reply request, as every query goes out.
std::string Query(const std::string& command) { return "\x1b" + command + "\r" + kReplyRequest; }
using Entry = RecordingWaits::Entry;

class EmulatorTest : public testing::Test {
 protected:
  void StartEmulator(PrinterProfile profile = PrinterProfile()) {
    server_ = std::make_unique<EmulatorServer>(std::move(profile));
    ASSERT_TRUE(server_->Start(0)) << "the printer emulator did not start";
  }
  std::string Uri() const { return "vkt3socket://127.0.0.1:" + std::to_string(server_->Port()); }
  // Bytes the emulator received on connection `index`, once it has read at
  // least `size` of them (the server reads on its own thread).
  std::string Received(size_t index, size_t size) {
    std::vector<std::string> transcripts;
    for (int i = 0; i < 2000; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
      transcripts = server_->ConnectionTranscripts();
      if (transcripts.size() > index && transcripts[index].size() >= size) return transcripts[index];
    }
    return transcripts.size() > index ? transcripts[index] : std::string("<no connection>");
  }
  // A session on a fresh emulator, once its connection was drained.
  void Open(PrinterProfile profile = PrinterProfile(), std::chrono::milliseconds readWait = kTestReadWait) {
    StartEmulator(std::move(profile));
    session_ =
        std::make_unique<DeviceCommunication>("Card", std::make_unique<EthernetCommunication>(Uri(), readWait), 2);
    Received(0, kFlushRound.size());
  }
  // What the session sent after the drain on its one connection.
  std::string Sent(size_t size) { return Received(0, kFlushRound.size() + size).substr(kFlushRound.size()); }

  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<DeviceCommunication> session_;
};

// Every query as text: nullopt shows as "<none>", numbers as digits.
using QueryFn = std::string (*)(DeviceCommunication&);
struct QueryCase {
  std::string command;
  QueryFn ask;
  std::string onNak;
};
const std::string kNak = PrinterEngine::ErrorForm(PrinterEngine::kErrorInjected);
const QueryCase kQueries[] = {
    {"V", [](DeviceCommunication& s) { return s.GetFirmwareVersion(); }, kNak},  // no NAK test
    {"!V 15", [](DeviceCommunication& s) { return s.GetHeadResistance(); }, "None"},
    {"!NL", [](DeviceCommunication& s) { return s.GetPanelsPrinted(); }, "None"},
    {"!RIBLEN", [](DeviceCommunication& s) { return s.GetRemainingCount(); }, "None"},
    {"!RIBBON", [](DeviceCommunication& s) { return s.GetRibbonType().value_or("<none>"); }, "No Ribbon"},
    {"%SERIE", [](DeviceCommunication& s) { return s.GetSerialNumber(); }, kNak},  // no NAK test
    {"&V", [](DeviceCommunication& s) { return s.GetMagAdvancedSettings(); }, "None"},
    {"ATM 1 1", [](DeviceCommunication& s) { return std::to_string(s.GetFeederStatus()); }, "0"}};

// A full reply (1024 bytes) is read without overrun; "!NL" without ACK is shown as it
// came; a single "!RIBLEN" field is not trimmed.
TEST_F(EmulatorTest, EachQuerySendsItsCommandAndParsesEveryReplyForm) {
  const std::tuple<size_t, std::string, std::string> cases[] = {
      // index into kQueries, reply, result
      // clang-format off
      {0, "VKT32-M V1.02.03.016\r", "VKT32-M V1.02.03.016\r"},
      {0, std::string(1024, '7'), std::string(1024, '7')},
      {1, " 2950\r", "2950\r"},
      {2, "!1234 0\x06", "1234"},
      {2, "!1234 7 other text\x06", "1234"},
      {2, "  !1234 7\t", "!1234 7"},
      {2, "987\x06", "987"},
      {3, "120,200\r", "120"},
      {3, "120\r", "120\r"},
      {3, "55,200\x04", "None"},
      {3, " 77,200\r", " 77"},
      {4, "43\r", "YMCKO"},
      {4, "20\r", "<none>"},
      {4, "72\r", "<none>"},
      {4, "73\r", "N/A"},
      {4, "-1\r", "N/A"},
      {4, "abc\r", "No Ribbon"},
      {4, " 1\r", "Monochrome"},
      {5, "\tS32000001\r", "S32000001\r"},
      {6, "TRACK 1 W:A R:Q\x06", "TRACK 1 W:A R:Q\x06"},
      {6, "  T1 W:A \r", "T1 W:A \r"},
      {7, "2\r", "2"},
      {7, "1 ready\r", "1"},
      // clang-format on
  };
  for (const auto& [index, reply, expected] : cases) {
    const QueryCase& q = kQueries[index];
    PrinterProfile profile;
    profile.replyOverrides[q.command] = reply;
    Open(profile);
    EXPECT_EQ(q.ask(*session_), expected) << q.command << " <- " << reply.substr(0, 20);
    EXPECT_EQ(Sent(Query(q.command).size()), Query(q.command));
  }
}

TEST_F(EmulatorTest, NakSilenceAndNoTransport) {
  PrinterProfile naks, silent;
  for (const QueryCase& q : kQueries) naks.nakCommands[q.command] = 0, silent.silentCommands.push_back(q.command);
  Open(naks);
  for (const QueryCase& q : kQueries) EXPECT_EQ(q.ask(*session_), q.onNak) << q.command;

  Open(silent, kSilenceReadWait);
  for (const QueryCase& q : kQueries) EXPECT_EQ(q.ask(*session_), q.command == "ATM 1 1" ? "0" : "") << q.command;

  DeviceCommunication none("Card", nullptr, 2);
  for (const QueryCase& q : kQueries) EXPECT_EQ(q.ask(none), q.command == "ATM 1 1" ? "0" : "NA") << q.command;
  EXPECT_EQ(none.MagWriteBtnClicked("A", "1", "2"), -1);
  none.SetSingleFeedOptions(1);
}

TEST_F(EmulatorTest, SingleFeedModesThenResetReconnectsWithoutDrain) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  PrinterProfile profile;
  profile.replyOverrides = {{"%SERIE", "S32000001\r"}};
  Open(profile);
  for (int mode : {3, -1, 2, 0, 1}) session_->SetSingleFeedOptions(mode);  // nothing for 3 and -1
  const std::string expected = Query("ATM 2") + Query("ATM 0") + Query("ATM 1");
  EXPECT_EQ(Sent(expected.size()), expected);
  EXPECT_EQ(server_->Engine().State().feederMode, 1);
  EXPECT_EQ(session_->GetFeederStatus(), 1);  // every reply was consumed: the next query gets its own
  EXPECT_EQ(session_->GetPrinterIPAddress(), "127.0.0.1");
  const uint32_t before = session_->GetDeviceStatusInfo();
  session_->ResetHandle();
  EXPECT_EQ(session_->GetSerialNumber(), "S32000001\r");
  EXPECT_EQ(Received(1, 13), Query("%SERIE"));
  EXPECT_EQ(server_->ConnectionCount(), 2);
  EXPECT_EQ(session_->GetDeviceStatusInfo(), before);

  unsetenv("CUPS_SERVER");
}

// Sends the query, then reads the reply: its text, or "<no buffer>".
std::string Ask(EthernetCommunication& t, const std::string& command, int* count) {
  t.SendDataToPrinter(Query(command).data(), static_cast<int>(command.size() + 7));
  ReplyBuffer reply;
  *count = t.GetDataFromPrinter(&reply);
  return reply ? std::string(reply.get(), strnlen(reply.get(), kReplyBufferSize)) : "<no buffer>";
}

TEST_F(EmulatorTest, DrainsWhileThePrinterAnswersNakReadsWholeRepliesAndClosesTwice) {
  PrinterProfile profile;
  profile.nakCommands["."] = 3;
  profile.replyOverrides = {{"%SERIE", "S32000001\r"}, {"V", std::string(kReplyBufferSize, 'F')}};
  StartEmulator(profile);
  EthernetCommunication transport(Uri() + "/?snmp=false", kTestReadWait);
  EXPECT_EQ(Received(0, 4 * kFlushRound.size()), kFlushRound + kFlushRound + kFlushRound + kFlushRound);
  // Drained: the next query gets its own reply; a full one is read once,
  // without a terminator.
  int count = 0;
  const std::string serial = Ask(transport, "%SERIE", &count);
  EXPECT_EQ(serial + std::to_string(count), "S32000001\r10");
  Ask(transport, "V", &count);
  EXPECT_EQ(count, kReplyBufferSize);
  transport.ClosePrinterHandle();
  transport.ClosePrinterHandle();
  EXPECT_EQ(transport.GetDeviceStatus(), 0xFFFFFFFFu);
}

TEST_F(EmulatorTest, RefusedOrUnknownHostMeansAbsent) {
  StartEmulator();
  const std::string refusing = Uri();  // nobody listens there once the emulator is gone
  server_.reset();
  for (const bool known : {true, false}) {
    RecordingWaits waits;
    EthernetCommunication transport(known ? refusing : "vkt3socket://no-such-host.invalid", kTestReadWait);
    ReplyBuffer reply;
    std::ostringstream state;  // status, reopen, write, read, buffer, address
    state << transport.GetDeviceStatus() << " " << transport.GetPrinterHandle() << " "
          << transport.SendDataToPrinter("\x1bV\r", 3) << " " << transport.GetDataFromPrinter(&reply) << " "
          << (reply ? "buffer " : "none ") << transport.GetIPAddress().value_or("-");
    // The lookup of a known host works; ten seconds after each failed one:
    // the constructor's and the reopen's.
    EXPECT_EQ(state.str(), known ? "4294967295 -1 -1 -1 none 127.0.0.1" : "4294967295 -1 -1 -1 none -");
    EXPECT_EQ(waits.entries, std::vector<Entry>(known ? 0 : 2, Entry{Entry::kSleep, std::chrono::seconds(10)}));
  }
}

TEST_F(EmulatorTest, DroppedConnectionIsRepairedOnceOnWrite) {
  PrinterProfile profile;
  profile.closeAfterBytes = static_cast<long>(kFlushRound.size()) + 7;
  profile.closeAfterTimes = 1;
  profile.replyOverrides["%SERIE"] = "S32000001\r";
  StartEmulator(profile);
  EthernetCommunication transport(Uri(), kTestReadWait);
  ASSERT_EQ(transport.SendDataToPrinter("\x1b!V 15\r", 7), 7);  // the printer drops the line here
  ReplyBuffer reply;
  ASSERT_EQ(transport.GetDataFromPrinter(&reply), 0);  // end of stream
  // The first write into the dead connection still goes out and draws the
  // reset; the next one meets EPIPE once the kernel has closed the socket.
  ASSERT_EQ(transport.SendDataToPrinter("lost", 4), 4);
  tcp_info info{};
  for (socklen_t n = sizeof info; info.tcpi_state != TCP_CLOSE;) {
    ASSERT_EQ(getsockopt(static_cast<int>(transport.GetDeviceStatus()), SOL_TCP, TCP_INFO, &info, &n), 0);
    usleep(1000);
  }
  testing::internal::CaptureStdout();
  int count = 0;
  EXPECT_EQ(Ask(transport, "%SERIE", &count), "S32000001\r");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error String is 32 :: Broken pipe\n");
  EXPECT_EQ(Received(1, 13), Query("%SERIE"));  // no drain on reconnect
  EXPECT_EQ(server_->ConnectionCount(), 2);
  // A stream part is never repaired: with the printer gone it fails.
  server_.reset();
  const std::string part(1 << 24, 'x');
  EXPECT_FALSE(transport.SendStreamPart(part.data(), static_cast<int>(part.size())));
}

}  // namespace
