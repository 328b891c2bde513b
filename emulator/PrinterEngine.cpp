// The emulated printer's command language. Every connection frames its own
// bytes (ESC text CR); the reply of the last command is held until the reply
// request ESC "E 2" CR, as the real printer does.
#include "PrinterEngine.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "Log.h"

namespace {

constexpr char kEsc = 0x1b;
constexpr char kCr = 0x0d;
// Longer "commands" are data, not commands.
constexpr size_t kMaxCommandLength = 4096;
// A firmware length beyond this is not a firmware stream.
constexpr unsigned long kMaxFirmwareLength = 64ul * 1024 * 1024;

bool Printable(char c) { return c >= 0x20 && c < 0x7f; }

bool ParseSigned(const std::string& text, int* out) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0' || value < INT_MIN || value > INT_MAX) return false;
  *out = static_cast<int>(value);
  return true;
}

// The write and read codes each track accepts ("&CDEW t X", "&CDER t X").
const char* const kWriteCodes[3][3] = {{"A", "a2", "a3"}, {"b1", "B", "b3"}, {"c1", "c2", "C"}};
const char* const kReadCodes[3][3] = {{"Q", "q2", "q3"}, {"r1", "R", "r3"}, {"s1", "s2", "S"}};

bool CodeValid(const char* const codes[3], const std::string& code) {
  for (int i = 0; i < 3; ++i)
    if (code == codes[i]) return true;
  return false;
}

}  // namespace

PrinterEngine::PrinterEngine(PrinterProfile profile) : state_(std::move(profile)) {}

std::string PrinterEngine::ErrorForm(const char* code) {
  std::string form(1, kNak);
  form += code;
  form += kEot;
  return form;
}

void PrinterEngine::BeginConnection() {
  std::lock_guard lock(mutex_);
  auto it = connections_.find(0);
  if (it != connections_.end()) FinishRaw(0, it->second);
  connections_[0] = Connection{};
}

std::vector<PrinterEngine::Output> PrinterEngine::Feed(std::string_view received) { return Feed(0, received); }

int PrinterEngine::OpenConnection() {
  std::lock_guard lock(mutex_);
  int id = nextConnection_++;
  connections_[id] = Connection{};
  return id;
}

PrinterEngine::Connection& PrinterEngine::ConnectionFor(int id) { return connections_[id]; }

std::vector<PrinterEngine::Output> PrinterEngine::Feed(int connection, std::string_view received) {
  std::lock_guard lock(mutex_);
  std::vector<Output> out;
  Connection& c = ConnectionFor(connection);
  if (c.closing) return out;
  for (char byte : received) {
    transcript_ += byte;
    ++c.received;
    FeedByte(connection, c, byte, &out);
    if (c.closing) return out;
    if (state_.closeAfterBytes > 0 && c.received >= state_.closeAfterBytes &&
        (state_.closeAfterTimes == 0 || closedByFault_ < state_.closeAfterTimes)) {
      ++closedByFault_;
      c.closing = true;
      Log(connection, StringPrintf("closing the connection after %ld bytes", c.received));
      Output close;
      close.closeConnection = true;
      out.push_back(close);
      return out;
    }
  }
  return out;
}

