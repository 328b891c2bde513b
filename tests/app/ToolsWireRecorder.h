// A transport that passes everything to a real one and records each write as
// it went out, so tests can check the block boundaries on the wire.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "VKTS3Communication.h"

class ToolsWireRecorder : public VKTS3Communication {
 public:
  explicit ToolsWireRecorder(std::unique_ptr<VKTS3Communication> inner) : inner_(std::move(inner)) {}

  int GetDataFromPrinter(ReplyBuffer* buffer) override { return inner_->GetDataFromPrinter(buffer); }
  int SendDataToPrinter(const char* data, int length) override;
  void FlushPrinterEndPoint() override { inner_->FlushPrinterEndPoint(); }
  void ClosePrinterHandle() override { inner_->ClosePrinterHandle(); }
  int GetPrinterHandle() override;
  uint32_t GetDeviceStatus() override { return inner_->GetDeviceStatus(); }
  std::optional<std::string> GetIPAddress() override { return inner_->GetIPAddress(); }

  // Every write since the last Clear(), one entry per call.
  std::vector<std::string> writes;
  // Connections opened (start-up's is not counted: it happens before the recorder exists).
  int handlesOpened = 0;
  // Called before each write is passed on.
  std::function<void(const std::string&)> onWrite;

  void Clear() { writes.clear(); }

 private:
  std::unique_ptr<VKTS3Communication> inner_;
};
