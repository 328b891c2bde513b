// The USB transport: finds the printer among the attached devices of the
// printer family's vendor by its serial number and talks over its bulk pipes.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "VKTS3Communication.h"

struct libusb_context;
struct libusb_device;
struct libusb_device_handle;

class USBCommunication : public VKTS3Communication {
 public:
  // Keeps the serial number and opens the printer at once; unlike the
  // network transport it does not flush after connecting.
  explicit USBCommunication(const std::string& serialNumber,
                            std::chrono::milliseconds readTimeout = std::chrono::milliseconds(6000));
  ~USBCommunication() override;
  USBCommunication(const USBCommunication&) = delete;
  USBCommunication& operator=(const USBCommunication&) = delete;

  int GetDataFromPrinter(ReplyBuffer* buffer) override;
  int SendDataToPrinter(const char* data, int length) override;
  // Unlike a single write, a stream part without an open interface is lost.
  bool SendStreamPart(const char* data, int length) override {
    return device_ && interfaceNumber_ >= 0 && SendDataToPrinter(data, length) >= 0;
  }
  void FlushPrinterEndPoint() override;
  void ClosePrinterHandle() override;
  int GetPrinterHandle() override;
  // 1 after a successful open, 0xFFFFFFFF (-1) otherwise.
  uint32_t GetDeviceStatus() override;
  std::optional<std::string> GetIPAddress() override;

  // Kept for callers of the original interface: does nothing, returns 1.
  int USBAttachKernelDriver(int);

  const std::string& SerialNumber() const { return serialNumber_; }
  // True when the last search found a device of the printer family that this
  // user may not open (no udev rule gives the seat access to it): nothing
  // can be said to or heard from the printer.
  bool AccessDenied() const { return accessDenied_; }
  // The USB vendor id of the printer family this build looks for.
  static uint16_t VendorId();

 private:
  struct ContextDeleter {
    void operator()(libusb_context* context) const;
  };
  struct HandleDeleter {
    void operator()(libusb_device_handle* handle) const;
  };
  using ContextPtr = std::unique_ptr<libusb_context, ContextDeleter>;
  using HandlePtr = std::unique_ptr<libusb_device_handle, HandleDeleter>;

  // The serial-number string of a device, or "" when it cannot be read.
  std::string getUSBDeviceSerialInfo(libusb_device* device);
  // Opens one matching device and its first interface; sets the status.
  void OpenDevice(libusb_device* device);

  std::string serialNumber_;
  std::chrono::milliseconds readTimeout_;
  int32_t deviceStatus_ = -1;  // -1 until an interface opens, 1 after, -1 after a failed open
  int lastResult_ = 0;         // result of the last libusb call
  bool accessDenied_ = false;
  ContextPtr context_;         // this transport's own libusb session
  HandlePtr device_;           // the opened device (declared after the context: closed first)
  int interfaceNumber_ = -1;  // claimed interface, -1 when none is open
  bool kernelDriverDetached_ = false;
  unsigned char pipeIn_ = 0;   // pipe 1: bulk IN endpoint address
  unsigned char pipeOut_ = 0;  // pipe 2: bulk OUT endpoint address
  uint32_t readSize_ = 0;      // bytes of the last read
};
