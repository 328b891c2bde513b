// The printer's command set as the session sends it: status queries with
// their result words ("NA", "", "None", "N/A"), the magnetic write and the
// single-feed setting.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "DeviceCommunication.h"
#include "Log.h"
#include "PrinterProtocol.h"

namespace {
constexpr char kAck = 0x06;
constexpr char kNak = 0x15;
constexpr char kEot = 0x04;
using printer_protocol::kReplyRequest;
using printer_protocol::kReplyRequestLength;

const char kNoTransport[] = "NA";
const char kNakReply[] = "None";
const char kCodeOutOfRange[] = "N/A";

// The reply as a C string, never past the buffer (a full reply has no NUL).
std::string ReplyText(const ReplyBuffer& reply) {
  return std::string(reply.get(), strnlen(reply.get(), kReplyBufferSize));
}

bool BeginsWithNak(const std::string& text) { return !text.empty() && text[0] == kNak; }

// Sends a query and its reply request straight through the transport and
// reads one reply; null when no buffer came back.
ReplyBuffer RunQuery(VKTS3Communication* transport, const char* command, int length) {
  transport->SendDataToPrinter(command, length);
  transport->SendDataToPrinter(kReplyRequest, kReplyRequestLength);
  ReplyBuffer reply;
  transport->GetDataFromPrinter(&reply);
  return reply;
}
}  // namespace

std::string DeviceCommunication::GetFirmwareVersion() {
  if (!transport_) return kNoTransport;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1bV\r", 3);
  if (!reply) return {};
  std::string text = TrimString(ReplyText(reply));
  VktLog("Firmware Version is %s", text.c_str());
  return text;
}

std::string DeviceCommunication::GetHeadResistance() {
  if (!transport_) return kNoTransport;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b!V 15\r", 7);
  if (!reply) return {};
  std::string text = TrimString(ReplyText(reply));
  if (BeginsWithNak(text)) text = kNakReply;
  VktLog("Head Resistance is %s", text.c_str());
  return text;
}

std::string DeviceCommunication::GetPanelsPrinted() {
  if (!transport_) return kNoTransport;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b!NL\r", 5);
  if (!reply) return {};
  size_t length = strnlen(reply.get(), kReplyBufferSize);
  // A counter reply ends in ACK: "!1234 ..." becomes "1234". Anything else is
  // shown as it came.
  if (length > 0 && reply[length - 1] == kAck) {
    std::string text(reply.get(), length);
    size_t blank = text.find(' ');
    if (blank != std::string::npos) text.resize(blank);
    const char* digits = text.c_str();
    if (*digits == '!') ++digits;
    long count = std::strtol(digits, nullptr, 10);
    std::memset(reply.get(), 0, kReplyBufferSize);
    std::snprintf(reply.get(), kReplyBufferSize, "%ld", count);
  }
  std::string text = TrimString(ReplyText(reply));
  if (BeginsWithNak(text)) text = kNakReply;
  VktLog("Panels Printed is %s", text.c_str());
  return text;
}

std::string DeviceCommunication::GetRemainingCount() {
  if (!transport_) return kNoTransport;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b!RIBLEN\r", 9);
  if (!reply) return {};
  std::string text = ReplyText(reply);  // not trimmed
  if (BeginsWithNak(text) || (!text.empty() && text.back() == kEot)) return kNakReply;
  // Only the first of the comma-separated fields is the remaining count.
  std::string count = text.substr(0, text.find(','));
  VktLog("Remaining Count is %s", count.c_str());
  return count;
}

std::optional<std::string> DeviceCommunication::GetRibbonType() {
  if (!transport_) return std::string(kNoTransport);
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b!RIBBON\r", 9);
  if (!reply) return std::string();
  int code = std::atoi(ReplyText(reply).c_str());
  reply.reset();
  // 10087 lies beyond the bound already; the extra test is kept as it was.
  if (code < 0 || code > 72 || code == 10087) return std::string(kCodeOutOfRange);
  return GetRibbonName(code);
}

std::string DeviceCommunication::GetSerialNumber() {
  if (!transport_) return kNoTransport;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b%SERIE\r", 8);
  if (!reply) return {};
  std::string text = TrimString(ReplyText(reply));
  VktLog("Serial number is %s", text.c_str());
  return text;
}

std::string DeviceCommunication::GetMagAdvancedSettings() {
  if (!transport_) return kNoTransport;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b&V\r", 4);
  // No reply gives the empty text: it can never be taken for settings.
  std::string text = reply ? TrimString(ReplyText(reply)) : std::string();
  if (BeginsWithNak(text)) text = kNakReply;
  VktLog("Buffer contains %s", text.c_str());
  return text;
}

int DeviceCommunication::GetFeederStatus() {
  if (!transport_) return 0;
  ReplyBuffer reply = RunQuery(transport_.get(), "\x1b" "ATM 1 1\r", 9);
  int status = reply ? std::atoi(ReplyText(reply).c_str()) : 0;
  VktLog("Feeder Status  is %d", status);
  return status;
}

int DeviceCommunication::MagWriteBtnClicked(const char* track1, const char* track2, const char* track3) {
  // The track texts arrive validated; a missing one is sent as empty.
  std::string command = StringPrintf("\x1b&B 1 %s\r\x1b&B 2 %s\r\x1b&B 3 %s\r\x1b&E*\r", track1 ? track1 : "",
                                     track2 ? track2 : "", track3 ? track3 : "");
  return WriteToPrinter(command.data(), static_cast<int>(command.size()));
}

void DeviceCommunication::SetSingleFeedOptions(int mode) {
  const char* command = nullptr;
  switch (mode) {
    case 0:
      command = "\x1b" "ATM 0\r";
      break;
    case 1:
      command = "\x1b" "ATM 1\r";
      break;
    case 2:
      command = "\x1b" "ATM 2\r";
      break;
    default:
      return;
  }
  WriteToPrinter(command, 7);
  WriteToPrinter(kReplyRequest, kReplyRequestLength);
  ReadFromPrinter();  // the printer's answer carries nothing to use
}
