// The emulated printer's command language: framing, held replies, state,
// firmware stream, raw-data capture and fault injection. Transport-free and
// thread-safe; EmulatorServer puts it on TCP.
#pragma once

#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "PrinterProfile.h"

class PrinterEngine {
 public:
  struct Output {
    std::string bytes;             // to send back (may be empty)
    int delayMs = 0;               // send after this delay
    bool closeConnection = false;  // drop the connection after sending
    int refuseConnectionsMs = 0;   // reset: refuse new connections this long
  };

  // Data that was not a command: a print job, a PRN file, a firmware body.
  struct Capture {
    std::string kind;   // "raw" or "firmware"
    int connection = 0;
    std::string bytes;
    std::string path;   // file in the capture directory; empty when none is set
  };

  static constexpr char kAck = 0x06;
  static constexpr char kNak = 0x15;
  static constexpr char kEot = 0x04;
  // Error codes of the error form NAK, two characters, EOT.
  static constexpr const char* kErrorUnknownCommand = "01";
  static constexpr const char* kErrorBadParameter = "02";
  static constexpr const char* kErrorNoTrackData = "03";
  static constexpr const char* kErrorNoEncoder = "04";
  static constexpr const char* kErrorFirmware = "05";
  static constexpr const char* kErrorInjected = "09";

  explicit PrinterEngine(PrinterProfile profile);
  PrinterEngine(const PrinterEngine&) = delete;
  PrinterEngine& operator=(const PrinterEngine&) = delete;

  // The single-connection interface (connection id 0): a fresh framing
  // state, then bytes as they arrive, split anywhere.
  void BeginConnection();
  std::vector<Output> Feed(std::string_view received);

  // Several connections at once, each with its own framing and held reply.
  int OpenConnection();
  std::vector<Output> Feed(int connection, std::string_view received);
  // The line was quiet: raw data in progress on a command connection is
  // complete and the connection takes commands again.
  void EndRawData(int connection);
  // True while the connection is inside raw data.
  bool InRawData(int connection) const;
  // Finishes any capture in progress and forgets the connection.
  void CloseConnection(int connection);

  PrinterProfile State() const;                   // current state (offsets set, feeder, card...)
  std::string Transcript() const;                 // every byte fed, all connections, in order
  std::vector<std::string> CapturedData() const;  // raw data / print jobs / firmware bodies
  std::vector<Capture> Captures() const;
  // Command texts (without ESC and CR) in the order they were executed.
  std::vector<std::string> Commands() const;
  // How many resets ("R" or a firmware download) happened.
  int ResetCount() const;

  // Captures are also written as files into `directory` (created if needed).
  void SetCaptureDirectory(const std::string& directory);
  // One line per command to standard error (the program turns it on).
  void SetLogCommands(bool on);

  // The error form: NAK, the two-character code, EOT.
  static std::string ErrorForm(const char* code);

 private:
  enum class Framing { kIdle, kCommand, kFirmwareLength, kFirmwareBody, kFirmwareTrailer, kRaw };
  enum class Held { kNothing, kReply, kSilence };

  struct Connection {
    Framing framing = Framing::kIdle;
    bool sawCommand = false;     // a command arrived: raw data ends when the line goes quiet
    bool rawConnection = false;  // raw from the first byte: raw until the connection ends
    std::string command;         // text after ESC so far
    std::string rawBytes;        // raw data in progress
    std::string firmwareHeader;  // length bytes, then trailer bytes
    std::string firmwareBody;
    unsigned long firmwareLength = 0;
    Held held = Held::kNothing;
    std::string heldBytes;
    int heldDelayMs = 0;
    long received = 0;
    bool closing = false;        // dropped by a fault or a reset: ignore further bytes
  };

  Connection& ConnectionFor(int id);
  void FeedByte(int id, Connection& c, char byte, std::vector<Output>* out);
  void StartRaw(int id, Connection& c, std::string first);
  void FinishRaw(int id, Connection& c);
  void FinishFirmware(int id, Connection& c, std::vector<Output>* out);
  void Execute(int id, Connection& c, const std::string& text, std::vector<Output>* out);
  // The command's reply as the printer forms it; changes the state. Sets
  // `immediate` for a reply sent at once instead of held, `reset` for "R".
  std::string Reply(const std::string& text, bool* immediate, bool* reset);
  std::string EncoderReply(const std::string& text);
  std::string OffsetReply(int* field, const std::string& argument);
  std::string Value(const std::string& text) const;
  std::string EncoderSettingsText() const;
  int DelayFor(const std::string& text) const;
  void AddCapture(std::string kind, int id, std::string bytes);
  void Log(int id, const std::string& line) const;

  mutable std::mutex mutex_;
  PrinterProfile state_;
  std::map<int, Connection> connections_;
  int nextConnection_ = 1;
  std::string transcript_;
  std::vector<Capture> captures_;
  std::vector<std::string> commands_;
  std::map<std::string, int> nakCounts_;
  int closedByFault_ = 0;
  int resets_ = 0;
  int captureSequence_ = 0;
  std::string captureDirectory_;
  bool logCommands_ = false;
};
