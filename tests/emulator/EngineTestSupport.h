// Small helpers shared by the engine tests.
#pragma once

#include <string>
#include <vector>

#include "PrinterEngine.h"
#include "TestClient.h"

// Every reply byte of a Feed, in order.
inline std::string Bytes(const std::vector<PrinterEngine::Output>& outputs) {
  std::string bytes;
  for (const auto& output : outputs) bytes += output.bytes;
  return bytes;
}

// Sends ESC text CR, then the reply request, on the default connection and
// returns what came back.
inline std::string Ask(PrinterEngine& engine, const std::string& text) {
  return Bytes(engine.Feed(Framed(text) + kReplyRequest));
}

inline const std::string kAck(1, '\x06');
inline std::string Error(const char* code) { return PrinterEngine::ErrorForm(code); }
