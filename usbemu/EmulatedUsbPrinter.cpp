// The usbdevfs side of an emulated USB printer. The handler runs on
// umockdev's worker thread while tests read transcripts from theirs, so all
// state is guarded by one mutex.
#include "EmulatedUsbPrinter.h"

#include <linux/usbdevice_fs.h>
#include <sys/ioctl.h>
#include <umockdev.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace {

constexpr uint8_t kStringManufacturer = 1;
constexpr uint8_t kStringProduct = 2;
constexpr uint8_t kStringSerial = 3;
constexpr uint8_t kRequestGetDescriptor = 0x06;
constexpr uint8_t kRequestGetConfiguration = 0x08;
constexpr uint8_t kDescriptorDevice = 1;
constexpr uint8_t kDescriptorConfiguration = 2;
constexpr uint8_t kDescriptorString = 3;
constexpr int kSetupSize = 8;

void AppendLe16(std::string* out, uint16_t value) {
  out->push_back(static_cast<char>(value & 0xFF));
  out->push_back(static_cast<char>(value >> 8));
}

std::string Utf16Descriptor(const std::string& text) {
  std::string descriptor;
  descriptor.push_back(static_cast<char>(2 + 2 * text.size()));
  descriptor.push_back(static_cast<char>(kDescriptorString));
  for (char c : text) AppendLe16(&descriptor, static_cast<unsigned char>(c));
  return descriptor;
}

// Resolves the memory a pointer-sized field points to; the result is a new
// reference (null on failure).
UMockdevIoctlData* Resolve(UMockdevIoctlData* data, size_t offset, size_t length) {
  return umockdev_ioctl_data_resolve(data, offset, length, nullptr);
}

}  // namespace

EmulatedUsbPrinter::EmulatedUsbPrinter(UsbPrinterOptions options, PrinterProfile profile)
    : options_(std::move(options)), engine_(std::move(profile)), driverBound_(options_.kernelDriverBound) {
  handler_ = umockdev_ioctl_base_new();
  g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(&EmulatedUsbPrinter::OnIoctl), this);
  g_signal_connect(handler_, "client-connected", G_CALLBACK(&EmulatedUsbPrinter::OnClientConnected), this);
  g_signal_connect(handler_, "client-vanished", G_CALLBACK(&EmulatedUsbPrinter::OnClientVanished), this);
}

EmulatedUsbPrinter::~EmulatedUsbPrinter() {
  g_signal_handlers_disconnect_by_data(handler_, this);
  std::lock_guard<std::mutex> lock(mutex_);
  for (Urb& urb : inFlight_) ReleaseUrb(urb);
  for (Urb& urb : completed_) ReleaseUrb(urb);
  g_object_unref(handler_);
}

std::string EmulatedUsbPrinter::Descriptors() const {
  std::string d;
  // Device descriptor.
  d += {18, kDescriptorDevice};
  AppendLe16(&d, 0x0200);  // USB 2.0
  d += {0, 0, 0, 64};      // class per interface, control packets of 64 bytes
  AppendLe16(&d, options_.vendorId);
  AppendLe16(&d, options_.productId);
  AppendLe16(&d, 0x0100);
  d += {kStringManufacturer, kStringProduct, static_cast<char>(options_.hasSerialString ? kStringSerial : 0), 1};
  // Configuration 1: one printer interface (class 7, bidirectional) with a
  // bulk OUT and a bulk IN endpoint, OUT listed first as many printers do.
  d += {9, kDescriptorConfiguration};
  AppendLe16(&d, 9 + 9 + 7 + 7);
  d += {1, 1, 0, static_cast<char>(0xC0), 50};
  d += {9, 4, 0, 0, 2, 7, 1, 2, 0};
  d += {7, 5, static_cast<char>(kBulkOut), 2};
  AppendLe16(&d, 512);
  d += {0};
  d += {7, 5, static_cast<char>(kBulkIn), 2};
  AppendLe16(&d, 512);
  d += {0};
  return d;
}

std::string EmulatedUsbPrinter::StringDescriptor(int index) const {
  switch (index) {
    case 0: return std::string("\x04\x03\x09\x04", 4);  // US English only
    case kStringManufacturer: return Utf16Descriptor("Orvex");
    case kStringProduct: return Utf16Descriptor(engine_.State().model);
    case kStringSerial: return Utf16Descriptor(options_.serial);
    default: return {};
  }
}

std::string EmulatedUsbPrinter::Transcript() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return transcript_;
}

std::vector<std::string> EmulatedUsbPrinter::OutTransfers() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return outTransfers_;
}

std::vector<std::string> EmulatedUsbPrinter::Events() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return events_;
}

