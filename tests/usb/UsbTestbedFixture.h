// Shared set-up of the USB tests: a fresh umockdev testbed per test, and a
// loud failure when the process does not run under umockdev-wrapper (then
// libusb would look at the real machine and prove nothing).
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "PrinterProfile.h"
#include "USBCommunication.h"
#include "UsbPrinterTestbed.h"

class UsbTestbedTest : public testing::Test {
 protected:
  static constexpr std::chrono::milliseconds kShortRead{150};
  const std::string kWanted = "VKT0000123";

  void SetUp() override {
    ASSERT_TRUE(UsbPrinterTestbed::PreloadActive())
        << "LD_PRELOAD does not name libumockdev-preload: run this test under umockdev-wrapper";
    testbed = std::make_unique<UsbPrinterTestbed>();
  }

  static PrinterProfile Profile(const std::string& serial) {
    PrinterProfile profile;
    profile.serial = serial;
    profile.replyTerminator = profile.firmwareTerminator = "\r";
    return profile;
  }
  // A printer of the family's vendor with the given serial number string.
  int AddPrinter(const std::string& serial, bool busy = false) {
    return testbed->AddPrinter(USBCommunication::VendorId(), serial, Profile(serial), busy);
  }
  int AddPrinter(UsbPrinterOptions options) {
    options.vendorId = USBCommunication::VendorId();
    options.serial = kWanted;
    return testbed->AddPrinter(options, Profile(kWanted));
  }
  std::unique_ptr<USBCommunication> Open(const std::string& serial) {
    return std::make_unique<USBCommunication>(serial, kShortRead);
  }

  std::unique_ptr<UsbPrinterTestbed> testbed;
};
