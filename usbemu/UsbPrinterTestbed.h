// A umockdev testbed holding emulated USB printers: while it lives, libusb in
// this process (run under umockdev-wrapper) sees exactly these devices.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "EmulatedUsbPrinter.h"
#include "PrinterProfile.h"

typedef struct _UMockdevTestbed UMockdevTestbed;

class UsbPrinterTestbed {
 public:
  UsbPrinterTestbed();
  ~UsbPrinterTestbed();
  UsbPrinterTestbed(const UsbPrinterTestbed&) = delete;
  UsbPrinterTestbed& operator=(const UsbPrinterTestbed&) = delete;

  // True when libumockdev-preload is loaded into this process; without it
  // libusb would see the real /sys and /dev and the testbed is not used.
  static bool PreloadActive();

  // Adds a printer on bus 1 and returns its index (0, 1, ...). A busy
  // printer's interface is held by another client.
  int AddPrinter(uint16_t vendorId, const std::string& serial, PrinterProfile profile, bool busy = false);
  int AddPrinter(UsbPrinterOptions options, PrinterProfile profile);

  EmulatedUsbPrinter& Printer(int index) { return *printers_.at(static_cast<size_t>(index)); }
  int PrinterCount() const { return static_cast<int>(printers_.size()); }
  // Bytes the printer received on its bulk OUT endpoint.
  std::string Transcript(int index) const;
  // Raw data and firmware bodies the printer's engine captured.
  std::vector<std::string> CapturedData(int index) const;
  // Makes the printer's device node one this user may not open (mode 0000,
  // as a node without a udev rule for the seat is to the person there),
  // while the testbed stays open to every user.
  void DenyAccess(int index);
  // The device node, e.g. /dev/bus/usb/001/002.
  std::string DeviceNode(int index) const { return devNodes_.at(static_cast<size_t>(index)); }

 private:
  UMockdevTestbed* testbed_ = nullptr;
  std::vector<std::unique_ptr<EmulatedUsbPrinter>> printers_;
  std::vector<std::string> devNodes_;
  std::vector<std::string> sysPaths_;
};