int EmulatedUsbPrinter::ClaimCount() const {
  std::lock_guard<std::mutex> lock(mutex_);
  return claimCount_;
}

int EmulatedUsbPrinter::OnIoctl(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self) {
  return static_cast<EmulatedUsbPrinter*>(self)->HandleIoctl(client) ? TRUE : FALSE;
}

void EmulatedUsbPrinter::OnClientConnected(UMockdevIoctlBase*, UMockdevIoctlClient*, void* self) {
  auto* printer = static_cast<EmulatedUsbPrinter*>(self);
  std::lock_guard<std::mutex> lock(printer->mutex_);
  printer->events_.push_back("open");
}

void EmulatedUsbPrinter::OnClientVanished(UMockdevIoctlBase*, UMockdevIoctlClient* client, void* self) {
  auto* printer = static_cast<EmulatedUsbPrinter*>(self);
  std::lock_guard<std::mutex> lock(printer->mutex_);
  printer->events_.push_back("close");
  auto drop = [&](auto& list) {
    for (auto it = list.begin(); it != list.end();) {
      if (it->client == client) {
        printer->ReleaseUrb(*it);
        it = list.erase(it);
      } else {
        ++it;
      }
    }
  };
  drop(printer->inFlight_);
  drop(printer->completed_);
  if (printer->claimed_ && printer->claimOwner_ == client) {
    printer->engine_.CloseConnection(printer->connection_);
    printer->claimed_ = false;
  }
}

bool EmulatedUsbPrinter::HandleIoctl(UMockdevIoctlClient* client) {
  unsigned long request = umockdev_ioctl_client_get_request(client);
  UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);

  auto finish = [client](long result, int error) { umockdev_ioctl_client_complete(client, result, error); };
  auto readUint = [arg]() -> unsigned int {
    UMockdevIoctlData* value = Resolve(arg, 0, sizeof(unsigned int));
    if (value == nullptr) return ~0u;
    unsigned int number = 0;
    std::memcpy(&number, value->data, sizeof number);
    g_object_unref(value);
    return number;
  };

  switch (request) {
    case USBDEVFS_GET_CAPABILITIES: {
      UMockdevIoctlData* caps = Resolve(arg, 0, sizeof(uint32_t));
      if (caps == nullptr) return finish(-1, EFAULT), true;
      uint32_t value = USBDEVFS_CAP_ZERO_PACKET | USBDEVFS_CAP_NO_PACKET_SIZE_LIM;
      std::memcpy(caps->data, &value, sizeof value);
      g_object_unref(caps);
      finish(0, 0);
      return true;
    }
    case USBDEVFS_SETCONFIGURATION: {
      unsigned int value = readUint();
      std::lock_guard<std::mutex> lock(mutex_);
      if (options_.busy || driverBound_ || claimed_) {
        events_.push_back("setconfig refused");
        finish(-1, EBUSY);
      } else {
        events_.push_back("setconfig " + std::to_string(value));
        finish(0, 0);
      }
      return true;
    }
    case USBDEVFS_CLAIMINTERFACE: {
      unsigned int number = readUint();
      std::lock_guard<std::mutex> lock(mutex_);
      if (number != 0) {
        finish(-1, ENOENT);
      } else if (options_.busy || driverBound_ || (claimed_ && claimOwner_ != client)) {
        events_.push_back("claim refused");
        finish(-1, EBUSY);
      } else {
        if (!claimed_) connection_ = engine_.OpenConnection();
        claimed_ = true;
        claimOwner_ = client;
        ++claimCount_;
        events_.push_back("claim 0");
        finish(0, 0);
      }
      return true;
    }
    case USBDEVFS_RELEASEINTERFACE: {
      unsigned int number = readUint();
      std::lock_guard<std::mutex> lock(mutex_);
      if (claimed_ && claimOwner_ == client && number == 0) {
        engine_.CloseConnection(connection_);
        claimed_ = false;
        events_.push_back("release 0");
        finish(0, 0);
      } else {
        finish(-1, EINVAL);
      }
      return true;
    }
    case USBDEVFS_GETDRIVER: {
      UMockdevIoctlData* data = Resolve(arg, 0, sizeof(usbdevfs_getdriver));
      if (data == nullptr) return finish(-1, EFAULT), true;
      std::lock_guard<std::mutex> lock(mutex_);
      if (driverBound_) {
        auto* driver = reinterpret_cast<usbdevfs_getdriver*>(data->data);
        std::snprintf(driver->driver, sizeof driver->driver, "usblp");
        finish(0, 0);
      } else {
        finish(-1, ENODATA);
      }
      g_object_unref(data);
      return true;
    }
    case USBDEVFS_IOCTL: {
      UMockdevIoctlData* data = Resolve(arg, 0, sizeof(usbdevfs_ioctl));
      if (data == nullptr) return finish(-1, EFAULT), true;
      usbdevfs_ioctl command{};
      std::memcpy(&command, data->data, sizeof command);
      g_object_unref(data);
      std::lock_guard<std::mutex> lock(mutex_);
      if (command.ioctl_code == static_cast<int>(USBDEVFS_DISCONNECT)) {
        if (!driverBound_) return finish(-1, ENODATA), true;
        driverBound_ = false;
        events_.push_back("detach usblp");
        finish(0, 0);
      } else if (command.ioctl_code == static_cast<int>(USBDEVFS_CONNECT)) {
        if (options_.kernelDriverBound && !claimed_) {
          driverBound_ = true;
          events_.push_back("attach usblp");
        }
        finish(0, 0);
      } else {
        finish(-1, ENOTTY);
      }
      return true;
    }
    case USBDEVFS_SETINTERFACE:
    case USBDEVFS_CLEAR_HALT:
    case USBDEVFS_RESETEP:
    case USBDEVFS_RESET:
      finish(0, 0);
      return true;
    case USBDEVFS_SUBMITURB:
      Submit(client);
      return true;
    case USBDEVFS_REAPURB:
    case USBDEVFS_REAPURBNDELAY:
      Reap(client);
      return true;
    case USBDEVFS_DISCARDURB:
      Discard(client);
      return true;
    default:
      finish(-1, ENOTTY);
      return true;
  }
}

