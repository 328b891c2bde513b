// The USB transport against emulated printers: which devices it finds and
// opens, the bytes on the bulk pipes, and its state after faults.
#include <gtest/gtest.h>
#include <gmock/gmock.h>

#include <algorithm>

#include "RecordingWaits.h"
#include "UsbTestbedFixture.h"

namespace {

using testing::ElementsAre;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

const std::string kFirmwareQuery = "\x1bV\r";
const std::string kReplyRequest = "\x1b" "E 2\r";

bool Has(const std::vector<std::string>& events, const std::string& event) {
  return std::find(events.begin(), events.end(), event) != events.end();
}

using UsbQueryTest = UsbTestbedTest;

TEST_F(UsbQueryTest, QueryAndReplyTravelAsExactBytes) {
  int printer = AddPrinter(kWanted);
  PrinterProfile profile = testbed->Printer(printer).Engine().State();
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  // Opening does not drain the printer: nothing was sent yet.
  EXPECT_EQ(testbed->Transcript(printer), "");

  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(usb->SendDataToPrinter(kReplyRequest.data(), 5), 1);
  ReplyBuffer reply;
  int count = usb->GetDataFromPrinter(&reply);
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(Text(reply, count), profile.firmware + "\r");
  // The rest of the 1024-byte buffer is zero.
  EXPECT_TRUE(std::all_of(reply.get() + count, reply.get() + kReplyBufferSize, [](char c) { return c == 0; }));

  // Each write is one bulk OUT transfer holding exactly the given bytes.
  EXPECT_THAT(testbed->Printer(printer).OutTransfers(), ElementsAre(kFirmwareQuery, kReplyRequest));
  EXPECT_EQ(usb->GetIPAddress(), std::nullopt);
  EXPECT_EQ(usb->USBAttachKernelDriver(0), 1);
}

TEST_F(UsbQueryTest, FlushSendsTheDrainCommandsAndStopsOnAck) {
  int printer = AddPrinter(kWanted);
  auto usb = Open(kWanted);
  usb->FlushPrinterEndPoint();
  EXPECT_EQ(testbed->Transcript(printer), "\x1b.\r" + kReplyRequest);
  // The ACK was consumed: the next query gets its own reply.
  usb->SendDataToPrinter("\x1b%SERIE\r", 8);
  usb->SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer reply;
  int count = usb->GetDataFromPrinter(&reply);
  EXPECT_EQ(Text(reply, count), kWanted + "\r");
}

TEST_F(UsbQueryTest, KernelPrinterDriverIsDetachedWhileOpenAndGivenBack) {
  UsbPrinterOptions options;
  options.vendorId = USBCommunication::VendorId();
  options.serial = kWanted;
  options.kernelDriverBound = true;
  int printer = testbed->AddPrinter(options, Profile(kWanted));
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  usb->ClosePrinterHandle();
  EXPECT_THAT(testbed->Printer(printer).Events(),
              ElementsAre("open", "serial", "open", "detach usblp", "claim 0", "release 0", "attach usblp"));
}

TEST_F(UsbQueryTest, LateReplyIsStillRead) {
  PrinterProfile profile = Profile(kWanted);
  profile.delayMs = 40;  // well inside the read time-out below
  int printer = testbed->AddPrinter(USBCommunication::VendorId(), kWanted, profile);
  USBCommunication usb(kWanted, std::chrono::milliseconds(5000));
  usb.SendDataToPrinter("\x1b%SERIE\r", 8);
  usb.SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer reply;
  int count = usb.GetDataFromPrinter(&reply);
  EXPECT_EQ(Text(reply, count), kWanted + "\r");
  EXPECT_EQ(testbed->Transcript(printer), "\x1b%SERIE\r" + kReplyRequest);
}

using UsbMatchingTest = UsbTestbedTest;

TEST_F(UsbMatchingTest, EveryMatchIsOpenedInTurnAndTheLastOneStays) {
  RecordingWaits waits;
  int first = AddPrinter("X" + kWanted + "A");
  int other = AddPrinter("VKT0000999");
  int second = AddPrinter("vkt0000123-b");  // case does not matter
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);

  // Both matches were opened; the one opened earlier (in the bus's
  // enumeration order) gave its interface back, the later one holds it.
  EXPECT_EQ(testbed->Printer(first).ClaimCount(), 1);
  EXPECT_EQ(testbed->Printer(second).ClaimCount(), 1);
  EXPECT_EQ(testbed->Printer(other).ClaimCount(), 0);
  EXPECT_TRUE(Has(testbed->Printer(other).Events(), "serial"));
  bool firstGaveWay = Has(testbed->Printer(first).Events(), "release 0");
  bool secondGaveWay = Has(testbed->Printer(second).Events(), "release 0");
  ASSERT_NE(firstGaveWay, secondGaveWay);
  int earlier = firstGaveWay ? first : second;
  int later = firstGaveWay ? second : first;

  usb->SendDataToPrinter(kFirmwareQuery.data(), 3);
  EXPECT_EQ(testbed->Transcript(earlier), "");
  EXPECT_EQ(testbed->Transcript(later), kFirmwareQuery);

  // Half a millisecond before each device of the vendor is examined.
  ASSERT_EQ(waits.entries.size(), 3u);
  for (const auto& entry : waits.entries) EXPECT_EQ(entry.duration, std::chrono::microseconds(500));
}

TEST_F(UsbMatchingTest, SearchReportsWhetherAnyDeviceMatched) {
  AddPrinter(kWanted);
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetPrinterHandle(), 1);
  auto missing = Open("NOSUCH");
  EXPECT_EQ(missing->GetPrinterHandle(), -1);
  EXPECT_EQ(missing->GetDeviceStatus(), 0xFFFFFFFFu);
}