void PrinterEngine::FeedByte(int id, Connection& c, char byte, std::vector<Output>* out) {
  switch (c.framing) {
    case Framing::kIdle:
      if (byte == kEsc) {
        c.framing = Framing::kCommand;
        c.command.clear();
      } else if (byte != '\0') {
        // Not a command: a print job or a PRN file.
        StartRaw(id, c, std::string(1, byte));
      }
      return;

    case Framing::kCommand:
      if (byte == kCr) {
        c.framing = Framing::kIdle;
        c.sawCommand = true;
        Execute(id, c, c.command, out);
        return;
      }
      if (!Printable(byte) || c.command.size() >= kMaxCommandLength) {
        // Binary after ESC: data that happens to begin with ESC.
        StartRaw(id, c, std::string(1, kEsc) + c.command + byte);
        return;
      }
      c.command += byte;
      if (c.command == "DC ") {
        c.framing = Framing::kFirmwareLength;
        c.firmwareHeader.clear();
        c.firmwareBody.clear();
      }
      return;

    case Framing::kFirmwareLength:
      c.firmwareHeader += byte;
      if (c.firmwareHeader.size() == 4) {
        c.firmwareLength = 0;
        for (unsigned char b : c.firmwareHeader) c.firmwareLength = (c.firmwareLength << 8) | b;
        if (c.firmwareLength > kMaxFirmwareLength) {
          Log(id, StringPrintf("firmware length %lu is not believable: taking the stream as data", c.firmwareLength));
          StartRaw(id, c, std::string(1, kEsc) + "DC " + c.firmwareHeader);
          return;
        }
        Log(id, StringPrintf("firmware download of %lu bytes", c.firmwareLength));
        c.firmwareHeader.clear();
        c.framing = c.firmwareLength == 0 ? Framing::kFirmwareTrailer : Framing::kFirmwareBody;
      }
      return;

    case Framing::kFirmwareBody:
      c.firmwareBody += byte;
      if (c.firmwareBody.size() == c.firmwareLength) c.framing = Framing::kFirmwareTrailer;
      return;

    case Framing::kFirmwareTrailer:
      c.firmwareHeader += byte;
      if (c.firmwareHeader.size() == 2) FinishFirmware(id, c, out);
      return;

    case Framing::kRaw:
      c.rawBytes += byte;
      return;
  }
}

void PrinterEngine::StartRaw(int id, Connection& c, std::string first) {
  c.framing = Framing::kRaw;
  c.rawConnection = !c.sawCommand;
  c.rawBytes = std::move(first);
  c.command.clear();
  Log(id, c.rawConnection ? "raw data connection" : "raw data on the command connection");
}

void PrinterEngine::FinishRaw(int id, Connection& c) {
  if (c.framing != Framing::kRaw) return;
  Log(id, StringPrintf("captured %zu bytes of raw data", c.rawBytes.size()));
  AddCapture("raw", id, std::move(c.rawBytes));
  c.rawBytes.clear();
  c.framing = Framing::kIdle;
}

void PrinterEngine::FinishFirmware(int id, Connection& c, std::vector<Output>* out) {
  c.framing = Framing::kIdle;
  if (c.firmwareHeader != std::string("\xff\x0d", 2)) {
    Log(id, "firmware stream without its 0xFF 0x0D trailer: rejected");
    AddCapture("firmware", id, std::move(c.firmwareBody));
    c.firmwareBody.clear();
    c.held = Held::kReply;
    c.heldBytes = ErrorForm(kErrorFirmware);
    c.heldDelayMs = state_.delayMs;
    return;
  }
  AddCapture("firmware", id, std::move(c.firmwareBody));
  c.firmwareBody.clear();
  ++resets_;
  c.closing = true;
  Log(id, StringPrintf("firmware received: resetting, refusing connections for %d ms", state_.resetRefuseMs));
  Output reset;
  reset.closeConnection = true;
  reset.refuseConnectionsMs = state_.resetRefuseMs;
  out->push_back(reset);
}

void PrinterEngine::EndRawData(int connection) {
  std::lock_guard lock(mutex_);
  auto it = connections_.find(connection);
  if (it == connections_.end() || it->second.rawConnection) return;
  FinishRaw(connection, it->second);
}

bool PrinterEngine::InRawData(int connection) const {
  std::lock_guard lock(mutex_);
  auto it = connections_.find(connection);
  return it != connections_.end() && it->second.framing == Framing::kRaw;
}

void PrinterEngine::CloseConnection(int connection) {
  std::lock_guard lock(mutex_);
  auto it = connections_.find(connection);
  if (it == connections_.end()) return;
  FinishRaw(connection, it->second);
  connections_.erase(it);
}

int PrinterEngine::DelayFor(const std::string& text) const {
  for (const auto& [pattern, ms] : state_.commandDelayMs)
    if (CommandMatches(pattern, text)) return ms;
  return state_.delayMs;
}

