// The sandbox's usb queue end to end: the session asks the private cupsd for
// the queue's device URI, takes the serial number from it and finds the
// emulated USB printer carrying that serial number; a printer this user may
// not open leaves the session without a transport.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "DeviceCommunication.h"
#include "PrinterProfile.h"
#include "SandboxEnv.h"
#include "USBCommunication.h"
#include "UsbPrinterTestbed.h"

namespace {

// Without a udev rule for the seat the device node is root's alone: the
// session must end up without a transport (start-up then says it cannot go
// on) instead of sending into a device it never opened.
TEST(UsbQueueTest, SessionAnswersThroughTheEmulatedDeviceUnlessThisUserMayNotOpenIt) {
  ASSERT_TRUE(UsbPrinterTestbed::PreloadActive()) << "run this test under umockdev-wrapper";
  ASSERT_TRUE(vkt_sandbox::Require());
  PrinterProfile profile;
  profile.serial = vkt_sandbox::Var("VKT_USB_SERIAL");
  profile.firmware = "VKT32-M V2.00.01.004";
  profile.firmwareTerminator = profile.replyTerminator = "\r";
  profile.ribbonCode = 47;
  UsbPrinterTestbed testbed;
  const int printer = testbed.AddPrinter(USBCommunication::VendorId(), profile.serial, profile);
  const std::string queries = "\x1bV\r\033E 2\r\x1b%SERIE\r\033E 2\r\x1b!RIBBON\r\033E 2\r";
  {
    DeviceCommunication session("VKTS32Usb");
    ASSERT_EQ(session.TransportKind(), 1u);
    EXPECT_EQ(session.GetDeviceStatusInfo(), 1u);
    EXPECT_EQ(session.GetFirmwareVersion(), "VKT32-M V2.00.01.004\r");
    EXPECT_EQ(session.GetSerialNumber(), profile.serial + "\r");
    EXPECT_EQ(session.GetRibbonType(), "KRO");
    EXPECT_EQ(testbed.Transcript(printer), queries);
  }
  testbed.DenyAccess(printer);
  // Root opens any node: the session is made as an ordinary user.
  const bool root = ::geteuid() == 0;
  ASSERT_TRUE(!root || ::seteuid(65534) == 0);
  ::testing::internal::CaptureStderr();
  auto session = std::make_unique<DeviceCommunication>("VKTS32Usb");
  const std::string log = ::testing::internal::GetCapturedStderr();
  ASSERT_TRUE(!root || ::seteuid(0) == 0);
  EXPECT_EQ(session->Transport(), nullptr);
  EXPECT_THAT(log, ::testing::HasSubstr("Could not open device " + testbed.DeviceNode(printer) +
                                        ": Access denied (insufficient permissions)\n"));
  session->WriteToPrinter("\x1bV\r", 3);
  EXPECT_EQ(testbed.Transcript(printer), queries);
}

}  // namespace
