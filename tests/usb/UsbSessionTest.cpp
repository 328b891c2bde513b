// The printer session over the USB transport: every command of the session's
// command set against an emulated USB printer, compared byte for byte with
// the same commands over TCP to the same engine.
#include <gtest/gtest.h>

#include <cstdlib>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "EthernetCommunication.h"
#include "RecordingWaits.h"
#include "UsbTestbedFixture.h"

namespace {

// What the command set makes of one printer.
struct CommandSetResults {
  std::string firmware, headResistance, panels, remaining, serial, encoderSettings;
  std::optional<std::string> ribbon;
  int feederBefore = -1, feederAfter = -1, magWrite = -1;
  std::optional<std::string> rawReply;

  bool operator==(const CommandSetResults&) const = default;
};

CommandSetResults RunCommandSet(DeviceCommunication& session) {
  CommandSetResults r;
  r.firmware = session.GetFirmwareVersion();
  r.headResistance = session.GetHeadResistance();
  r.panels = session.GetPanelsPrinted();
  r.remaining = session.GetRemainingCount();
  r.ribbon = session.GetRibbonType();
  r.serial = session.GetSerialNumber();
  r.encoderSettings = session.GetMagAdvancedSettings();
  r.feederBefore = session.GetFeederStatus();
  session.SetSingleFeedOptions(2);
  r.feederAfter = session.GetFeederStatus();
  r.magWrite = session.MagWriteBtnClicked("HELLO", "12345", "678");
  // The session's own primitives: a command written, its reply read.
  session.WriteToPrinter("\x1b%HEAD\r", 7);
  session.WriteToPrinter("\x1b" "E 2\r", 5);
  r.rawReply = session.ReadFromPrinter();
  return r;
}

PrinterProfile SessionProfile() {
  PrinterProfile profile;
  profile.serial = "VKT0000123";
  profile.firmware = "VKT32-M V1.02.03.016";
  profile.firmwareTerminator = "\r";
  profile.replyTerminator = "\r";
  profile.headResistance = "2950";
  profile.panelsPrinted = 1234;
  profile.ribbonCode = 43;
  profile.ribbonRemaining = 120;
  profile.ribbonCapacity = 200;
  profile.headNumber = "H0815";
  profile.feederMode = 0;
  return profile;
}

using UsbSessionTest = UsbTestbedTest;

TEST_F(UsbSessionTest, WholeCommandSetThroughTheUsbTransport) {
  RecordingWaits waits;
  PrinterProfile profile = SessionProfile();
  int printer = testbed->AddPrinter(USBCommunication::VendorId(), "VKT0000123", profile);
  DeviceCommunication session("VKTS32usb", std::make_unique<USBCommunication>("VKT0000123", kShortRead), 1);
  EXPECT_EQ(session.GetDeviceStatusInfo(), 1u);
  EXPECT_FALSE(session.IsNetworkPrinter());
  EXPECT_EQ(session.GetPrinterIPAddress(), std::nullopt);

  CommandSetResults usb = RunCommandSet(session);
  EXPECT_EQ(usb.firmware, "VKT32-M V1.02.03.016\r");  // the session keeps the CR
  EXPECT_EQ(usb.headResistance, "2950\r");
  EXPECT_EQ(usb.panels, "1234");
  EXPECT_EQ(usb.remaining, "120");
  EXPECT_EQ(usb.ribbon, "YMCKO");
  EXPECT_EQ(usb.serial, "VKT0000123\r");
  EXPECT_EQ(usb.feederBefore, 0);
  EXPECT_EQ(usb.feederAfter, 2);
  EXPECT_EQ(usb.magWrite, 0);
  EXPECT_EQ(usb.rawReply, "H0815\r");
  EXPECT_FALSE(usb.encoderSettings.empty());
  EXPECT_NE(usb.encoderSettings, "None");

  PrinterProfile state = testbed->Printer(printer).Engine().State();
  EXPECT_EQ(state.feederMode, 2);
  EXPECT_EQ(state.cardTrack[0], "HELLO");
  EXPECT_EQ(state.cardTrack[1], "12345");
  EXPECT_EQ(state.cardTrack[2], "678");

  // The same printer on TCP answers the same commands the same way, and
  // both transports put the same bytes on the wire.
  EmulatorServer server(profile);
  ASSERT_TRUE(server.Start(0)) << "the network emulator could not start";
  std::string uri = "vkt3socket://127.0.0.1:" + std::to_string(server.Port());
  auto ethernet = std::make_unique<EthernetCommunication>(uri);
  DeviceCommunication network("VKTS32net", std::move(ethernet), 2);
  std::string afterFlush = server.Engine().Transcript();  // the network transport drains on connect
  CommandSetResults tcp = RunCommandSet(network);
  EXPECT_EQ(usb, tcp);
  EXPECT_EQ(testbed->Transcript(printer), server.Engine().Transcript().substr(afterFlush.size()));
}

}  // namespace
