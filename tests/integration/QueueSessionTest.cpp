// Printer sessions opened on sandbox queues by name: the device URI each kind
// of queue gives, the transport each scheme leads to, and a vkt3socket
// session reading the firmware text of the queue's own emulator.
#include <gtest/gtest.h>

#include "DeviceCommunication.h"
#include "PrinterProfile.h"
#include "SandboxEnv.h"

namespace {

class QueueSessionTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vkt_sandbox::Require()); }
};

TEST_F(QueueSessionTest, UriTransportAndFirmwareOfEveryQueueKind) {
  auto socket = [](const std::string& emulator) {
    return "vkt3socket://127.0.0.1:" + vkt_sandbox::Var("VKT_EMU_PORT_" + emulator) + "/?snmp=false";
  };
  const struct {
    std::string queue;
    std::optional<std::string> uri;
    std::string emulator;  // a vkt3socket queue's emulator
  } cases[] = {{"Card", socket("Card"), "Card"},
               {"Card2", socket("Card2"), "Card2"},
               {"VKTS31Socket", socket("VKTS31Socket"), "VKTS31Socket"},
               {"VKTS1Socket", socket("VKTS1Socket"), "VKTS1Socket"},
               {"VKTS3CSocket", socket("VKTS3CSocket"), "VKTS3CSocket"},
               {"VKTS31Lower", socket("VKTS31Socket"), "VKTS31Socket"},  // shares the VKTS31 emulator
               {"VKTS32Usb", "usb://Orvex/VKTS32?serial=VKT0000123", "<usb>"},
               {"VKTS31Ipp", "ipp://127.0.0.1:" + vkt_sandbox::Var("VKT_CUPS_PORT") + "/printers/x", ""},
               {"VKTS31Dnssd", "dnssd://Orvex%20VKTS31._pdl-datastream._tcp.local/", ""},
               {"NoSuchQueue", std::nullopt, ""},
               {"", std::nullopt, "<no session>"}};
  ASSERT_NE(vkt_sandbox::Var("VKT_EMU_PORT_Card"), vkt_sandbox::Var("VKT_EMU_PORT_Card2"));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.queue);
    DeviceCommunication lookup("", nullptr, 0);
    const std::optional<std::string> uri = lookup.GetURIFromPrinterName(c.queue);
    EXPECT_EQ(uri, c.uri);
    if (c.emulator == "<usb>") {
      EXPECT_EQ(lookup.GetSerialNumberFromURI(*uri), "VKT0000123");
    }
    if (c.emulator.starts_with("<")) continue;
    DeviceCommunication session(c.queue);
    if (c.emulator.empty()) {
      EXPECT_EQ(session.TransportKind(), 0u);
      EXPECT_EQ(session.Transport(), nullptr);
      EXPECT_EQ(session.WriteToPrinter("\x1bV\r", 3), -1);
      EXPECT_EQ(session.ReadFromPrinter(), std::nullopt);
      continue;
    }
    PrinterProfile profile;
    std::string error;
    ASSERT_TRUE(LoadPrinterProfile(vkt_sandbox::Var("VKT_EMU_PROFILE_" + c.emulator), &profile, &error)) << error;
    ASSERT_EQ(session.TransportKind(), 2u);
    EXPECT_TRUE(session.IsNetworkPrinter());
    EXPECT_EQ(session.GetFirmwareVersion(),
              DeviceCommunication::TrimString(profile.firmware + profile.firmwareTerminator));
  }
}

}  // namespace
