// Reply clean-up of the card reads.
#include "ReplyCleanup.h"

namespace {
constexpr char kNak = 0x15;
constexpr char kEot = 0x04;
}  // namespace

void ClearErrorInBuffer(std::string& reply) {
  if (reply.empty()) return;
  if (reply.size() >= 4 && reply[0] == kNak && reply[3] == kEot) {
    reply.clear();
    return;
  }
  reply.pop_back();
}
