// The printer session: the queue's device URI, the transport its scheme
// names, and the write/read primitives every command goes through.
#include "DeviceCommunication.h"

#include <cups/cups.h>

#include <cctype>
#include <cstring>
#include <stdexcept>

#include "CupsHandles.h"
#include "EthernetCommunication.h"
#include "Log.h"
#include "PrinterProtocol.h"
#include "USBCommunication.h"
#include "Waits.h"

namespace {
constexpr char kNak = 0x15;
constexpr uint32_t kUsbTransport = 1;
constexpr uint32_t kNetworkTransport = 2;
constexpr auto kResetSettleTime = std::chrono::microseconds(300);
constexpr int kResetRetries = 5;

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }
}  // namespace

DeviceCommunication::DeviceCommunication(const std::string& printerName) : printerName_(printerName) {
  // An empty name leaves the transport null; the lookups below then find
  // nothing and construction ends without a transport.
  std::optional<std::string> uri = GetURIFromPrinterName(printerName_);
  if (!uri) return;
  // Case-sensitive on purpose: a Bonjour queue is not driven over the
  // network, only this printer family's own socket scheme is.
  if (StartsWith(*uri, "dnssd")) return;
  if (StartsWith(*uri, "usb")) {
    std::string serial;
    try {
      serial = GetSerialNumberFromURI(*uri);
    } catch (const std::out_of_range&) {
      // A USB queue without "?serial=..." names no printer: no transport, so
      // start-up says it cannot go on instead of the program ending here.
      VktLog("The device URI %s names no serial number", uri->c_str());
      return;
    }
    auto usb = std::make_unique<USBCommunication>(serial);
    // A printer this user may not open would answer every query with
    // nothing: no transport instead, so start-up says it cannot go on.
    if (usb->AccessDenied() && usb->GetDeviceStatus() != 1) return;
    transport_ = std::move(usb);
    transportKind_ = kUsbTransport;
  } else if (StartsWith(*uri, "vkt3socket")) {
    transport_ = std::make_unique<EthernetCommunication>(*uri);
    transportKind_ = kNetworkTransport;
  } else {
    return;
  }
  if (!transport_) {
    VktLog("Memory allocation error\n");
    return;
  }
  deviceStatus_ = transport_->GetDeviceStatus();
}

DeviceCommunication::DeviceCommunication(const std::string& printerName,
                                         std::unique_ptr<VKTS3Communication> transport, uint32_t transportKind)
    : printerName_(printerName), transport_(std::move(transport)) {
  if (transport_) {
    transportKind_ = transportKind;
    deviceStatus_ = transport_->GetDeviceStatus();
  }
}

DeviceCommunication::~DeviceCommunication() = default;

std::optional<std::string> DeviceCommunication::GetURIFromPrinterName(const std::string& printerName) {
  VktLog("Printer Name is %s", printerName.c_str());
  if (printerName.empty()) return std::nullopt;
  CupsDestList dests;
  cups_dest_t* dest = cupsGetDest(printerName.c_str(), nullptr, dests.count(), dests.get());
  if (!dest) return std::nullopt;
  // An instance never has its device URI read; its text then is that of a
  // missing C string, which matches no scheme.
  const char* uri = dest->instance ? nullptr : cupsGetOption("device-uri", dest->num_options, dest->options);
  return std::string(uri ? uri : "(null)");
}

std::string DeviceCommunication::GetSerialNumberFromURI(const std::string& uri) {
  if (uri.empty()) return {};
  size_t position = uri.find('=');
  if (position == std::string::npos) {
    VktLog("string was not found");
    // USB URIs of these printers always carry "?serial=..."; one without it
    // is a broken queue and must not yield a made-up serial number.
    throw std::out_of_range("no \"=\" in device URI " + uri);
  }
  VktLog("position %lu", static_cast<unsigned long>(position));
  // Linux's usb backend writes usb://Maker/Model?serial=S&interface=N, with
  // %XX escapes in S: the value of "serial=" (else of the first "="), up to
  // the next "&", unescaped.
  const size_t named = uri.find("serial=");
  const size_t start = named != std::string::npos ? named + 7 : position + 1;
  const std::string value = uri.substr(start, uri.find('&', start) - start);
  std::string serial;
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] == '%' && i + 2 < value.size() && std::isxdigit(static_cast<unsigned char>(value[i + 1])) &&
        std::isxdigit(static_cast<unsigned char>(value[i + 2]))) {
      serial += static_cast<char>(std::stoi(value.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      serial += value[i];
    }
  }
  VktLog("Serial number is %s", serial.c_str());
  return serial;
}