void PrinterEngine::Execute(int id, Connection& c, const std::string& text, std::vector<Output>* out) {
  commands_.push_back(text);

  bool silent = false;
  for (const auto& pattern : state_.silentCommands)
    if (CommandMatches(pattern, text)) silent = true;
  bool nak = false;
  for (auto& [pattern, times] : state_.nakCommands) {
    if (!CommandMatches(pattern, text)) continue;
    int& done = nakCounts_[pattern];
    if (times == 0 || done < times) {
      ++done;
      nak = true;
    }
  }

  if (text == "E 2") {
    Output reply;
    if (silent) {
      Log(id, "\"E 2\": silent (fault)");
    } else if (nak) {
      reply.bytes = ErrorForm(kErrorInjected);
      reply.delayMs = DelayFor(text);
    } else if (c.held == Held::kReply) {
      reply.bytes = c.heldBytes;
      reply.delayMs = c.heldDelayMs;
    } else if (c.held == Held::kSilence) {
      Log(id, "\"E 2\": nothing to send (the last command was silent)");
    } else {
      auto override = state_.replyOverrides.find("E 2");
      reply.bytes = override != state_.replyOverrides.end() ? override->second : std::string(1, kAck);
      reply.delayMs = DelayFor(text);
    }
    c.held = Held::kNothing;
    c.heldBytes.clear();
    if (!reply.bytes.empty()) {
      Log(id, "\"E 2\" -> " + EncodeEscapes(reply.bytes));
      out->push_back(std::move(reply));
    }
    return;
  }

  if (silent) {
    Log(id, "\"" + EncodeEscapes(text) + "\": silent (fault)");
    c.held = Held::kSilence;
    c.heldBytes.clear();
    return;
  }
  if (nak) {
    Log(id, "\"" + EncodeEscapes(text) + "\": NAK (fault)");
    c.held = Held::kReply;
    c.heldBytes = ErrorForm(kErrorInjected);
    c.heldDelayMs = DelayFor(text);
    return;
  }

  bool immediate = false;
  bool reset = false;
  std::string reply = Reply(text, &immediate, &reset);
  for (const auto& [pattern, bytes] : state_.replyOverrides)
    if (pattern != "E 2" && CommandMatches(pattern, text)) reply = bytes;

  if (reset) {
    ++resets_;
    c.closing = true;
    c.held = Held::kNothing;
    Log(id, StringPrintf("\"R\": resetting, refusing connections for %d ms", state_.resetRefuseMs));
    Output output;
    output.closeConnection = true;
    output.refuseConnectionsMs = state_.resetRefuseMs;
    out->push_back(output);
    return;
  }
  if (immediate) {
    Log(id, "\"" + EncodeEscapes(text) + "\" -> " + EncodeEscapes(reply) + " (at once)");
    c.held = Held::kNothing;
    c.heldBytes.clear();
    Output output;
    output.bytes = reply;
    output.delayMs = DelayFor(text);
    out->push_back(std::move(output));
    return;
  }
  Log(id, "\"" + EncodeEscapes(text) + "\" -> held " + EncodeEscapes(reply));
  // A new command replaces a reply nobody asked for.
  c.held = Held::kReply;
  c.heldBytes = std::move(reply);
  c.heldDelayMs = DelayFor(text);
}

std::string PrinterEngine::Value(const std::string& text) const { return text + state_.replyTerminator; }

std::string PrinterEngine::EncoderSettingsText() const {
  std::string text;
  for (int t = 0; t < 3; ++t) {
    text += StringPrintf("TRACK %d W:%s R:%s D:%d S:%s ", t + 1, state_.trackWrite[t].c_str(),
                         state_.trackRead[t].c_str(), state_.trackDensity[t], state_.trackSentinel[t].c_str());
  }
  text += StringPrintf("L:85 W:%s R:%s CO:%s", state_.encoderWriteSpeed.c_str(), state_.encoderReadSpeed.c_str(),
                       state_.highCoercivity ? "HIGH" : "LOW");
  return text;
}

