// Reads the emulator's profile files: "key = value" lines over the defaults
// of PrinterProfile, with C-like escapes so any reply byte can be written.
#include "PrinterProfile.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>

#include "Log.h"

namespace {

std::string Trim(const std::string& text) {
  const char* blanks = " \t\r";
  size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string::npos) return "";
  size_t end = text.find_last_not_of(blanks);
  return text.substr(begin, end - begin + 1);
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool ParseLong(const std::string& text, long* out) {
  if (text.empty()) return false;
  errno = 0;
  char* end = nullptr;
  long value = std::strtol(text.c_str(), &end, 10);
  if (errno != 0 || *end != '\0') return false;
  *out = value;
  return true;
}

bool ParseInt(const std::string& text, int* out) {
  long value = 0;
  if (!ParseLong(text, &value) || value < INT_MIN || value > INT_MAX) return false;
  *out = static_cast<int>(value);
  return true;
}

bool ParseBool(const std::string& text, bool* out) {
  if (text == "yes" || text == "true" || text == "1") {
    *out = true;
    return true;
  }
  if (text == "no" || text == "false" || text == "0") {
    *out = false;
    return true;
  }
  return false;
}

// Applies one "key = value" (key already split). Returns an error text or "".
std::string ApplySetting(const std::string& key, const std::string& rawValue, PrinterProfile* p) {
  std::string value;
  if (!DecodeEscapes(rawValue, &value)) return "bad escape in value";

  // Rules keyed by a command: "reply CMD", "nak CMD", "silent CMD", "delay CMD".
  size_t blank = key.find(' ');
  if (blank != std::string::npos) {
    std::string word = key.substr(0, blank);
    std::string command;
    if (!DecodeEscapes(Trim(key.substr(blank + 1)), &command) || command.empty()) return "bad command in key";
    if (word == "reply") {
      p->replyOverrides[command] = value;
      return "";
    }
    if (word == "nak") {
      int times = 0;
      if (!value.empty() && (!ParseInt(value, &times) || times < 0)) return "nak count must be a number >= 0";
      p->nakCommands[command] = times;
      return "";
    }
    if (word == "silent") {
      bool on = true;
      if (!value.empty() && !ParseBool(value, &on)) return "silent takes yes or no";
      if (on) p->silentCommands.push_back(command);
      return "";
    }
    if (word == "delay") {
      int ms = 0;
      if (!ParseInt(value, &ms) || ms < 0) return "delay must be milliseconds >= 0";
      p->commandDelayMs[command] = ms;
      return "";
    }
    return "unknown rule \"" + word + "\"";
  }

  using Setter = std::function<bool(const std::string&)>;
  auto text = [](std::string* field) -> Setter {
    return [field](const std::string& v) {
      *field = v;
      return true;
    };
  };
  auto integer = [](int* field) -> Setter { return [field](const std::string& v) { return ParseInt(v, field); }; };
  auto number = [](long* field) -> Setter { return [field](const std::string& v) { return ParseLong(v, field); }; };
  auto flag = [](bool* field) -> Setter { return [field](const std::string& v) { return ParseBool(v, field); }; };
  auto density = [](int* field) -> Setter {
    return [field](const std::string& v) { return ParseInt(v, field) && (*field == 210 || *field == 75); };
  };

  const std::map<std::string, Setter> setters = {
      {"model", text(&p->model)},
      {"firmware", text(&p->firmware)},
      {"serial", text(&p->serial)},
      {"head_resistance", text(&p->headResistance)},
      {"panels_printed", number(&p->panelsPrinted)},
      {"printer_errors", number(&p->printerErrors)},
      {"ribbon_code", integer(&p->ribbonCode)},
      {"ribbon_remaining", number(&p->ribbonRemaining)},
      {"ribbon_capacity", number(&p->ribbonCapacity)},
      {"black_contrast", text(&p->blackContrast)},
      {"black_speed", text(&p->blackSpeed)},
      {"varnish_contrast", text(&p->varnishContrast)},
      {"varnish_speed", text(&p->varnishSpeed)},
      {"edge_count", text(&p->edgeCount)},
      {"ribbon_brake", text(&p->ribbonBrake)},
      {"speed_settings", text(&p->speedSettings)},
      {"line_end", text(&p->lineEnd)},
      {"head_number", text(&p->headNumber)},
      {"offset_front_x", integer(&p->offsetFrontX)},
      {"offset_front_y", integer(&p->offsetFrontY)},
      {"offset_back_x", integer(&p->offsetBackX)},
      {"offset_back_y", integer(&p->offsetBackY)},
      {"feeder_mode",
       [p](const std::string& v) { return ParseInt(v, &p->feederMode) && p->feederMode >= 0 && p->feederMode <= 2; }},
      {"encoder", flag(&p->hasEncoder)},
      {"track1_write", text(&p->trackWrite[0])},
      {"track2_write", text(&p->trackWrite[1])},
      {"track3_write", text(&p->trackWrite[2])},
      {"track1_read", text(&p->trackRead[0])},
      {"track2_read", text(&p->trackRead[1])},
      {"track3_read", text(&p->trackRead[2])},
      {"track1_density", density(&p->trackDensity[0])},
      {"track2_density", density(&p->trackDensity[1])},
      {"track3_density", density(&p->trackDensity[2])},
      {"track1_sentinel", text(&p->trackSentinel[0])},
      {"track2_sentinel", text(&p->trackSentinel[1])},
      {"track3_sentinel", text(&p->trackSentinel[2])},
      {"coercivity",
       [p](const std::string& v) {
         if (v != "high" && v != "low") return false;
         p->highCoercivity = v == "high";
         return true;
       }},
      {"encoder_write_speed", text(&p->encoderWriteSpeed)},
      {"encoder_read_speed", text(&p->encoderReadSpeed)},
      {"card_track1", text(&p->cardTrack[0])},
      {"card_track2", text(&p->cardTrack[1])},
      {"card_track3", text(&p->cardTrack[2])},
      {"reply_terminator", text(&p->replyTerminator)},
      {"firmware_terminator", text(&p->firmwareTerminator)},
      {"reset_refuse_ms", [p](const std::string& v) { return ParseInt(v, &p->resetRefuseMs) && p->resetRefuseMs >= 0; }},
      {"raw_idle_ms", [p](const std::string& v) { return ParseInt(v, &p->rawIdleMs) && p->rawIdleMs > 0; }},
      {"delay_ms", [p](const std::string& v) { return ParseInt(v, &p->delayMs) && p->delayMs >= 0; }},
      {"close_after_bytes",
       [p](const std::string& v) { return ParseLong(v, &p->closeAfterBytes) && p->closeAfterBytes >= 0; }},
      {"close_after_times",
       [p](const std::string& v) { return ParseInt(v, &p->closeAfterTimes) && p->closeAfterTimes >= 0; }},
  };
  auto it = setters.find(key);
  if (it == setters.end()) return "unknown key \"" + key + "\"";
  if (!it->second(value)) return "bad value for \"" + key + "\"";
  return "";
}

}  // namespace

