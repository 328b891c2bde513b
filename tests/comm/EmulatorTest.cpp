// The transports and the session's command set against the in-process printer
// emulator and against sockets that misbehave: connect, drain, read waits,
// reconnect on EPIPE, the SNMP probe, the exact bytes of every command and each
// query's result for every reply form, for NAK, for silence and without a
// transport.
#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "EthernetCommunication.h"
#include "RecordingWaits.h"

namespace {

// Read waits: generous where a reply is due (a loaded CI machine must not
// turn a late reply into a failure), short where silence is the point.
constexpr std::chrono::milliseconds kTestReadWait{3000};
constexpr std::chrono::milliseconds kSilenceReadWait{200};

const std::string kReplyRequest = "\033E 2\r";
const std::string kFlushRound = "\x1b.\r" + kReplyRequest;

class EmulatorTest : public testing::Test {
 protected:
  void StartEmulator(PrinterProfile profile = PrinterProfile()) {
    server_ = std::make_unique<EmulatorServer>(std::move(profile));
    ASSERT_TRUE(server_->Start(0)) << "the printer emulator did not start";
  }
  std::string Uri() const { return "vkt3socket://127.0.0.1:" + std::to_string(server_->Port()); }
  std::unique_ptr<EthernetCommunication> Connect(std::chrono::milliseconds readWait = kTestReadWait) {
    return std::make_unique<EthernetCommunication>(Uri(), readWait);
  }