std::string PrinterEngine::Reply(const std::string& text, bool* immediate, bool* reset) {
  const std::string ack(1, kAck);
  PrinterProfile& s = state_;

  if (text == ".") return ack;
  if (text == "V") return s.firmware + s.firmwareTerminator;
  if (text == "%SERIE") return Value(s.serial);
  if (text == "%HEAD") return Value(s.headNumber);
  if (text == "!NL") return StringPrintf("!%ld %ld", s.panelsPrinted, s.printerErrors) + ack;
  if (text == "!RIBLEN") return Value(StringPrintf("%ld,%ld", s.ribbonRemaining, s.ribbonCapacity));
  if (text == "!RIBBON") return Value(StringPrintf("%d", s.ribbonCode));
  if (text == "!V 15") return Value(s.headResistance);
  if (text == "!V 3") return Value(s.blackContrast);
  if (text == "!V 16") return Value(s.blackSpeed);
  if (text == "!V 4") return Value(s.varnishContrast);
  if (text == "!V 17") return Value(s.varnishSpeed);
  if (CommandMatches("!V", text)) return ErrorForm(kErrorBadParameter);
  if (text == "+EC") return Value(s.edgeCount);
  if (text == "+BR") return Value(s.ribbonBrake);
  if (text == "$V") return Value(s.speedSettings);
  if (text == "+DL") return Value(s.lineEnd);
  if (text == "MO") return ack;
  if (text == "CLEAN" || text == "MCLEAN") {
    // The tool reads right after these without a reply request.
    *immediate = true;
    return ack;
  }
  if (text == "R") {
    *reset = true;
    return "";
  }
  if (text == "ATM 1 1") return Value(StringPrintf("%d", s.feederMode));
  if (text == "ATM 0" || text == "ATM 1" || text == "ATM 2") {
    s.feederMode = text[4] - '0';
    return ack;
  }
  if (CommandMatches("ATM", text)) return ErrorForm(kErrorBadParameter);

  // Offsets: the longest name first, so "+OYB" is not read as "+OY".
  static const char* const kOffsetNames[] = {"+OYB", "+OB", "+OY", "+O"};
  int* const fields[] = {&s.offsetBackY, &s.offsetBackX, &s.offsetFrontY, &s.offsetFrontX};
  for (int i = 0; i < 4; ++i) {
    if (CommandMatches(kOffsetNames[i], text)) {
      std::string argument = text.size() > std::string(kOffsetNames[i]).size()
                                 ? text.substr(std::string(kOffsetNames[i]).size() + 1)
                                 : std::string();
      return OffsetReply(fields[i], argument);
    }
  }

  if (!text.empty() && text[0] == '&') return EncoderReply(text);
  return ErrorForm(kErrorUnknownCommand);
}

std::string PrinterEngine::OffsetReply(int* field, const std::string& argument) {
  if (argument.empty()) return Value(StringPrintf("%d", *field));
  int value = 0;
  if (!ParseSigned(argument, &value)) return ErrorForm(kErrorBadParameter);
  *field = value;
  return std::string(1, kAck);
}

