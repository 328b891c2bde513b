// vkt-bench-firmware MODE TARGET [REPETITIONS]: times the firmware-version
// query round trip (ESC "V" CR, ESC "E 2" CR, one reply).
//   session QUEUE    DeviceCommunication::GetFirmwareVersion on QUEUE (TCP or USB)
//   tcp QUEUE        a plain socket (TCP_NODELAY, as libcups connects) to QUEUE's emulator, same bytes
//   tcp-nagle QUEUE  the same without TCP_NODELAY
//   usb SERIAL       plain libusb bulk transfers to the printer SERIAL, same bytes
// Run the USB forms under vkt-usb-printer, which attaches the emulated printer.
#include <libusb-1.0/libusb.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "BenchSamples.h"
#include "DeviceCommunication.h"
#include "PlainPrinterSocket.h"
#include "QueueDeviceUri.h"

namespace {

const std::string kQuery = "\x1bV\r";
const std::string kReplyRequest = "\x1b" "E 2\r";

struct DeviceListFree {
  void operator()(libusb_device** list) const { libusb_free_device_list(list, 1); }
};

// Bulk endpoints of interface 0 of the first printer with this vendor id and serial.
class PlainUsbPrinter {
 public:
  ~PlainUsbPrinter() {
    if (handle_) {
      libusb_release_interface(handle_, 0);
      libusb_close(handle_);
    }
    if (context_) libusb_exit(context_);
  }
  bool Open(uint16_t vendorId, const std::string& serial) {
    if (libusb_init(&context_) != 0) return false;
    libusb_device** rawList = nullptr;
    ssize_t count = libusb_get_device_list(context_, &rawList);
    std::unique_ptr<libusb_device*, DeviceListFree> owner(rawList);
    libusb_device** list = rawList;
    for (ssize_t i = 0; i < count && !handle_; ++i) {
      libusb_device_descriptor descriptor{};
      if (libusb_get_device_descriptor(list[i], &descriptor) != 0 || descriptor.idVendor != vendorId) continue;
      libusb_device_handle* handle = nullptr;
      if (libusb_open(list[i], &handle) != 0) continue;
      unsigned char text[256] = {};
      int length = libusb_get_string_descriptor_ascii(handle, descriptor.iSerialNumber, text, sizeof text);
      if (length > 0 && serial == reinterpret_cast<char*>(text) && FindEndpoints(list[i]) &&
          libusb_claim_interface(handle, 0) == 0) {
        handle_ = handle;
      } else {
        libusb_close(handle);
      }
    }
    return handle_ != nullptr;
  }
  bool Write(const std::string& bytes) {
    int done = 0;
    return libusb_bulk_transfer(handle_, out_, reinterpret_cast<unsigned char*>(const_cast<char*>(bytes.data())),
                                static_cast<int>(bytes.size()), &done, 0) == 0;
  }
  std::string Read() {
    unsigned char buffer[1024];
    int done = 0;
    if (libusb_bulk_transfer(handle_, in_, buffer, sizeof buffer, &done, 6000) != 0) return {};
    return std::string(reinterpret_cast<char*>(buffer), static_cast<size_t>(done));
  }

 private:
  bool FindEndpoints(libusb_device* device) {
    libusb_config_descriptor* config = nullptr;
    if (libusb_get_config_descriptor(device, 0, &config) != 0) return false;
    const libusb_interface_descriptor& interface = config->interface[0].altsetting[0];
    for (int i = 0; i < interface.bNumEndpoints; ++i) {
      const libusb_endpoint_descriptor& endpoint = interface.endpoint[i];
      if ((endpoint.bmAttributes & 3) != LIBUSB_TRANSFER_TYPE_BULK) continue;
      if (endpoint.bEndpointAddress & LIBUSB_ENDPOINT_IN) {
        in_ = endpoint.bEndpointAddress;
      } else {
        out_ = endpoint.bEndpointAddress;
      }
    }
    libusb_free_config_descriptor(config);
    return in_ != 0 && out_ != 0;
  }
  libusb_context* context_ = nullptr;
  libusb_device_handle* handle_ = nullptr;
  unsigned char in_ = 0, out_ = 0;
};

int Measure(int repetitions, const std::function<std::string()>& roundTrip) {
  std::string first = roundTrip();  // warm-up, and the text for the report
  if (first.empty()) {
    std::fprintf(stderr, "the printer did not answer the firmware query\n");
    return 1;
  }
  BenchSamples samples;
  for (int i = 0; i < repetitions; ++i) {
    auto start = BenchSamples::Clock::now();
    std::string reply = roundTrip();
    samples.Add(start, BenchSamples::Clock::now());
    if (reply.empty()) return 1;
  }
  while (!first.empty() && (first.back() == '\r' || first.back() == '\n')) first.pop_back();
  samples.Note("reply", first);
  samples.Print();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: vkt-bench-firmware session|tcp|tcp-nagle|usb QUEUE|SERIAL [REPETITIONS]\n");
    return 2;
  }
  const std::string mode = argv[1];
  const int repetitions = argc > 3 ? std::atoi(argv[3]) : 200;
  if (mode == "session") {
    DeviceCommunication session(argv[2]);
    if (!session.Transport()) {
      std::fprintf(stderr, "no transport for %s\n", argv[2]);
      return 1;
    }
    return Measure(repetitions, [&] { return session.GetFirmwareVersion(); });
  }
  if (mode == "tcp" || mode == "tcp-nagle") {
    std::string host;
    int port = 0;
    PlainPrinterSocket printer;
    const bool noDelay = mode == "tcp";
    if (!PlainPrinterSocket::SplitDeviceUri(QueueDeviceUri(argv[2]), &host, &port) ||
        !printer.Connect(host, port, noDelay)) {
      std::fprintf(stderr, "cannot reach the printer of %s\n", argv[2]);
      return 1;
    }
    return Measure(repetitions, [&] {
      printer.WriteAll(kQuery);
      printer.WriteAll(kReplyRequest);
      return printer.ReadReply();
    });
  }
  if (mode == "usb") {
    PlainUsbPrinter printer;
    if (!printer.Open(static_cast<uint16_t>(kPrinterUsbVendorId), argv[2])) {
      std::fprintf(stderr, "no USB printer with serial %s\n", argv[2]);
      return 1;
    }
    return Measure(repetitions, [&] {
      printer.Write(kQuery);
      printer.Write(kReplyRequest);
      return printer.Read();
    });
  }
  std::fprintf(stderr, "unknown mode %s\n", mode.c_str());
  return 2;
}
