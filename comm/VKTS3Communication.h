// The transport interface: the one way the session reaches a printer,
// whatever the wire (USB bulk pipes or a TCP socket).
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

// A reply as one transport read hands it over: always kReplyBufferSize bytes
// allocated and zero-filled before the read. A reply of exactly
// kReplyBufferSize bytes has no terminating NUL, so readers must bound it.
using ReplyBuffer = std::unique_ptr<char[]>;
inline constexpr int kReplyBufferSize = 1024;

class VKTS3Communication {
 public:
  virtual ~VKTS3Communication() = default;

  // One read. On success hands a new reply buffer to the caller through
  // `buffer` and returns the byte count; -1 on failure (the USB transport
  // hands the buffer over even then).
  virtual int GetDataFromPrinter(ReplyBuffer* buffer) = 0;

  // One write of the given bytes; negative on failure.
  virtual int SendDataToPrinter(const char* data, int length) = 0;

  // One part of a stream the printer must take whole and on one connection
  // (a firmware image): true only when every byte went out. Unlike
  // SendDataToPrinter it never connects again after a dropped connection.
  virtual bool SendStreamPart(const char* data, int length) { return SendDataToPrinter(data, length) >= 0; }

  // Drains stale replies with the ESC "." CR / ESC "E 2" CR handshake.
  virtual void FlushPrinterEndPoint() = 0;

  // Closes the connection; harmless when closed.
  virtual void ClosePrinterHandle() = 0;

  // Finds the printer and opens the connection: 1 on success, -1 on failure.
  virtual int GetPrinterHandle() = 0;

  // Transport-defined status, 0 only when no usable connection exists.
  virtual uint32_t GetDeviceStatus() = 0;

  // The printer's network address; nullopt for USB.
  virtual std::optional<std::string> GetIPAddress() = 0;

  // Rounds of the flush handshake at most (one read wait each).
  static constexpr int kMaxFlushRounds = 100;

 protected:
  // The flush handshake shared by both transports: send ESC "." CR and
  // ESC "E 2" CR, read one reply; done on ACK, otherwise repeat while the
  // printer answers NAK (no upper bound on the rounds).
  void RunFlushHandshake();
};
