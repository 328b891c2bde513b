// The drain handshake both transports share: it clears replies that a
// previous session left waiting in the printer.
#include "VKTS3Communication.h"

#include <cstring>

#include "Log.h"
#include "PrinterProtocol.h"

namespace {
constexpr char kAck = 0x06;
constexpr char kNak = 0x15;
constexpr char kResetCommand[] = "\x1b.\r";       // 3 bytes
using printer_protocol::kReplyRequest;
using printer_protocol::kReplyRequestLength;

char FirstByte(const ReplyBuffer& buffer) { return buffer ? buffer[0] : '\0'; }
}  // namespace

void VKTS3Communication::RunFlushHandshake() {
  SendDataToPrinter(kResetCommand, 3);
  SendDataToPrinter(kReplyRequest, kReplyRequestLength);
  ReplyBuffer reply;
  int count = GetDataFromPrinter(&reply);
  if (count >= 0 && FirstByte(reply) == kAck) return;

  // The printer keeps answering NAK while it still holds stale replies. A
  // printer that answers NAK to everything would keep the window here for
  // good: after kMaxFlushRounds rounds the session goes on with what it has.
  int rounds = 1;
  do {
    if (++rounds > kMaxFlushRounds) {
      VktLog("The printer still answers NAK after %d rounds; going on\n", kMaxFlushRounds);
      return;
    }
    SendDataToPrinter(kResetCommand, 3);
    SendDataToPrinter(kReplyRequest, kReplyRequestLength);
    reply.reset();
    count = GetDataFromPrinter(&reply);
    if (count == -1) return;
    if (FirstByte(reply) != kNak) return;
    std::memset(reply.get(), 0, kReplyBufferSize);
  } while (count > 0);
}
