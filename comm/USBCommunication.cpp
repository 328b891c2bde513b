// The USB transport on libusb-1.0: the printer is the device of the printer
// family's vendor whose serial-number string matches the queue's, spoken to
// over the bulk IN ("pipe 1") and bulk OUT ("pipe 2") endpoints of its first
// interface.
#include "USBCommunication.h"

#include <libusb.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>

#include "Log.h"
#include "Waits.h"

#ifndef kPrinterUsbVendorId
#error "kPrinterUsbVendorId (the printers' USB vendor id) must be supplied by the build"
#endif

namespace {

constexpr int kSerialBufferSize = 128;
constexpr unsigned int kControlTimeoutMs = 1000;
// The longest a write may wait for the printer to take bytes.
constexpr unsigned int kWriteTimeoutMs = 30000;
// bmRequestType of a standard request to the device with data to the host.
constexpr uint8_t kStandardDeviceToHost = 0x80;
constexpr uint16_t kLanguageUsEnglish = 0x0409;

struct DeviceListDeleter {
  void operator()(libusb_device** list) const { libusb_free_device_list(list, 1); }
};
using DeviceListPtr = std::unique_ptr<libusb_device*, DeviceListDeleter>;

struct ConfigDeleter {
  void operator()(libusb_config_descriptor* config) const { libusb_free_config_descriptor(config); }
};
using ConfigPtr = std::unique_ptr<libusb_config_descriptor, ConfigDeleter>;

std::string Lowercase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// An empty wanted serial number is found nowhere (as with the platform's
// substring search); only an equal, empty serial number matches it.
bool SerialMatches(const std::string& deviceSerial, const std::string& wanted) {
  if (deviceSerial == wanted) return true;
  if (wanted.empty()) return false;
  return Lowercase(deviceSerial).find(Lowercase(wanted)) != std::string::npos;
}

// The platform's error numbers print as unsigned hexadecimal.
unsigned int ErrorCode(int result) { return static_cast<unsigned int>(result); }

// The device node's permissions keep this user out: said in the log with the
// node, so the missing udev rule can be found.
void LogAccessDenied(libusb_device* device, int result) {
  VktLog("Could not open device /dev/bus/usb/%03u/%03u: %s\n", libusb_get_bus_number(device),
         libusb_get_device_address(device), libusb_strerror(static_cast<libusb_error>(result)));
}

}  // namespace

void USBCommunication::ContextDeleter::operator()(libusb_context* context) const { libusb_exit(context); }
void USBCommunication::HandleDeleter::operator()(libusb_device_handle* handle) const { libusb_close(handle); }

uint16_t USBCommunication::VendorId() { return static_cast<uint16_t>(kPrinterUsbVendorId); }

USBCommunication::USBCommunication(const std::string& serialNumber, std::chrono::milliseconds readTimeout)
    : serialNumber_(serialNumber), readTimeout_(readTimeout) {
  GetPrinterHandle();
}

USBCommunication::~USBCommunication() { ClosePrinterHandle(); }

int USBCommunication::GetPrinterHandle() {
  if (!context_) {
    libusb_context* context = nullptr;
    lastResult_ = libusb_init(&context);
    if (lastResult_ != LIBUSB_SUCCESS) {
      std::fprintf(stderr, "IOServiceMatching returned NULL.\n");
      return -1;
    }
    context_.reset(context);
  }

  libusb_device** rawList = nullptr;
  ssize_t count = libusb_get_device_list(context_.get(), &rawList);
  if (count < 0) {
    lastResult_ = static_cast<int>(count);
    return -1;
  }
  DeviceListPtr list(rawList);

  bool found = false;
  accessDenied_ = false;
  for (ssize_t i = 0; i < count; ++i) {
    libusb_device* device = list.get()[i];
    libusb_device_descriptor descriptor{};
    if (libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS) continue;
    if (descriptor.idVendor != VendorId()) continue;  // any product of the vendor

    Waits::Current().Sleep(std::chrono::microseconds(500));
    std::string serial = getUSBDeviceSerialInfo(device);
    if (SerialMatches(serial, serialNumber_)) {
      OpenDevice(device);
      found = true;
      // The first match that opens is kept: a later one (busy, say) must not
      // cost the tool the device it holds.
      if (device_ && interfaceNumber_ >= 0) break;
    }
  }
  return found ? 1 : -1;
}

