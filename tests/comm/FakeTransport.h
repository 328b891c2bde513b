// A scripted transport for session tests: hands out prepared replies and
// records every write and every connect/close call.
#pragma once

#include <cstring>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "VKTS3Communication.h"

class FakeTransport : public VKTS3Communication {
 public:
  struct Reply {
    std::optional<std::string> bytes;  // nullopt: no buffer handed over
    int count = 0;                     // what the read returns
  };
  static Reply Bytes(const std::string& b) { return {b, static_cast<int>(b.size())}; }

  std::deque<Reply> replies;        // an empty script means "no reply"
  std::vector<std::string> writes;  // every SendDataToPrinter, in order
  uint32_t status = 7;
  int closes = 0, opens = 0;

  int GetDataFromPrinter(ReplyBuffer* buffer) override {
    if (replies.empty()) return -1;
    Reply reply = replies.front();
    replies.pop_front();
    if (reply.bytes) {
      *buffer = std::make_unique<char[]>(kReplyBufferSize);
      std::memcpy(buffer->get(), reply.bytes->data(), std::min<size_t>(reply.bytes->size(), kReplyBufferSize));
    }
    return reply.count;
  }
  int SendDataToPrinter(const char* data, int length) override {
    writes.emplace_back(data, static_cast<size_t>(length));
    return length;
  }
  void FlushPrinterEndPoint() override { RunFlushHandshake(); }
  void ClosePrinterHandle() override { ++closes; }
  int GetPrinterHandle() override { return ++opens, 1; }
  uint32_t GetDeviceStatus() override { return status; }
  std::optional<std::string> GetIPAddress() override { return std::nullopt; }
};
