// One emulated USB printer behind a umockdev device node: answers the usbdevfs
// ioctls that libusb issues, feeds bulk OUT data to a PrinterEngine and hands
// the engine's replies to bulk IN requests.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "PrinterEngine.h"

typedef struct _UMockdevIoctlBase UMockdevIoctlBase;
typedef struct _UMockdevIoctlClient UMockdevIoctlClient;
typedef struct _UMockdevIoctlData UMockdevIoctlData;

struct UsbPrinterOptions {
  uint16_t vendorId = 0;
  uint16_t productId = 0x0001;
  std::string serial;            // reported in the serial-number string
  bool hasSerialString = true;   // false: iSerialNumber is 0
  bool busy = false;             // another client holds the interface
  bool kernelDriverBound = false;  // usblp holds the interface until detached
  bool stallOut = false;         // the bulk OUT endpoint stalls every transfer
};

class EmulatedUsbPrinter {
 public:
  static constexpr uint8_t kBulkIn = 0x81;   // pipe 1
  static constexpr uint8_t kBulkOut = 0x02;  // pipe 2

  EmulatedUsbPrinter(UsbPrinterOptions options, PrinterProfile profile);
  ~EmulatedUsbPrinter();
  EmulatedUsbPrinter(const EmulatedUsbPrinter&) = delete;
  EmulatedUsbPrinter& operator=(const EmulatedUsbPrinter&) = delete;

  // The sysfs "descriptors" attribute: device, configuration, interface and
  // both endpoint descriptors.
  std::string Descriptors() const;
  // The ioctl handler to attach to the device node (owned by this object).
  UMockdevIoctlBase* Handler() const { return handler_; }

  const UsbPrinterOptions& Options() const { return options_; }
  PrinterEngine& Engine() { return engine_; }
  const PrinterEngine& Engine() const { return engine_; }

  // Every byte received on the bulk OUT endpoint, in order.
  std::string Transcript() const;
  // One entry per bulk OUT transfer.
  std::vector<std::string> OutTransfers() const;
  // What the host did, one word each: "open", "claim 0", "release 0",
  // "setconfig 1", "detach usblp", "attach usblp", "serial", "close".
  std::vector<std::string> Events() const;
  // How often an interface was claimed successfully.
  int ClaimCount() const;

 private:
  struct Urb {
    UMockdevIoctlClient* client;  // not owned; dropped when the client goes
    UMockdevIoctlData* urb;       // owned reference
    UMockdevIoctlData* buffer;    // owned reference (may be null)
    uint8_t endpoint;
    int length;
  };
  struct PendingReply {
    std::string bytes;
    std::chrono::steady_clock::time_point readyAt;
  };

  static int OnIoctl(UMockdevIoctlBase* handler, UMockdevIoctlClient* client, void* self);
  static void OnClientVanished(UMockdevIoctlBase* handler, UMockdevIoctlClient* client, void* self);
  static void OnClientConnected(UMockdevIoctlBase* handler, UMockdevIoctlClient* client, void* self);
  bool HandleIoctl(UMockdevIoctlClient* client);
  void Submit(UMockdevIoctlClient* client);
  void Reap(UMockdevIoctlClient* client);
  void Discard(UMockdevIoctlClient* client);
  void HandleControl(Urb& urb);
  void HandleOut(Urb& urb);
  // Moves ready reply bytes into waiting IN requests (mutex held).
  void ServeInRequests();
  void Complete(Urb& urb, int status, int actualLength);
  void ReleaseUrb(Urb& urb);
  std::string StringDescriptor(int index) const;

  UsbPrinterOptions options_;
  PrinterEngine engine_;
  UMockdevIoctlBase* handler_ = nullptr;

  mutable std::mutex mutex_;
  std::vector<Urb> inFlight_;    // submitted, not complete
  std::deque<Urb> completed_;    // complete, waiting to be reaped
  std::deque<PendingReply> replies_;
  int connection_ = 0;           // engine connection of the claimed interface
  bool claimed_ = false;
  UMockdevIoctlClient* claimOwner_ = nullptr;  // the client holding the interface
  bool driverBound_ = false;
  std::string transcript_;
  std::vector<std::string> outTransfers_;
  std::vector<std::string> events_;
  int claimCount_ = 0;
};