bool DecodeEscapes(const std::string& text, std::string* out) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c != '\\') {
      result += c;
      continue;
    }
    if (++i >= text.size()) return false;
    switch (text[i]) {
      case 'r': result += '\r'; break;
      case 'n': result += '\n'; break;
      case 't': result += '\t'; break;
      case 'e': result += '\x1b'; break;
      case '0': result += '\0'; break;
      case '\\': result += '\\'; break;
      case 'x': {
        if (i + 2 >= text.size()) return false;
        int high = HexDigit(text[i + 1]);
        int low = HexDigit(text[i + 2]);
        if (high < 0 || low < 0) return false;
        result += static_cast<char>(high * 16 + low);
        i += 2;
        break;
      }
      default:
        return false;
    }
  }
  *out = std::move(result);
  return true;
}

std::string EncodeEscapes(const std::string& bytes) {
  static const char* hex = "0123456789abcdef";
  std::string out;
  for (unsigned char c : bytes) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c >= 0x20 && c < 0x7f) {
      out += static_cast<char>(c);
    } else {
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

bool CommandMatches(const std::string& pattern, const std::string& command) {
  if (command == pattern) return true;
  return command.size() > pattern.size() && command.compare(0, pattern.size(), pattern) == 0 &&
         command[pattern.size()] == ' ';
}

bool ParsePrinterProfile(const std::string& text, PrinterProfile* out, std::string* error) {
  PrinterProfile profile = *out;
  std::istringstream lines(text);
  std::string line;
  int number = 0;
  while (std::getline(lines, line)) {
    ++number;
    std::string trimmed = Trim(line);
    if (trimmed.empty() || trimmed[0] == '#') continue;
    // The first " = " (or "=") separates key and value, so a value may hold "=".
    size_t equals = trimmed.find('=');
    std::string key = Trim(equals == std::string::npos ? trimmed : trimmed.substr(0, equals));
    std::string value = equals == std::string::npos ? "" : Trim(trimmed.substr(equals + 1));
    bool ruleWithoutValue = equals == std::string::npos &&
                            (key.rfind("silent ", 0) == 0 || key.rfind("nak ", 0) == 0);
    std::string problem = equals == std::string::npos && !ruleWithoutValue ? "expected key = value"
                                                                           : ApplySetting(key, value, &profile);
    if (!problem.empty()) {
      if (error) *error = StringPrintf("line %d: %s", number, problem.c_str());
      return false;
    }
  }
  *out = std::move(profile);
  return true;
}

bool LoadPrinterProfile(const std::string& path, PrinterProfile* out, std::string* error) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    if (error) *error = "cannot open " + path;
    return false;
  }
  std::ostringstream content;
  content << file.rdbuf();
  std::string problem;
  if (!ParsePrinterProfile(content.str(), out, &problem)) {
    if (error) *error = path + ": " + problem;
    return false;
  }
  return true;
}
