// The USB transport against emulated printers: which devices it finds and
// opens, the bytes on the bulk pipes, and its state after faults.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>

#include "PrinterProfile.h"
#include "RecordingWaits.h"
#include "USBCommunication.h"
#include "UsbPrinterTestbed.h"

namespace {

// A fresh umockdev testbed per test, and a loud failure when the process does
// not run under umockdev-wrapper (then libusb would look at the real machine).
class UsbTransportTest : public testing::Test {
 protected:
  const std::string kWanted = "VKT0000123";

  void SetUp() override { ASSERT_TRUE(UsbPrinterTestbed::PreloadActive()) << "run this test under umockdev-wrapper"; }
  // A printer of the family's vendor (or `vendorXor` away from it) with the given serial number string.
  int AddPrinter(const std::string& serial, bool busy = false, int vendorXor = 0) {
    PrinterProfile profile;
    profile.serial = serial;
    profile.replyTerminator = profile.firmwareTerminator = "\r";
    return testbed.AddPrinter(USBCommunication::VendorId() ^ vendorXor, serial, profile, busy);
  }
  int AddPrinter(UsbPrinterOptions options) {
    PrinterProfile profile;
    profile.serial = options.serial = kWanted;
    options.vendorId = USBCommunication::VendorId();
    return testbed.AddPrinter(options, profile);
  }
  std::unique_ptr<USBCommunication> Open(const std::string& serial) {
    return std::make_unique<USBCommunication>(serial, std::chrono::milliseconds(150));
  }

  UsbPrinterTestbed testbed;
};

using testing::ElementsAre;

const std::string kFirmwareQuery = "\x1bV\r";
const std::string kReplyRequest = "\033E 2\r";
const std::string kSerialQuery = "\x1b%SERIE\r";

bool Has(const std::vector<std::string>& events, const std::string& event) {
  return std::find(events.begin(), events.end(), event) != events.end();
}

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

TEST_F(UsbTransportTest, QueriesAndTheDrainTravelAsExactBytes) {
  int printer = AddPrinter(kWanted);
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  EXPECT_EQ(testbed.Transcript(printer), "");  // opening does not drain
  EXPECT_EQ(Ask(*usb, kFirmwareQuery), testbed.Printer(printer).Engine().State().firmware + "\r");
  // Each write is one bulk OUT transfer holding exactly the given bytes.
  EXPECT_THAT(testbed.Printer(printer).OutTransfers(), ElementsAre(kFirmwareQuery, kReplyRequest));
  usb->FlushPrinterEndPoint();  // ends on the ACK, which it consumes
  EXPECT_EQ(Ask(*usb, kSerialQuery), kWanted + "\r");
  EXPECT_EQ(testbed.Transcript(printer).substr(8), "\x1b.\r" + kReplyRequest + kSerialQuery + kReplyRequest);
  EXPECT_EQ(usb->GetIPAddress(), std::nullopt);
  EXPECT_EQ(usb->USBAttachKernelDriver(0), 1);
}

TEST_F(UsbTransportTest, KernelPrinterDriverIsDetachedWhileOpenAndGivenBack) {
  UsbPrinterOptions options;
  options.kernelDriverBound = true;
  int printer = AddPrinter(options);
  Open(kWanted)->ClosePrinterHandle();
  EXPECT_THAT(testbed.Printer(printer).Events(),
              ElementsAre("open", "serial", "open", "detach usblp", "claim 0", "release 0", "attach usblp"));
}

TEST_F(UsbTransportTest, TheFirstMatchThatOpensIsKeptAndNoLaterOneCanTakeItsPlace) {
  RecordingWaits waits;
  int first = AddPrinter("X" + kWanted + "A");
  int other = AddPrinter("VKT0000999");
  int busy = AddPrinter(kWanted, /*busy=*/true);
  int second = AddPrinter("vkt0000123-b");  // case does not matter
  testing::internal::CaptureStdout();
  auto usb = Open(kWanted);
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  // Exactly one match holds the interface and none gave it back; the busy one
  // (wherever the bus lists it) cannot cost the tool the one it holds.
  EXPECT_EQ(testbed.Printer(first).ClaimCount() + testbed.Printer(second).ClaimCount(), 1);
  EXPECT_FALSE(Has(testbed.Printer(first).Events(), "release 0"));
  EXPECT_FALSE(Has(testbed.Printer(second).Events(), "release 0"));
  EXPECT_FALSE(Has(testbed.Printer(busy).Events(), "claim 0"));
  EXPECT_EQ(testbed.Printer(other).ClaimCount(), 0);
  usb->SendDataToPrinter(kFirmwareQuery.data(), 3);
  const bool firstHeld = testbed.Printer(first).ClaimCount() == 1;
  EXPECT_EQ(testbed.Transcript(firstHeld ? first : second), kFirmwareQuery);
  EXPECT_EQ(testbed.Transcript(firstHeld ? second : first), "");
  // Half a millisecond before each device of the vendor examined.
  EXPECT_FALSE(waits.entries.empty());
  EXPECT_EQ(waits.entries.front(),
            (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, std::chrono::microseconds(500)}));
}