std::string PrinterEngine::EncoderReply(const std::string& text) {
  const std::string ack(1, kAck);
  PrinterProfile& s = state_;
  auto isCommand = [&](const char* name) { return CommandMatches(name, text); };
  bool known = text == "&V" || text == "&E*" || text == "&L1" || text == "&L2" || text == "&L3" || isCommand("&B") ||
               isCommand("&CDEW") || isCommand("&CDER") || isCommand("&D") || isCommand("&W") || isCommand("&C");
  if (!known) return ErrorForm(kErrorUnknownCommand);
  if (!s.hasEncoder) return ErrorForm(kErrorNoEncoder);

  if (text == "&V") return EncoderSettingsText() + ack;
  if (text == "&E*") {
    for (int t = 0; t < 3; ++t) {
      s.cardTrack[t] = s.trackBuffer[t];
      s.trackBuffer[t].clear();
    }
    return ack;
  }
  if (text.size() == 3 && text[1] == 'L') {
    const std::string& track = s.cardTrack[text[2] - '1'];
    return track.empty() ? ErrorForm(kErrorNoTrackData) : Value(track);
  }

  // "NAME t ..." with the track digit as the first parameter.
  size_t blank = text.find(' ');
  if (blank == std::string::npos || blank + 1 >= text.size()) return ErrorForm(kErrorBadParameter);
  std::string name = text.substr(0, blank);
  std::string rest = text.substr(blank + 1);

  if (name == "&W") return rest == "0" ? ack : ErrorForm(kErrorBadParameter);
  if (name == "&C") {
    if (rest != "0" && rest != "1") return ErrorForm(kErrorBadParameter);
    s.highCoercivity = rest == "1";
    return ack;
  }
  int t = rest[0] - '1';
  if (t < 0 || t > 2 || (rest.size() > 1 && rest[1] != ' ')) return ErrorForm(kErrorBadParameter);
  std::string argument = rest.size() > 2 ? rest.substr(2) : std::string();

  if (name == "&B") {
    s.trackBuffer[t] = argument;
    return ack;
  }
  if (name == "&CDEW") {
    if (!CodeValid(kWriteCodes[t], argument)) return ErrorForm(kErrorBadParameter);
    s.trackWrite[t] = argument;
    return ack;
  }
  if (name == "&CDER") {
    if (!CodeValid(kReadCodes[t], argument)) return ErrorForm(kErrorBadParameter);
    s.trackRead[t] = argument;
    return ack;
  }
  if (name == "&D") {
    if (argument != "210" && argument != "75") return ErrorForm(kErrorBadParameter);
    s.trackDensity[t] = std::atoi(argument.c_str());
    return ack;
  }
  return ErrorForm(kErrorUnknownCommand);
}

void PrinterEngine::AddCapture(std::string kind, int id, std::string bytes) {
  Capture capture;
  capture.kind = std::move(kind);
  capture.connection = id;
  capture.bytes = std::move(bytes);
  ++captureSequence_;
  if (!captureDirectory_.empty()) {
    std::string extension = capture.kind == "firmware"                    ? ".bin"
                            : capture.bytes.compare(0, 5, "%PDF-") == 0 ? ".pdf"
                                                                          : ".prn";
    std::filesystem::path path = std::filesystem::path(captureDirectory_) /
                                 StringPrintf("%s-%04d-c%d%s", capture.kind.c_str(), captureSequence_, id,
                                              extension.c_str());
    // Written under a temporary name and renamed, so a watcher never sees half a job.
    std::filesystem::path partial = path;
    partial += ".part";
    std::error_code ignored;
    std::filesystem::create_directories(captureDirectory_, ignored);
    {
      std::ofstream file(partial, std::ios::binary | std::ios::trunc);
      file.write(capture.bytes.data(), static_cast<std::streamsize>(capture.bytes.size()));
    }
    std::error_code renamed;
    std::filesystem::rename(partial, path, renamed);
    if (renamed) {
      VktLog("vkt-emulator: cannot write capture %s: %s", path.c_str(), renamed.message().c_str());
    } else {
      capture.path = path.string();
    }
  }
  captures_.push_back(std::move(capture));
}

void PrinterEngine::Log(int id, const std::string& line) const {
  if (logCommands_) VktLog("vkt-emulator: c%d %s", id, line.c_str());
}

PrinterProfile PrinterEngine::State() const {
  std::lock_guard lock(mutex_);
  return state_;
}

std::string PrinterEngine::Transcript() const {
  std::lock_guard lock(mutex_);
  return transcript_;
}

std::vector<std::string> PrinterEngine::CapturedData() const {
  std::lock_guard lock(mutex_);
  std::vector<std::string> data;
  for (const auto& capture : captures_) data.push_back(capture.bytes);
  return data;
}

std::vector<PrinterEngine::Capture> PrinterEngine::Captures() const {
  std::lock_guard lock(mutex_);
  return captures_;
}

std::vector<std::string> PrinterEngine::Commands() const {
  std::lock_guard lock(mutex_);
  return commands_;
}

int PrinterEngine::ResetCount() const {
  std::lock_guard lock(mutex_);
  return resets_;
}

void PrinterEngine::SetCaptureDirectory(const std::string& directory) {
  std::lock_guard lock(mutex_);
  captureDirectory_ = directory;
}

void PrinterEngine::SetLogCommands(bool on) {
  std::lock_guard lock(mutex_);
  logCommands_ = on;
}