void EmulatedUsbPrinter::Submit(UMockdevIoctlClient* client) {
  UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
  UMockdevIoctlData* urbData = Resolve(arg, 0, sizeof(usbdevfs_urb));
  if (urbData == nullptr) {
    umockdev_ioctl_client_complete(client, -1, EFAULT);
    return;
  }
  auto* raw = reinterpret_cast<usbdevfs_urb*>(urbData->data);
  UMockdevIoctlData* buffer = nullptr;
  if (raw->buffer_length > 0) {
    buffer = Resolve(urbData, offsetof(usbdevfs_urb, buffer), static_cast<size_t>(raw->buffer_length));
    if (buffer == nullptr) {
      g_object_unref(urbData);
      umockdev_ioctl_client_complete(client, -1, EFAULT);
      return;
    }
  }
  Urb urb{client, urbData, buffer, raw->endpoint, raw->buffer_length};

  std::lock_guard<std::mutex> lock(mutex_);
  if (raw->type == USBDEVFS_URB_TYPE_CONTROL) {
    HandleControl(urb);
    completed_.push_back(urb);
  } else if (raw->type == USBDEVFS_URB_TYPE_BULK && urb.endpoint == kBulkOut) {
    if (!claimed_ || claimOwner_ != client) {
      ReleaseUrb(urb);
      umockdev_ioctl_client_complete(client, -1, EINVAL);
      return;
    }
    HandleOut(urb);
    completed_.push_back(urb);
  } else if (raw->type == USBDEVFS_URB_TYPE_BULK && urb.endpoint == kBulkIn) {
    if (!claimed_ || claimOwner_ != client) {
      ReleaseUrb(urb);
      umockdev_ioctl_client_complete(client, -1, EINVAL);
      return;
    }
    inFlight_.push_back(urb);
    ServeInRequests();
  } else {
    ReleaseUrb(urb);
    umockdev_ioctl_client_complete(client, -1, EINVAL);
    return;
  }
  umockdev_ioctl_client_complete(client, 0, 0);
}

void EmulatedUsbPrinter::HandleControl(Urb& urb) {
  if (urb.buffer == nullptr || urb.length < kSetupSize) return Complete(urb, -EPIPE, 0);
  const uint8_t* setup = urb.buffer->data;
  uint8_t requestType = setup[0];
  uint8_t request = setup[1];
  uint16_t value = static_cast<uint16_t>(setup[2] | (setup[3] << 8));
  uint16_t wanted = static_cast<uint16_t>(setup[6] | (setup[7] << 8));

  std::string reply;
  bool known = false;
  if (requestType == 0x80 && request == kRequestGetDescriptor) {
    uint8_t type = static_cast<uint8_t>(value >> 8);
    uint8_t index = static_cast<uint8_t>(value & 0xFF);
    if (type == kDescriptorString) {
      reply = StringDescriptor(index);
      known = !reply.empty();
      if (index == kStringSerial) events_.push_back("serial");
    } else if (type == kDescriptorDevice) {
      reply = Descriptors().substr(0, 18);
      known = true;
    } else if (type == kDescriptorConfiguration) {
      reply = Descriptors().substr(18);
      known = true;
    }
  } else if (requestType == 0x80 && request == kRequestGetConfiguration) {
    reply = std::string(1, '\x01');
    known = true;
  }
  if (!known) return Complete(urb, -EPIPE, 0);  // the device stalls unknown requests
  int length = std::min<int>({static_cast<int>(reply.size()), wanted, urb.length - kSetupSize});
  std::memcpy(urb.buffer->data + kSetupSize, reply.data(), static_cast<size_t>(length));
  Complete(urb, 0, length);
}

