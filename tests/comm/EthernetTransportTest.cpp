// The TCP transport against the in-process emulator and against sockets
// that misbehave: connect, drain, read waits, reconnect on EPIPE, the SNMP
// probe.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

#include "EmulatorFixture.h"
#include "RecordingWaits.h"

namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
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

using EthernetTransportTest = EmulatorTest;

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