TEST_F(UsbTransportTest, OnlyOurVendorAndTheExactEmptySerialMatch) {
  int foreign = AddPrinter(kWanted, false, 0x0F0F);
  int named = AddPrinter(kWanted);
  for (const std::string serial : {"NOSUCH", ""}) {
    auto usb = Open(serial);
    EXPECT_EQ(usb->GetPrinterHandle(), -1) << serial;
    EXPECT_EQ(usb->GetDeviceStatus(), 0xFFFFFFFFu) << serial;
  }
  int empty = AddPrinter("");
  EXPECT_EQ(Open("")->GetDeviceStatus(), 1u);
  EXPECT_EQ(Open(kWanted)->GetDeviceStatus(), 1u);
  EXPECT_EQ(testbed.Printer(empty).ClaimCount(), 1);
  EXPECT_EQ(testbed.Printer(named).ClaimCount(), 1);
  EXPECT_TRUE(testbed.Printer(foreign).Events().empty());
}

TEST_F(UsbTransportTest, BusyOrUnopenedDeviceGetsNothingAndReadsFail) {
  int busy = AddPrinter(kWanted, /*busy=*/true);
  testing::internal::CaptureStdout();
  auto usb = Open(kWanted);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Could not open interface (error: fffffffa)\n");  // BUSY
  EXPECT_EQ(usb->GetPrinterHandle(), 1);                                                              // it matched
  EXPECT_EQ(usb->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_FALSE(Has(testbed.Printer(busy).Events(), "claim 0"));
  // Writes report success and send nothing; reads hand over no buffer.
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(usb->SendDataToPrinter(nullptr, 3), -1);
  EXPECT_EQ(Ask(*usb, kFirmwareQuery), "<no buffer>:-1");
  EXPECT_EQ(testbed.Transcript(busy), "");
}

TEST_F(UsbTransportTest, FailedWriteIsLoggedWithTheErrorCode) {
  UsbPrinterOptions options;
  options.stallOut = true;
  AddPrinter(options);
  auto usb = Open(kWanted);
  ASSERT_EQ(usb->GetDeviceStatus(), 1u);
  testing::internal::CaptureStderr();
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Write failed (error: fffffff7)\n");  // LIBUSB_ERROR_PIPE
}

TEST_F(UsbTransportTest, UnansweredReadAndCloseTwiceAreHarmlessAndTheTransportCanReopen) {
  int printer = AddPrinter(kWanted);
  auto usb = Open(kWanted);
  ReplyBuffer reply;
  EXPECT_EQ(usb->GetDataFromPrinter(&reply), -1);  // timed out: the buffer is handed over, zeroed
  ASSERT_NE(reply, nullptr);
  EXPECT_TRUE(std::all_of(reply.get(), reply.get() + kReplyBufferSize, [](char c) { return c == 0; }));
  EXPECT_EQ(Ask(*usb, kSerialQuery), kWanted + "\r");  // the abandoned read left the pipe usable
  usb->ClosePrinterHandle();
  usb->ClosePrinterHandle();
  auto events = testbed.Printer(printer).Events();
  EXPECT_EQ(std::count(events.begin(), events.end(), "release 0"), 1);
  // Closed: writes are swallowed, reads fail.
  EXPECT_EQ(Ask(*usb, kFirmwareQuery), "<no buffer>:-1");
  EXPECT_EQ(testbed.Transcript(printer), kSerialQuery + kReplyRequest);
  // The session's reset reopens the same transport.
  EXPECT_EQ(usb->GetPrinterHandle(), 1);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  usb->SendDataToPrinter(kFirmwareQuery.data(), 3);
  EXPECT_EQ(testbed.Transcript(printer), kSerialQuery + kReplyRequest + kFirmwareQuery);
  EXPECT_EQ(testbed.Printer(printer).ClaimCount(), 2);
}

}  // namespace