TEST_F(UsbMatchingTest, EmptyWantedSerialMatchesOnlyAnEmptyOne) {
  int named = AddPrinter(kWanted);
  auto usb = Open("");
  EXPECT_EQ(usb->GetPrinterHandle(), -1);
  EXPECT_EQ(usb->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_EQ(testbed->Printer(named).ClaimCount(), 0);

  int empty = AddPrinter("");
  auto again = Open("");
  EXPECT_EQ(again->GetDeviceStatus(), 1u);
  EXPECT_EQ(testbed->Printer(empty).ClaimCount(), 1);
  EXPECT_EQ(testbed->Printer(named).ClaimCount(), 0);
}

TEST_F(UsbMatchingTest, DeviceOfAnotherVendorIsNeverOpened) {
  uint16_t otherVendor = USBCommunication::VendorId() ^ 0x0F0F;
  int foreign = testbed->AddPrinter(otherVendor, kWanted, Profile(kWanted));
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetPrinterHandle(), -1);
  EXPECT_EQ(usb->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_TRUE(testbed->Printer(foreign).Events().empty());

  int ours = AddPrinter(kWanted);
  auto found = Open(kWanted);
  EXPECT_EQ(found->GetDeviceStatus(), 1u);
  EXPECT_EQ(testbed->Printer(ours).ClaimCount(), 1);
  EXPECT_TRUE(testbed->Printer(foreign).Events().empty());
}

using UsbFaultTest = UsbTestbedTest;

TEST_F(UsbFaultTest, BusyDeviceIsFoundButItsInterfaceStaysClosed) {
  int busy = AddPrinter(kWanted, /*busy=*/true);
  CaptureStdout();
  auto usb = Open(kWanted);
  EXPECT_EQ(GetCapturedStdout(), "Could not open interface (error: fffffffa)\n");  // LIBUSB_ERROR_BUSY
  EXPECT_EQ(usb->GetPrinterHandle(), 1);  // it matched
  EXPECT_EQ(usb->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_FALSE(Has(testbed->Printer(busy).Events(), "claim 0"));

  // Nothing goes to a printer that another client holds.
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(testbed->Transcript(busy), "");
  ReplyBuffer reply;
  EXPECT_EQ(usb->GetDataFromPrinter(&reply), -1);
}

TEST_F(UsbFaultTest, ReadWithoutReplyTimesOutAndHandsTheBufferOver) {
  int printer = AddPrinter(kWanted);
  auto usb = Open(kWanted);
  ReplyBuffer reply;
  EXPECT_EQ(usb->GetDataFromPrinter(&reply), -1);
  ASSERT_NE(reply, nullptr);
  EXPECT_TRUE(std::all_of(reply.get(), reply.get() + kReplyBufferSize, [](char c) { return c == 0; }));

  // The abandoned read leaves the pipe usable.
  usb->SendDataToPrinter("\x1b%SERIE\r", 8);
  usb->SendDataToPrinter(kReplyRequest.data(), 5);
  ReplyBuffer next;
  int count = usb->GetDataFromPrinter(&next);
  EXPECT_EQ(Text(next, count), kWanted + "\r");
  EXPECT_EQ(testbed->Transcript(printer), "\x1b%SERIE\r" + kReplyRequest);
}

TEST_F(UsbFaultTest, WriteWithoutOpenInterfaceReportsSuccessAndSendsNothing) {
  int printer = AddPrinter("VKT0000999");
  auto usb = Open(kWanted);
  EXPECT_EQ(usb->GetDeviceStatus(), 0xFFFFFFFFu);
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(usb->SendDataToPrinter(nullptr, 3), -1);
  EXPECT_EQ(testbed->Transcript(printer), "");
  ReplyBuffer reply;
  EXPECT_EQ(usb->GetDataFromPrinter(&reply), -1);
  EXPECT_EQ(reply, nullptr);  // no interface, no buffer
}

TEST_F(UsbFaultTest, FailedWriteIsLoggedWithTheErrorCode) {
  UsbPrinterOptions options;
  options.vendorId = USBCommunication::VendorId();
  options.serial = kWanted;
  options.stallOut = true;
  testbed->AddPrinter(options, Profile(kWanted));
  auto usb = Open(kWanted);
  ASSERT_EQ(usb->GetDeviceStatus(), 1u);
  CaptureStderr();
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), -1);
  EXPECT_EQ(GetCapturedStderr(), "Write failed (error: fffffff7)\n");  // LIBUSB_ERROR_PIPE
}

TEST_F(UsbFaultTest, CloseTwiceIsHarmlessAndTheTransportCanReopen) {
  int printer = AddPrinter(kWanted);
  auto usb = Open(kWanted);
  usb->ClosePrinterHandle();
  usb->ClosePrinterHandle();
  auto events = testbed->Printer(printer).Events();
  EXPECT_EQ(std::count(events.begin(), events.end(), "release 0"), 1);

  // Closed: writes are swallowed, reads fail.
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(testbed->Transcript(printer), "");
  ReplyBuffer reply;
  EXPECT_EQ(usb->GetDataFromPrinter(&reply), -1);

  // The session's reset reopens the same transport.
  EXPECT_EQ(usb->GetPrinterHandle(), 1);
  EXPECT_EQ(usb->GetDeviceStatus(), 1u);
  EXPECT_EQ(usb->SendDataToPrinter(kFirmwareQuery.data(), 3), 1);
  EXPECT_EQ(testbed->Transcript(printer), kFirmwareQuery);
  EXPECT_EQ(testbed->Printer(printer).ClaimCount(), 2);
}

}  // namespace
