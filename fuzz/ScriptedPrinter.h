// A transport that hands out fuzz bytes as the printer's replies.
#pragma once

#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "FuzzSupport.h"
#include "VKTS3Communication.h"

namespace fuzz {

// The printer's side of a session: every read takes its reply from the
// input. A reply is a two-byte big-endian length and that many bytes; a
// length above kReplyBufferSize is a failed read that hands no buffer over,
// as is every read once the input is used up. Writes are accepted and
// dropped.
class ScriptedPrinter : public VKTS3Communication {
 public:
  explicit ScriptedPrinter(Input& input) : input_(input) {}
  int GetDataFromPrinter(ReplyBuffer* buffer) override {
    if (input_.Empty()) return -1;
    const size_t length = input_.Word() % (kReplyBufferSize + 64);
    if (length > static_cast<size_t>(kReplyBufferSize)) return -1;
    const std::string bytes = input_.Bytes(length);
    auto reply = std::make_unique<char[]>(kReplyBufferSize);
    std::memcpy(reply.get(), bytes.data(), bytes.size());
    *buffer = std::move(reply);
    return static_cast<int>(bytes.size());
  }
  int SendDataToPrinter(const char*, int length) override { return length; }
  void FlushPrinterEndPoint() override {}
  void ClosePrinterHandle() override {}
  int GetPrinterHandle() override { return 1; }
  uint32_t GetDeviceStatus() override { return 1; }
  std::optional<std::string> GetIPAddress() override { return std::nullopt; }

 private:
  Input& input_;
};

}  // namespace fuzz
