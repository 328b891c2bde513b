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
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

std::string ReadAll(EthernetCommunication& t, int* count) {
  ReplyBuffer reply;
  *count = t.GetDataFromPrinter(&reply);
  if (!reply) return "<no buffer>";
  return std::string(reply.get(), strnlen(reply.get(), kReplyBufferSize));
}

// A socket of `type` bound to a free loopback port; the port goes to *port.
int BoundLoopbackSocket(int type, int* port) {
  int fd = socket(AF_INET, type, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  socklen_t length = sizeof address;
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  *port = ntohs(address.sin_port);
  return fd;
}

// A loopback port that refuses connections: bound, never listening.
class RefusingPort {
 public:
  RefusingPort() : fd_(BoundLoopbackSocket(SOCK_STREAM, &port_)) {}
  ~RefusingPort() { close(fd_); }
  int port() const { return port_; }

 private:
  int port_ = 0;  // before fd_: the socket's construction fills it in
  int fd_;
};

using EthernetTransportTest = EmulatorTest;

TEST_F(EthernetTransportTest, ConnectsAndDrainsOnce) {
  StartEmulator();
  auto transport = Connect();
  EXPECT_NE(transport->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_NE(transport->GetDeviceStatus(), 0u);
  EXPECT_EQ(transport->GetIPAddress(), "127.0.0.1");
  EXPECT_EQ(Received(0, kFlushRound.size()), kFlushRound);
  EXPECT_EQ(server_->ConnectionCount(), 1);
}

TEST_F(EthernetTransportTest, UriWithResourceAndQueryConnectsToItsPort) {
  StartEmulator();
  EthernetCommunication transport(Uri() + "/?snmp=false", kTestReadWait);
  EXPECT_EQ(transport.GetIPAddress(), "127.0.0.1");
  EXPECT_EQ(Received(0, kFlushRound.size()), kFlushRound);
}

TEST_F(EthernetTransportTest, DrainRepeatsWhileThePrinterAnswersNak) {
  PrinterProfile profile;
  profile.nakCommands["."] = 3;
  profile.replyOverrides["%SERIE"] = "S32000001\r";
  StartEmulator(profile);
  auto transport = Connect();
  EXPECT_EQ(Received(0, 4 * kFlushRound.size()), kFlushRound + kFlushRound + kFlushRound + kFlushRound);
  // Drained: the next query gets its own reply.
  ASSERT_EQ(transport->SendDataToPrinter("\x1b%SERIE\r", 8), 8);
  ASSERT_EQ(transport->SendDataToPrinter(kReplyRequest.data(), 5), 5);
  int count = 0;
  EXPECT_EQ(ReadAll(*transport, &count), "S32000001\r");
  EXPECT_EQ(count, 10);
}

TEST_F(EthernetTransportTest, DrainStopsWhenThePrinterStaysSilent) {
  PrinterProfile profile;
  profile.silentCommands = {"."};
  StartEmulator(profile);
  CaptureStderr();
  auto transport = Connect(kSilenceReadWait);
  std::string log = GetCapturedStderr();
  EXPECT_EQ(Received(0, 2 * kFlushRound.size()), kFlushRound + kFlushRound);
  EXPECT_THAT(log, HasSubstr("FD Not Set for Reading  "));
}

TEST_F(EthernetTransportTest, SilencePastTheReadWaitFails) {
  PrinterProfile profile;
  profile.silentCommands = {"!V"};
  StartEmulator(profile);
  auto transport = Connect(kSilenceReadWait);
  transport->SendDataToPrinter("\x1b!V 15\r", 7);
  transport->SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer reply;
  CaptureStderr();
  EXPECT_EQ(transport->GetDataFromPrinter(&reply), -1);
  EXPECT_THAT(GetCapturedStderr(), testing::StartsWith("FD Not Set for Reading  "));
  EXPECT_EQ(reply, nullptr);  // no buffer on a failed read
}

TEST_F(EthernetTransportTest, AFullReplyIsReadOnceWithoutTerminator) {
  PrinterProfile profile;
  profile.replyOverrides["V"] = std::string(kReplyBufferSize, 'F');
  profile.replyOverrides["%SERIE"] = std::string(1500, 'S');
  StartEmulator(profile);
  auto transport = Connect();
  transport->SendDataToPrinter("\x1bV\r", 3);
  transport->SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer reply;
  ASSERT_EQ(transport->GetDataFromPrinter(&reply), kReplyBufferSize);
  EXPECT_EQ(std::string(reply.get(), kReplyBufferSize), std::string(kReplyBufferSize, 'F'));

  // A longer reply: one read takes at most a buffer's worth.
  transport->SendDataToPrinter("\x1b%SERIE\r", 8);
  transport->SendDataToPrinter(kReplyRequest.data(), 5);
  Received(0, kFlushRound.size() + 8 + 8 + 5);
  ReplyBuffer longer;
  int count = transport->GetDataFromPrinter(&longer);
  EXPECT_GT(count, 0);
  EXPECT_LE(count, kReplyBufferSize);
}

TEST_F(EthernetTransportTest, ConnectionRefusedMeansAbsent) {
  RefusingPort refusing;
  RecordingWaits waits;
  CaptureStderr();
  EthernetCommunication transport("vkt3socket://127.0.0.1:" + std::to_string(refusing.port()), kTestReadWait);
  std::string log = GetCapturedStderr();
  EXPECT_THAT(log, HasSubstr("DEBUG: Connection error: "));
  EXPECT_EQ(transport.GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_EQ(transport.GetIPAddress(), "127.0.0.1");  // the lookup worked
  EXPECT_EQ(transport.GetPrinterHandle(), -1);
  EXPECT_TRUE(waits.entries.empty());
  // Closed transport: writes fail, reads fail without touching a socket.
  EXPECT_EQ(transport.SendDataToPrinter("\x1bV\r", 3), -1);
  ReplyBuffer reply;
  EXPECT_EQ(transport.GetDataFromPrinter(&reply), -1);
  EXPECT_EQ(reply, nullptr);
}

TEST_F(EthernetTransportTest, UnknownHostBacksOffTenSeconds) {
  RecordingWaits waits;
  CaptureStderr();
  EthernetCommunication transport("vkt3socket://no-such-host.invalid", kTestReadWait);
  EXPECT_EQ(GetCapturedStderr(), "Unable to locate printer no-such-host.invalid\n");
  EXPECT_EQ(waits.entries, (std::vector<RecordingWaits::Entry>{
                               {RecordingWaits::Entry::kSleep, std::chrono::seconds(10)}}));
  EXPECT_EQ(transport.GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_EQ(transport.GetIPAddress(), std::nullopt);
  EXPECT_EQ(transport.GetPrinterHandle(), -1);
  EXPECT_EQ(waits.Total(), std::chrono::seconds(20));
}

TEST_F(EthernetTransportTest, CloseTwiceIsHarmless) {
  StartEmulator();
  auto transport = Connect();
  Received(0, kFlushRound.size());
  transport->ClosePrinterHandle();
  EXPECT_EQ(transport->GetDeviceStatus(), 0xFFFFFFFFu);
  transport->ClosePrinterHandle();
  EXPECT_EQ(transport->GetDeviceStatus(), 0xFFFFFFFFu);
  // Reopening does not drain.
  EXPECT_EQ(transport->GetPrinterHandle(), 1);
  transport->SendDataToPrinter("\x1bV\r", 3);
  EXPECT_EQ(Received(1, 3), "\x1bV\r");
}

// Waits until the kernel has torn the connection down after the peer's
// reset, so the next write meets EPIPE.
void WaitForClosedState(int fd) {
  for (int i = 0; i < 2000; ++i) {
    tcp_info info{};
    socklen_t length = sizeof info;
    if (getsockopt(fd, IPPROTO_TCP, TCP_INFO, &info, &length) == 0 && info.tcpi_state == TCP_CLOSE) return;
    usleep(1000);
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
  int count = -2;
  ReadAll(*transport, &count);
  ASSERT_EQ(count, 0);  // end of stream
  // The first write into the dead connection still goes out and draws the
  // reset; the next one meets EPIPE.
  ASSERT_EQ(transport->SendDataToPrinter("lost", 4), 4);
  WaitForClosedState(static_cast<int>(transport->GetDeviceStatus()));

  CaptureStdout();
  EXPECT_EQ(transport->SendDataToPrinter("\x1b%SERIE\r", 8), 8);
  EXPECT_EQ(GetCapturedStdout(), "Error String is 32 :: Broken pipe\n");
  EXPECT_EQ(Received(1, 8), "\x1b%SERIE\r");  // no drain on reconnect, just the retried bytes
  EXPECT_EQ(server_->ConnectionCount(), 2);
  transport->SendDataToPrinter(kReplyRequest.data(), 5);
  EXPECT_EQ(ReadAll(*transport, &count), "S32000001\r");
}

// --- the SNMP probe --------------------------------------------------------

const unsigned char kExpectedProbe[41] = {0x30, 0x27, 0x02, 0x01, 0x00, 0x04, 0x06, 's',  'n',  'm',  'p',
                                          'r',  'd',  0xA0, 0x1A, 0x02, 0x02, 0x1D, 0xAA, 0x02, 0x01, 0x00,
                                          0x02, 0x01, 0x00, 0x30, 0x0E, 0x30, 0x0C, 0x06, 0x08, 0x2B, 0x06,
                                          0x01, 0x02, 0x01, 0x01, 0x01, 0x00, 0x05, 0x00};

// A UDP socket on loopback standing in for the printer's SNMP agent.
class SnmpAgent {
 public:
  SnmpAgent() : fd_(BoundLoopbackSocket(SOCK_DGRAM, &port_)) {}
  ~SnmpAgent() { close(fd_); }
  int port() const { return port_; }

  // Takes every datagram waiting; answers each when `answer` is set.
  void Serve(bool answer) {
    for (;;) {
      pollfd entry{fd_, POLLIN, 0};
      if (poll(&entry, 1, 0) <= 0) return;
      unsigned char data[4096];
      sockaddr_in from{};
      socklen_t length = sizeof from;
      ssize_t n = recvfrom(fd_, data, sizeof data, 0, reinterpret_cast<sockaddr*>(&from), &length);
      if (n < 0) return;
      datagrams.emplace_back(reinterpret_cast<char*>(data), static_cast<size_t>(n));
      if (answer) sendto(fd_, "\x30\x00", 2, 0, reinterpret_cast<sockaddr*>(&from), length);
    }
  }
  std::vector<std::string> datagrams;

 private:
  int port_ = 0;  // before fd_: the socket's construction fills it in
  int fd_;
};

// The probe's one-second sleep is where the agent gets its turn: the sleep
// is recorded and, instead of passing time, the agent serves what arrived.
class AgentTurnWaits : public RecordingWaits {
 public:
  AgentTurnWaits(SnmpAgent* agent, bool answer) : agent_(agent), answer_(answer) {}
  void Sleep(std::chrono::microseconds duration) override {
    RecordingWaits::Sleep(duration);
    agent_->Serve(answer_);
  }

 private:
  SnmpAgent* agent_;
  bool answer_;
};

TEST(CheckAvailabilityTest, AnsweredProbeSendsTheExactRequestOnce) {
  SnmpAgent agent;
  AgentTurnWaits waits(&agent, true);
  EXPECT_TRUE(EthernetCommunication::CheckAvailability("127.0.0.1", agent.port()));
  ASSERT_EQ(agent.datagrams.size(), 1u);
  EXPECT_EQ(agent.datagrams[0], std::string(reinterpret_cast<const char*>(kExpectedProbe), 41));
  EXPECT_EQ(waits.entries, (std::vector<RecordingWaits::Entry>{
                               {RecordingWaits::Entry::kSleep, std::chrono::seconds(1)}}));
}

TEST(CheckAvailabilityTest, SilentAgentGivesFalseAfterTwoRounds) {
  SnmpAgent agent;
  AgentTurnWaits waits(&agent, false);
  EXPECT_FALSE(EthernetCommunication::CheckAvailability("127.0.0.1", agent.port()));
  EXPECT_EQ(waits.entries, (std::vector<RecordingWaits::Entry>{
                               {RecordingWaits::Entry::kSleep, std::chrono::seconds(1)},
                               {RecordingWaits::Entry::kSleep, std::chrono::seconds(1)}}));
  // The second round repeats the shared buffer with its head zeroed.
  ASSERT_EQ(agent.datagrams.size(), 2u);
  std::string second(reinterpret_cast<const char*>(kExpectedProbe), 41);
  std::memset(second.data(), 0, 5);
  EXPECT_EQ(agent.datagrams[1], second);
}

}  // namespace
