// The USB transport against emulated printers: which devices it finds and
// opens, the bytes on the bulk pipes, and its state after faults.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "PrinterProfile.h"
#include "RecordingWaits.h"
#include "USBCommunication.h"
#include "UsbPrinterTestbed.h"

namespace {

using testing::ElementsAre;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

const std::string kWanted = "VKT0000123";
const std::string kFirmwareQuery = "\x1bV\r", kReplyRequest = "\033E 2\r", kSerialQuery = "\x1b%SERIE\r";

// A fresh umockdev testbed per test, and a loud failure when the process does
// not run under umockdev-wrapper (then libusb would look at the real machine).
class UsbTransportTest : public testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(UsbPrinterTestbed::PreloadActive()) << "run this test under umockdev-wrapper"; }
  // A printer of the family's vendor (or `vendorXor` away from it) with the given serial number string.
  int AddPrinter(const std::string& serial, bool busy = false, int vendorXor = 0) {
    PrinterProfile profile;
    profile.serial = serial;
    profile.replyTerminator = profile.firmwareTerminator = "\r";
    return testbed.AddPrinter(USBCommunication::VendorId() ^ vendorXor, serial, profile, busy);
  }
  std::unique_ptr<USBCommunication> Open(const std::string& serial) {
    return std::make_unique<USBCommunication>(serial, std::chrono::milliseconds(150));
  }
  // Per printer: successful claims, releases and the bytes it received.
  std::string State() {
    std::string state;
    for (int i = 0; i < testbed.PrinterCount(); ++i) {
      const std::vector<std::string> events = testbed.Printer(i).Events();
      state += std::to_string(testbed.Printer(i).ClaimCount()) + "/" +
               std::to_string(std::count(events.begin(), events.end(), "release 0")) + ":" + testbed.Transcript(i) +
               " ";
    }
    return state;
  }

  UsbPrinterTestbed testbed;
};

// Writes `command` and the reply request, reads the reply: its text, or
// "<no buffer>", with ":count" when the read failed.
std::string Ask(USBCommunication& usb, const std::string& command) {
  usb.SendDataToPrinter(command.data(), static_cast<int>(command.size()));
  usb.SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer reply;
  const int count = usb.GetDataFromPrinter(&reply);
  if (!reply) return "<no buffer>:" + std::to_string(count);
  // The rest of the 1024-byte buffer stays zero.
  EXPECT_TRUE(std::all_of(reply.get() + std::max(count, 0), reply.get() + kReplyBufferSize, [](char c) { return !c; }));
  return count < 0 ? ":" + std::to_string(count) : std::string(reply.get(), static_cast<size_t>(count));
}

TEST_F(UsbTransportTest, ExactBytesOnThePipesThenCloseTwiceAndReopen) {
  int printer = AddPrinter(kWanted);
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  EXPECT_EQ(State(), "1/0: ");  // opening does not drain
  ReplyBuffer reply;
  EXPECT_EQ(usb->GetDataFromPrinter(&reply), -1);  // unanswered: timed out, the buffer is handed over, zeroed
  ASSERT_NE(reply, nullptr);
  EXPECT_TRUE(std::all_of(reply.get(), reply.get() + kReplyBufferSize, [](char c) { return c == 0; }));
  EXPECT_EQ(Ask(*usb, kFirmwareQuery), testbed.Printer(printer).Engine().State().firmware + "\r");
  // Each write is one bulk OUT transfer holding exactly the given bytes.
  EXPECT_THAT(testbed.Printer(printer).OutTransfers(), ElementsAre(kFirmwareQuery, kReplyRequest));
  usb->FlushPrinterEndPoint();  // ends on the ACK, which it consumes
  EXPECT_EQ(Ask(*usb, kSerialQuery), kWanted + "\r");
  EXPECT_EQ(usb->GetIPAddress(), std::nullopt);
  EXPECT_EQ(usb->USBAttachKernelDriver(0), 1);
  usb->ClosePrinterHandle();
  usb->ClosePrinterHandle();
  // Closed: writes are swallowed, reads fail; the session's reset reopens.
  EXPECT_EQ(Ask(*usb, kFirmwareQuery), "<no buffer>:-1");
  EXPECT_EQ(usb->GetPrinterHandle(), 1);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  usb->SendDataToPrinter(kFirmwareQuery.data(), 3);
  EXPECT_EQ(State(), "2/1:" + kFirmwareQuery + kReplyRequest + "\x1b.\r" + kReplyRequest + kSerialQuery +
                         kReplyRequest + kFirmwareQuery + " ");
}

