// The smallest TCP client a user could write for the printer's raw port: it
// connects, writes bytes as given and reads one reply. The baselines of the
// benchmarks use it so they measure the protocol, not our session code.
#pragma once

#include <chrono>
#include <string>

class PlainPrinterSocket {
 public:
  PlainPrinterSocket() = default;
  ~PlainPrinterSocket();
  PlainPrinterSocket(const PlainPrinterSocket&) = delete;
  PlainPrinterSocket& operator=(const PlainPrinterSocket&) = delete;

  // Host and port from a "vkt3socket://host:port/..." device URI.
  static bool SplitDeviceUri(const std::string& uri, std::string* host, int* port);

  // `noDelay` turns Nagle's algorithm off (TCP_NODELAY), as libcups'
  // httpAddrConnect does for the tool: without it a query written as two
  // small sends waits for the printer's delayed ACK (about 40 ms) each time.
  bool Connect(const std::string& host, int port, bool noDelay = true);
  // Writes every byte (looping over short writes); false on an error.
  bool WriteAll(const char* data, size_t length);
  bool WriteAll(const std::string& bytes) { return WriteAll(bytes.data(), bytes.size()); }
  // One read of at most 1024 bytes, waiting at most `wait`; empty on none.
  std::string ReadReply(std::chrono::milliseconds wait = std::chrono::seconds(5));
  void Close();

 private:
  int fd_ = -1;
};