  // Bytes the emulator received on connection `index`, once it has read at
  // least `size` of them (the server reads on its own thread).
  std::string Received(size_t index, size_t size) {
    std::vector<std::string> transcripts;
    for (int i = 0; i < 2000; ++i) {
      transcripts = server_->ConnectionTranscripts();
      if (transcripts.size() > index && transcripts[index].size() >= size) break;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return transcripts.size() > index ? transcripts[index] : std::string("<no connection>");
  }

  // A session on a fresh emulator, once its connection was drained.
  void Open(PrinterProfile profile = PrinterProfile(), std::chrono::milliseconds readWait = kTestReadWait) {
    StartEmulator(std::move(profile));
    session_ = std::make_unique<DeviceCommunication>("Card", Connect(readWait), 2);
    Received(0, kFlushRound.size());
  }
  // What the session sent after the drain on its one connection.
  std::string Sent(size_t size) { return Received(0, kFlushRound.size() + size).substr(kFlushRound.size()); }

  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<DeviceCommunication> session_;
};

using CommandSetTest = EmulatorTest;
using EthernetTransportTest = EmulatorTest;
using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// Every query as text: nullopt shows as "<none>", numbers as digits.
using QueryFn = std::string (*)(DeviceCommunication&);
struct Query {
  std::string command;
  QueryFn ask;
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
               {"!RIBBON", "20\r", "<none>"},
               {"!RIBBON", "72\r", "<none>"},
               {"!RIBBON", "73\r", "N/A"},
               {"!RIBBON", "-1\r", "N/A"},
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

TEST_F(CommandSetTest, ResetReconnectsWithoutDrainAndAnUnknownQueueHasNoTransport) {
  setenv("CUPS_SERVER", "/nonexistent/cups.sock", 1);
  PrinterProfile profile;
  profile.replyOverrides = {{"%SERIE", "S32000001\r"}};
  Open(profile);
  EXPECT_EQ(session_->GetPrinterIPAddress(), "127.0.0.1");
  const uint32_t before = session_->GetDeviceStatusInfo();
  session_->ResetHandle();
  EXPECT_EQ(session_->GetSerialNumber(), "S32000001\r");
  EXPECT_EQ(Received(1, 8 + 5), "\x1b%SERIE\r" + kReplyRequest);
  EXPECT_EQ(server_->ConnectionCount(), 2);
  EXPECT_EQ(session_->GetDeviceStatusInfo(), before);

  CaptureStderr();
  DeviceCommunication unknown("NoSuchQueue");
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("Printer Name is NoSuchQueue\n"));
  EXPECT_EQ(unknown.Transport(), nullptr);
  EXPECT_EQ(unknown.TransportKind() + unknown.GetDeviceStatusInfo(), 0u);
  unsetenv("CUPS_SERVER");
}

using Entry = RecordingWaits::Entry;

// Sends ESC command CR and the reply request, then reads the reply.
std::string Ask(EthernetCommunication& t, const std::string& command, int* count) {
  t.SendDataToPrinter(("\x1b" + command + "\r").c_str(), static_cast<int>(command.size() + 2));
  t.SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer reply;
  *count = t.GetDataFromPrinter(&reply);
  return reply ? std::string(reply.get(), strnlen(reply.get(), kReplyBufferSize)) : "<no buffer>";
}

// A socket of `type` bound to a free loopback port (never listening).
struct LoopbackSocket {
  explicit LoopbackSocket(int type) : fd(socket(AF_INET, type, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t length = sizeof address;
    getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
  }
  ~LoopbackSocket() { close(fd); }
  int fd, port;
};

TEST_F(EthernetTransportTest, ConnectsDrainsOnceClosesAndReopensWithoutDrain) {
  StartEmulator();
  EthernetCommunication transport(Uri() + "/?snmp=false", kTestReadWait);
  EXPECT_NE(transport.GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_NE(transport.GetDeviceStatus(), 0u);
  EXPECT_EQ(transport.GetIPAddress(), "127.0.0.1");
  EXPECT_EQ(Received(0, kFlushRound.size()), kFlushRound);
  EXPECT_EQ(server_->ConnectionCount(), 1);
  transport.ClosePrinterHandle();
  transport.ClosePrinterHandle();
  EXPECT_EQ(transport.GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_EQ(transport.GetPrinterHandle(), 1);
  transport.SendDataToPrinter("\x1bV\r", 3);
  EXPECT_EQ(Received(1, 3), "\x1bV\r");
}

TEST_F(EthernetTransportTest, DrainRepeatsWhileThePrinterAnswersNak) {
  PrinterProfile profile;
  profile.nakCommands["."] = 3;
  profile.replyOverrides["%SERIE"] = "S32000001\r";
  profile.replyOverrides["V"] = std::string(kReplyBufferSize, 'F');
  StartEmulator(profile);
  auto transport = Connect();
  EXPECT_EQ(Received(0, 4 * kFlushRound.size()), kFlushRound + kFlushRound + kFlushRound + kFlushRound);
  // Drained: the next query gets its own reply.
  int count = 0;
  EXPECT_EQ(Ask(*transport, "%SERIE", &count), "S32000001\r");
  EXPECT_EQ(count, 10);
  // A full reply is read once, without a terminator.
  Ask(*transport, "V", &count);
  EXPECT_EQ(count, kReplyBufferSize);
}

TEST_F(EthernetTransportTest, RefusedOrUnknownHostMeansAbsent) {
  LoopbackSocket refusing(SOCK_STREAM);
  for (const bool known : {true, false}) {
    SCOPED_TRACE(known);
    RecordingWaits waits;
    CaptureStderr();
    EthernetCommunication transport(
        known ? "vkt3socket://127.0.0.1:" + std::to_string(refusing.port) : "vkt3socket://no-such-host.invalid",
        kTestReadWait);
    const std::string log = GetCapturedStderr();
    EXPECT_EQ(transport.GetDeviceStatus(), 0xFFFFFFFFu);
    EXPECT_EQ(transport.GetPrinterHandle(), -1);
    EXPECT_EQ(transport.SendDataToPrinter("\x1bV\r", 3), -1);
    ReplyBuffer reply;
    EXPECT_EQ(transport.GetDataFromPrinter(&reply), -1);
    EXPECT_EQ(reply, nullptr);
    if (known) {
      EXPECT_THAT(log, HasSubstr("DEBUG: Connection error: "));
      EXPECT_EQ(transport.GetIPAddress(), "127.0.0.1");  // the lookup worked
      EXPECT_TRUE(waits.entries.empty());
    } else {
      EXPECT_EQ(log, "Unable to locate printer no-such-host.invalid\n");
      EXPECT_EQ(transport.GetIPAddress(), std::nullopt);
      // Ten seconds after each failed lookup: the constructor's and the reopen's.
      EXPECT_EQ(waits.entries, (std::vector<Entry>(2, Entry{Entry::kSleep, std::chrono::seconds(10)})));
    }
  }
}

TEST_F(EthernetTransportTest, DroppedConnectionIsRepairedOnceOnWrite) {
  PrinterProfile profile;
  profile.closeAfterBytes = static_cast<long>(kFlushRound.size()) + 7;
  profile.closeAfterTimes = 1;
  profile.replyOverrides["%SERIE"] = "S32000001\r";
  StartEmulator(profile);
  auto transport = Connect();
  ASSERT_EQ(transport->SendDataToPrinter("\x1b!V 15\r", 7), 7);  // the printer drops the line here
  ReplyBuffer reply;
  ASSERT_EQ(transport->GetDataFromPrinter(&reply), 0);  // end of stream
  // The first write into the dead connection still goes out and draws the
  // reset; the next one meets EPIPE once the kernel has closed the socket.
  ASSERT_EQ(transport->SendDataToPrinter("lost", 4), 4);
  const int fd = static_cast<int>(transport->GetDeviceStatus());
  for (int i = 0; i < 2000; ++i) {
    tcp_info info{};
    socklen_t length = sizeof info;
    if (getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &length) == 0 && info.tcpi_state == TCP_CLOSE) break;
    usleep(1000);
  }
  testing::internal::CaptureStdout();
  int count = 0;
  EXPECT_EQ(Ask(*transport, "%SERIE", &count), "S32000001\r");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error String is 32 :: Broken pipe\n");
  EXPECT_EQ(Received(1, 13), "\x1b%SERIE\r" + kReplyRequest);  // no drain on reconnect
  EXPECT_EQ(server_->ConnectionCount(), 2);
  // A stream part is never repaired: with the printer gone it fails.
  server_.reset();
  const std::string part(1 << 24, 'x');
  EXPECT_FALSE(transport->SendStreamPart(part.data(), static_cast<int>(part.size())));
}

// The SNMP probe against a UDP socket standing in for the printer's agent.
// The probe's one-second sleep is where the agent gets its turn: it takes
// every datagram waiting and answers each when `answer` is set.
class AgentTurnWaits : public RecordingWaits {
 public:
  explicit AgentTurnWaits(bool answer) : answer_(answer) {}
  void Sleep(std::chrono::microseconds duration) override {
    RecordingWaits::Sleep(duration);
    for (pollfd entry{agent.fd, POLLIN, 0}; poll(&entry, 1, 0) > 0;) {
      char data[4096];
      sockaddr_in from{};
      socklen_t length = sizeof from;
      const ssize_t n = recvfrom(agent.fd, data, sizeof data, 0, reinterpret_cast<sockaddr*>(&from), &length);
      if (n < 0) return;
      datagrams.emplace_back(data, static_cast<size_t>(n));
      if (answer_) sendto(agent.fd, "\x30\x00", 2, 0, reinterpret_cast<sockaddr*>(&from), length);
    }
  }
  LoopbackSocket agent{SOCK_DGRAM};
  std::vector<std::string> datagrams;

 private:
  bool answer_;
};

TEST(CheckAvailabilityTest, ExactProbeOnceWhenAnsweredTwiceWhenNot) {
  const std::string first(
      "\x30\x27\x02\x01\x00\x04\x06snmprd\xA0\x1A\x02\x02\x1D\xAA\x02\x01\x00\x02\x01\x00\x30\x0E"
      "\x30\x0C\x06\x08\x2B\x06\x01\x02\x01\x01\x01\x00\x05\x00",
      41);
  // The second round repeats the shared buffer with its head zeroed.
  const std::string second = std::string(5, '\0') + first.substr(5);
  for (const bool answer : {true, false}) {
    AgentTurnWaits waits(answer);
    EXPECT_EQ(EthernetCommunication::CheckAvailability("127.0.0.1", waits.agent.port), answer);
    const std::vector<std::string> sent = {first, second};
    EXPECT_EQ(waits.datagrams, std::vector<std::string>(sent.begin(), sent.begin() + (answer ? 1 : 2)));
    EXPECT_EQ(waits.entries, std::vector<Entry>(answer ? 1 : 2, Entry{Entry::kSleep, std::chrono::seconds(1)}));
  }
}

}  // namespace
