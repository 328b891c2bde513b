// The device URI of every kind of sandbox queue as the printer session reads
// it from the scheduler, and the transport each scheme leads to.
#include <gtest/gtest.h>

#include "DeviceCommunication.h"
#include "SandboxEnv.h"

namespace {

class QueueUriTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vkt_sandbox::Require()); }

  // A session without a transport, used only for its URI lookup.
  static std::optional<std::string> UriOf(const std::string& queue) {
    DeviceCommunication session("", nullptr, 0);
    return session.GetURIFromPrinterName(queue);
  }

  static std::string SocketUri(const std::string& queue) {
    return "vkt3socket://127.0.0.1:" + vkt_sandbox::Var("VKT_EMU_PORT_" + queue) + "/?snmp=false";
  }
};

TEST_F(QueueUriTest, SocketQueuesNameTheirEmulators) {
  for (const char* queue : {"Card", "Card2", "VKTS31Socket", "VKTS1Socket", "VKTS3CSocket"}) {
    ASSERT_FALSE(vkt_sandbox::Var(std::string("VKT_EMU_PORT_") + queue).empty()) << queue;
    EXPECT_EQ(UriOf(queue), SocketUri(queue)) << queue;
  }
  // The lower-case PPD queue shares the VKTS31 emulator.
  EXPECT_EQ(UriOf("VKTS31Lower"), SocketUri("VKTS31Socket"));
  EXPECT_NE(vkt_sandbox::Var("VKT_EMU_PORT_Card"), vkt_sandbox::Var("VKT_EMU_PORT_Card2"));
}

TEST_F(QueueUriTest, UsbIppAndDnssdQueuesKeepTheirUris) {
  EXPECT_EQ(UriOf("VKTS32Usb"), "usb://Orvex/VKTS32?serial=VKT0000123");
  EXPECT_EQ(UriOf("VKTS31Ipp"), "ipp://127.0.0.1:" + vkt_sandbox::Var("VKT_CUPS_PORT") + "/printers/x");
  EXPECT_EQ(UriOf("VKTS31Dnssd"), "dnssd://Orvex%20VKTS31._pdl-datastream._tcp.local/");
}

TEST_F(QueueUriTest, UnknownQueueHasNoUri) {
  EXPECT_EQ(UriOf("NoSuchQueue"), std::nullopt);
  EXPECT_EQ(UriOf(""), std::nullopt);
}

TEST_F(QueueUriTest, UsbUriYieldsTheSerialNumber) {
  DeviceCommunication session("", nullptr, 0);
  const auto uri = session.GetURIFromPrinterName("VKTS32Usb");
  ASSERT_TRUE(uri.has_value());
  EXPECT_EQ(session.GetSerialNumberFromURI(*uri), "VKT0000123");
}

TEST_F(QueueUriTest, OnlyTheSocketSchemeGetsANetworkTransport) {
  DeviceCommunication socket("Card");
  EXPECT_EQ(socket.TransportKind(), 2u);
  EXPECT_TRUE(socket.IsNetworkPrinter());

  for (const char* queue : {"VKTS31Dnssd", "VKTS31Ipp", "NoSuchQueue"}) {
    DeviceCommunication session(queue);
    EXPECT_EQ(session.TransportKind(), 0u) << queue;
    EXPECT_EQ(session.Transport(), nullptr) << queue;
    EXPECT_EQ(session.WriteToPrinter("\x1bV\r", 3), -1) << queue;
    EXPECT_EQ(session.ReadFromPrinter(), std::nullopt) << queue;
  }
}

}  // namespace