std::string USBCommunication::getUSBDeviceSerialInfo(libusb_device* device) {
  libusb_device_descriptor descriptor{};
  if (libusb_get_device_descriptor(device, &descriptor) != LIBUSB_SUCCESS) return {};
  if (descriptor.iSerialNumber == 0) return {};

  // The control request needs an open handle; it is only held for the read.
  libusb_device_handle* rawHandle = nullptr;
  lastResult_ = libusb_open(device, &rawHandle);
  if (lastResult_ == LIBUSB_ERROR_ACCESS) {
    LogAccessDenied(device, lastResult_);
    accessDenied_ = true;
  }
  if (lastResult_ != LIBUSB_SUCCESS) return {};
  HandlePtr handle(rawHandle);

  unsigned char buffer[kSerialBufferSize] = {};
  int received = libusb_control_transfer(
      handle.get(), kStandardDeviceToHost, LIBUSB_REQUEST_GET_DESCRIPTOR,
      static_cast<uint16_t>((LIBUSB_DT_STRING << 8) | descriptor.iSerialNumber), kLanguageUsEnglish, buffer,
      kSerialBufferSize, kControlTimeoutMs);
  if (received < 2) {
    lastResult_ = received;
    return {};
  }

  // After the two-byte header come UTF-16LE characters; the serial numbers
  // are ASCII, so the low byte of each is the character.
  int length = std::min<int>({received, buffer[0], kSerialBufferSize});
  std::string serial;
  for (int i = 2; i < length; i += 2) {
    if (buffer[i] == 0) break;
    serial.push_back(static_cast<char>(buffer[i]));
  }
  return serial;
}

void USBCommunication::OpenDevice(libusb_device* device) {
  // Only one device is held at a time: the one opened before gives way.
  ClosePrinterHandle();
  deviceStatus_ = -1;

  libusb_device_handle* rawHandle = nullptr;
  int openResult = libusb_open(device, &rawHandle);
  lastResult_ = openResult;
  HandlePtr handle(rawHandle);
  // Busy means another client holds the device: go on without touching its
  // configuration and let the interface decide. Access denied is this
  // user's rights to the device node, which no later step can change.
  if (openResult == LIBUSB_ERROR_ACCESS) {
    LogAccessDenied(device, openResult);
    accessDenied_ = true;
  }
  bool heldElsewhere = openResult == LIBUSB_ERROR_BUSY;
  if (openResult != LIBUSB_SUCCESS && !heldElsewhere) {
    std::printf("Could not open device (error: %x)\n", ErrorCode(openResult));
    std::fflush(stdout);
    return;
  }

  libusb_config_descriptor* rawConfig = nullptr;
  int configResult = libusb_get_config_descriptor(device, 0, &rawConfig);
  ConfigPtr config(rawConfig);
  if (handle && !heldElsewhere) {
    lastResult_ = configResult;
    if (configResult != LIBUSB_SUCCESS) {
      std::printf("Could not set active configuration (error: %x)\n", ErrorCode(configResult));
      std::fflush(stdout);
      return;
    }
    // Setting the configuration that is already active would reset the
    // device, and fails while the kernel driver holds it; set it only when
    // another one is active.
    int active = 0;
    if (libusb_get_configuration(handle.get(), &active) != LIBUSB_SUCCESS || active != config->bConfigurationValue) {
      lastResult_ = libusb_set_configuration(handle.get(), config->bConfigurationValue);
    }
  }

  // Without a handle (held elsewhere) or without an interface there is
  // nothing to open; report the error that stopped it.
  if (!handle || !config || config->bNumInterfaces == 0 || config->interface[0].num_altsetting == 0) {
    int error = !handle ? openResult : (configResult != LIBUSB_SUCCESS ? configResult : LIBUSB_ERROR_NOT_FOUND);
    std::printf("Could not open interface (error: %x)\n", ErrorCode(error));
    std::fflush(stdout);
    return;
  }

  const libusb_interface_descriptor& interface = config->interface[0].altsetting[0];
  int number = interface.bInterfaceNumber;
  // The kernel's printer driver (usblp) holds printer interfaces; it gets
  // the interface back when the tool closes it.
  bool detached = false;
  if (libusb_kernel_driver_active(handle.get(), number) == 1) {
    detached = libusb_detach_kernel_driver(handle.get(), number) == LIBUSB_SUCCESS;
  }
  lastResult_ = libusb_claim_interface(handle.get(), number);
  if (lastResult_ != LIBUSB_SUCCESS) {
    std::printf("Could not open interface (error: %x)\n", ErrorCode(lastResult_));
    std::fflush(stdout);
    if (detached) libusb_attach_kernel_driver(handle.get(), number);
    return;
  }

  pipeIn_ = 0;
  pipeOut_ = 0;
  for (int i = 0; i < interface.bNumEndpoints; ++i) {
    const libusb_endpoint_descriptor& endpoint = interface.endpoint[i];
    if ((endpoint.bmAttributes & LIBUSB_TRANSFER_TYPE_MASK) != LIBUSB_TRANSFER_TYPE_BULK) continue;
    bool in = (endpoint.bEndpointAddress & LIBUSB_ENDPOINT_DIR_MASK) == LIBUSB_ENDPOINT_IN;
    unsigned char& pipe = in ? pipeIn_ : pipeOut_;
    if (pipe == 0) pipe = endpoint.bEndpointAddress;
  }

  device_ = std::move(handle);
  interfaceNumber_ = number;
  kernelDriverDetached_ = detached;
  deviceStatus_ = 1;
}