void EmulatedUsbPrinter::HandleOut(Urb& urb) {
  if (options_.stallOut) return Complete(urb, -EPIPE, 0);
  std::string bytes;
  if (urb.buffer != nullptr) bytes.assign(reinterpret_cast<const char*>(urb.buffer->data), static_cast<size_t>(urb.length));
  transcript_ += bytes;
  outTransfers_.push_back(bytes);
  auto now = std::chrono::steady_clock::now();
  for (PrinterEngine::Output& output : engine_.Feed(connection_, bytes)) {
    if (output.bytes.empty()) continue;
    replies_.push_back({std::move(output.bytes), now + std::chrono::milliseconds(output.delayMs)});
  }
  Complete(urb, 0, urb.length);
  ServeInRequests();
}

void EmulatedUsbPrinter::ServeInRequests() {
  auto now = std::chrono::steady_clock::now();
  while (!replies_.empty() && replies_.front().readyAt <= now) {
    auto waiting = std::find_if(inFlight_.begin(), inFlight_.end(), [](const Urb& u) { return u.endpoint == kBulkIn; });
    if (waiting == inFlight_.end()) return;
    // One IN transfer takes every reply byte that is ready, up to its size,
    // as one read of the network transport would.
    std::string bytes;
    while (!replies_.empty() && replies_.front().readyAt <= now &&
           static_cast<int>(bytes.size()) < waiting->length) {
      PendingReply& front = replies_.front();
      size_t room = static_cast<size_t>(waiting->length) - bytes.size();
      bytes += front.bytes.substr(0, room);
      if (front.bytes.size() > room) {
        front.bytes.erase(0, room);
      } else {
        replies_.pop_front();
      }
    }
    Urb urb = *waiting;
    inFlight_.erase(waiting);
    if (urb.buffer != nullptr) std::memcpy(urb.buffer->data, bytes.data(), bytes.size());
    Complete(urb, 0, static_cast<int>(bytes.size()));
    completed_.push_back(urb);
  }
}

void EmulatedUsbPrinter::Complete(Urb& urb, int status, int actualLength) {
  auto* raw = reinterpret_cast<usbdevfs_urb*>(urb.urb->data);
  raw->status = status;
  raw->actual_length = actualLength;
}

void EmulatedUsbPrinter::Reap(UMockdevIoctlClient* client) {
  std::lock_guard<std::mutex> lock(mutex_);
  ServeInRequests();
  auto done = std::find_if(completed_.begin(), completed_.end(), [client](const Urb& u) { return u.client == client; });
  if (done == completed_.end()) {
    umockdev_ioctl_client_complete(client, -1, EAGAIN);
    return;
  }
  UMockdevIoctlData* target = Resolve(umockdev_ioctl_client_get_arg(client), 0, sizeof(void*));
  if (target == nullptr) {
    umockdev_ioctl_client_complete(client, -1, EFAULT);
    return;
  }
  umockdev_ioctl_data_set_ptr(target, 0, done->urb);
  g_object_unref(target);
  umockdev_ioctl_client_complete(client, 0, 0);
  ReleaseUrb(*done);
  completed_.erase(done);
}

void EmulatedUsbPrinter::Discard(UMockdevIoctlClient* client) {
  UMockdevIoctlData* arg = umockdev_ioctl_client_get_arg(client);
  unsigned long address = 0;
  std::memcpy(&address, arg->data, std::min<size_t>(sizeof address, static_cast<size_t>(arg->data_len)));
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = std::find_if(inFlight_.begin(), inFlight_.end(),
                         [&](const Urb& u) { return u.client == client && u.urb->client_addr == address; });
  if (it == inFlight_.end()) {
    umockdev_ioctl_client_complete(client, -1, EINVAL);
    return;
  }
  Urb urb = *it;
  inFlight_.erase(it);
  Complete(urb, -ENOENT, 0);
  completed_.push_back(urb);
  umockdev_ioctl_client_complete(client, 0, 0);
}

void EmulatedUsbPrinter::ReleaseUrb(Urb& urb) {
  if (urb.buffer != nullptr) g_object_unref(urb.buffer);
  if (urb.urb != nullptr) g_object_unref(urb.urb);
  urb.buffer = nullptr;
  urb.urb = nullptr;
}
