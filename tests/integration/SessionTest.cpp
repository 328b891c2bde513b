// A printer session opened on a sandbox queue by name: the device URI leads
// over vkt3socket to the queue's own emulator, which answers the firmware query.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "DeviceCommunication.h"
#include "PrinterProfile.h"
#include "SandboxEnv.h"

namespace {

// The bytes the emulator received, per connection, from its transcript file
// (lines "c<id> > <escaped bytes>").
std::map<int, std::string> ReceivedPerConnection(const std::string& transcriptPath) {
  std::map<int, std::string> received;
  std::ifstream in(transcriptPath);
  std::string line;
  while (std::getline(in, line)) {
    int id = 0;
    char direction[8] = "";
    int consumed = 0;
    if (std::sscanf(line.c_str(), "c%d %7s %n", &id, direction, &consumed) < 2) continue;
    if (std::string(direction) != ">") continue;
    std::string bytes;
    if (DecodeEscapes(line.substr(static_cast<size_t>(consumed)), &bytes)) received[id] += bytes;
  }
  return received;
}

class SessionTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vkt_sandbox::Require()); }

  static PrinterProfile ProfileOf(const std::string& queue) {
    PrinterProfile profile;
    std::string error;
    const std::string path = vkt_sandbox::Var("VKT_EMU_PROFILE_" + queue);
    EXPECT_TRUE(LoadPrinterProfile(path, &profile, &error)) << path << ": " << error;
    return profile;
  }
};

TEST_F(SessionTest, SocketQueueSessionReadsTheFirmwareOfItsEmulator) {
  for (const char* queue : {"Card", "VKTS31Socket", "VKTS1Socket", "VKTS3CSocket"}) {
    const PrinterProfile profile = ProfileOf(queue);
    DeviceCommunication session(queue);
    ASSERT_EQ(session.TransportKind(), 2u) << queue;
    EXPECT_EQ(session.GetFirmwareVersion(),
              DeviceCommunication::TrimString(profile.firmware + profile.firmwareTerminator))
        << queue;
  }
}

TEST_F(SessionTest, SessionDrainsOnOpenThenSendsTheFirmwareQueryAndReplyRequest) {
  const std::string transcript = vkt_sandbox::Var("VKT_EMU_TRANSCRIPT_Card2");
  const auto before = ReceivedPerConnection(transcript);
  {
    DeviceCommunication session("Card2");
    ASSERT_EQ(session.TransportKind(), 2u);
    EXPECT_FALSE(session.GetFirmwareVersion().empty());
  }
  const auto after = ReceivedPerConnection(transcript);
  std::string fresh;
  for (const auto& [id, bytes] : after) {
    if (!before.count(id)) fresh += bytes;
  }
  // One new connection: the drain of the open (ESC "." CR, ESC "E 2" CR), then
  // the query and its reply request.
  EXPECT_EQ(fresh, std::string("\x1b.\r\x1b" "E 2\r" "\x1bV\r\x1b" "E 2\r"));
  EXPECT_EQ(after.size(), before.size() + 1);
}

}  // namespace
