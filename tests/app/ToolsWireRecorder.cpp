// Recording transport of the tools tests.
#include "ToolsWireRecorder.h"

int ToolsWireRecorder::SendDataToPrinter(const char* data, int length) {
  std::string bytes(data, static_cast<size_t>(length));
  if (onWrite) onWrite(bytes);
  writes.push_back(std::move(bytes));
  return inner_->SendDataToPrinter(data, length);
}

int ToolsWireRecorder::GetPrinterHandle() {
  ++handlesOpened;
  return inner_->GetPrinterHandle();
}