int USBCommunication::GetDataFromPrinter(ReplyBuffer* buffer) {
  if (!device_ || interfaceNumber_ < 0 || buffer == nullptr) return -1;
  // The buffer is the caller's from here on, whatever the read gives.
  *buffer = std::make_unique<char[]>(kReplyBufferSize);
  int transferred = 0;
  lastResult_ = libusb_bulk_transfer(device_.get(), pipeIn_, reinterpret_cast<unsigned char*>(buffer->get()),
                                     kReplyBufferSize, &transferred, static_cast<unsigned int>(readTimeout_.count()));
  readSize_ = static_cast<uint32_t>(transferred);
  if (lastResult_ != LIBUSB_SUCCESS) return -1;
  return transferred;
}

int USBCommunication::SendDataToPrinter(const char* data, int length) {
  if (data == nullptr || length < 0) return -1;
  // Without an open interface the write is reported as done although
  // nothing is sent; callers rely on it.
  if (!device_ || interfaceNumber_ < 0) return 1;
  int transferred = 0;
  // libusb needs a writable buffer type; the bytes are only read.
  auto* bytes = reinterpret_cast<unsigned char*>(const_cast<char*>(data));
  // Bounded: a printer that stops taking bytes must not hold the window for good.
  lastResult_ = libusb_bulk_transfer(device_.get(), pipeOut_, bytes, length, &transferred, kWriteTimeoutMs);
  if (lastResult_ != LIBUSB_SUCCESS) {
    VktLog("Write failed (error: %x)\n", ErrorCode(lastResult_));
    return -1;
  }
  return 1;
}

void USBCommunication::FlushPrinterEndPoint() { RunFlushHandshake(); }

void USBCommunication::ClosePrinterHandle() {
  if (!device_) return;
  if (interfaceNumber_ >= 0) {
    libusb_release_interface(device_.get(), interfaceNumber_);
    if (kernelDriverDetached_) libusb_attach_kernel_driver(device_.get(), interfaceNumber_);
  }
  device_.reset();
  interfaceNumber_ = -1;
  kernelDriverDetached_ = false;
  pipeIn_ = 0;
  pipeOut_ = 0;
}

uint32_t USBCommunication::GetDeviceStatus() { return static_cast<uint32_t>(deviceStatus_); }

std::optional<std::string> USBCommunication::GetIPAddress() { return std::nullopt; }

int USBCommunication::USBAttachKernelDriver(int) { return 1; }