std::optional<std::string> DeviceCommunication::GetIPAddressFromURI(const std::string& uri) {
  if (uri.empty()) return std::nullopt;
  std::string text = uri;
  if (text.back() == '/') {
    text.pop_back();
    text += ":9100";
  }
  size_t slash = text.rfind('/');
  if (slash == std::string::npos) {
    VktLog("string was not found");
    throw std::out_of_range("no \"/\" in device URI " + uri);
  }
  std::string host = text.substr(slash + 1);
  VktLog("position %lu", static_cast<unsigned long>(slash));

  // The colon is looked for in the whole URI, so it is normally the one
  // behind the scheme: the cut is at its index, not at the port.
  size_t cut = host.size();
  size_t colon = text.find(':');
  if (colon != std::string::npos) {
    cut = colon;
    VktLog("position %lu", static_cast<unsigned long>(cut));
  } else {
    VktLog("string was not found");
  }
  if (cut > host.size()) throw std::out_of_range("cut point beyond the host part of " + uri);
  std::string address = host.substr(0, cut);
  VktLog("ip address %s", address.c_str());
  return address;
}

bool DeviceCommunication::IsNetworkPrinter() const { return transportKind_ == kNetworkTransport; }

uint32_t DeviceCommunication::GetDeviceStatusInfo() const { return deviceStatus_; }

std::optional<std::string> DeviceCommunication::GetPrinterIPAddress() {
  // Callers ask IsNetworkPrinter() first; without a transport there is no
  // address to give.
  if (!transport_) return std::nullopt;
  return transport_->GetIPAddress();
}

int DeviceCommunication::WriteToPrinter(const char* data, int length) {
  if (!data || length < 0 || !transport_) return -1;
  // The transport's result is deliberately not passed on.
  transport_->SendDataToPrinter(data, length);
  return 0;
}

bool DeviceCommunication::WriteStreamPart(const char* data, int length) {
  return transport_ && data && length >= 0 && transport_->SendStreamPart(data, length);
}

std::optional<std::string> DeviceCommunication::ReadFromPrinter() {
  if (!transport_) return std::nullopt;
  ReplyBuffer reply;
  transport_->GetDataFromPrinter(&reply);
  if (!reply) return std::nullopt;
  // A full 1024-byte reply carries no NUL: bound the text by the buffer.
  std::string text(reply.get(), strnlen(reply.get(), kReplyBufferSize));
  VktLog("Received %s", text.c_str());
  text = TrimString(text);
  if (!text.empty() && text[0] == kNak) {
    VktLog("EmptyString");
    text.clear();
  }
  return text;
}

std::optional<std::string> DeviceCommunication::AskPrinter(const char* command, int length) {
  WriteToPrinter(command, length);
  WriteToPrinter(printer_protocol::kReplyRequest, printer_protocol::kReplyRequestLength);
  return ReadFromPrinter();
}

std::string DeviceCommunication::TrimString(const std::string& text) {
  // Blanks and tabs only: a reply's trailing CR or LF stays.
  size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos) return {};
  size_t last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

void DeviceCommunication::ResetHandle() {
  if (!transport_) return;
  transport_->ClosePrinterHandle();
  Waits::Current().Sleep(kResetSettleTime);
  EnablePrinter(printerName_.c_str());
  transport_->GetPrinterHandle();
  if (transport_->GetDeviceStatus() != 0) return;
  // Only a transport that reports 0 after a failed open gets here; both of
  // ours report a non-zero status even then.
  Waits::Current().Sleep(kResetSettleTime);
  VktLog("Trying to get the device handle\n");
  for (int attempt = 0; attempt < kResetRetries; ++attempt) {
    transport_->ClosePrinterHandle();
    transport_->GetPrinterHandle();
    if (transport_->GetDeviceStatus() != 0) break;
  }
}