TEST_F(UsbTransportTest, KernelDriverIsDetachedWhileOpenAndAFailedWriteIsLogged) {
  UsbPrinterOptions options;
  options.serial = kWanted;
  options.vendorId = USBCommunication::VendorId();
  options.kernelDriverBound = options.stallOut = true;
  int printer = testbed.AddPrinter(options, PrinterProfile());
  auto usb = Open(kWanted);
  ASSERT_EQ(usb->GetDeviceStatus(), 1u);
  testing::internal::CaptureStderr();
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Write failed (error: fffffff7)\n");  // LIBUSB_ERROR_PIPE
  usb->ClosePrinterHandle();
  EXPECT_THAT(testbed.Printer(printer).Events(),
              ElementsAre("open", "serial", "open", "detach usblp", "claim 0", "release 0", "attach usblp"));
}

TEST_F(UsbTransportTest, OnlyOurVendorTheFirstMatchThatOpensAndNoBusyDeviceAreKept) {
  RecordingWaits waits;
  AddPrinter(kWanted, false, 0x0F0F);  // another vendor's
  AddPrinter("X" + kWanted + "A");
  AddPrinter("VKT0000999");
  AddPrinter(kWanted, /*busy=*/true);
  AddPrinter("vkt0000123-b");  // case does not matter
  CaptureStdout();
  auto usb = Open(kWanted);
  GetCapturedStdout();
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  // Exactly one match holds the interface and none gave it back; the busy one
  // (wherever the bus lists it) cannot cost the tool the one it holds.
  usb->SendDataToPrinter(kFirmwareQuery.data(), 3);
  EXPECT_THAT(State(), testing::AnyOf("0/0: 1/0:\x1bV\r 0/0: 0/0: 0/0: ", "0/0: 0/0: 0/0: 0/0: 1/0:\x1bV\r "));
  EXPECT_TRUE(testbed.Printer(0).Events().empty());
  // Half a millisecond before each device of the vendor examined.
  EXPECT_EQ(waits.entries.at(0),
            (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, std::chrono::microseconds(500)}));
  // Only the exact empty serial number matches an empty one.
  for (const std::string serial : {"NOSUCH", ""}) {
    auto none = Open(serial);
    EXPECT_EQ(none->GetPrinterHandle(), -1) << serial;
    EXPECT_EQ(none->GetDeviceStatus(), 0xFFFFFFFFu) << serial;
  }
  AddPrinter("");
  EXPECT_EQ(Open("")->GetDeviceStatus(), 1u);
  EXPECT_EQ(testbed.Printer(5).ClaimCount(), 1);

  // A busy device that matches alone: writes report success and send
  // nothing; reads hand over no buffer.
  AddPrinter("VKT0000777", /*busy=*/true);
  CaptureStdout();
  auto busy = Open("VKT0000777");
  EXPECT_EQ(GetCapturedStdout(), "Could not open interface (error: fffffffa)\n");  // BUSY
  EXPECT_EQ(busy->GetPrinterHandle(), 1);                                          // it matched
  EXPECT_EQ(busy->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_EQ(busy->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(busy->SendDataToPrinter(nullptr, 3), -1);
  EXPECT_EQ(Ask(*busy, kFirmwareQuery), "<no buffer>:-1");
  EXPECT_EQ(testbed.Printer(6).ClaimCount() + testbed.Transcript(6).size(), 0u);
}

}  // namespace
