// The free-text value rules shared by the PPD service and the tool.
#include "PpdTextValues.h"

#include <arpa/inet.h>

namespace ppd_text_values {
namespace {

bool Ascii(unsigned char c, std::string_view extra) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         extra.find(static_cast<char>(c)) != std::string_view::npos;
}

// Per keyword: the longest value in characters and the bytes a value may
// hold (a byte of 0x80 or above belongs to a UTF-8 character).
struct Rule {
  std::string_view keyword;
  size_t maxCharacters;
  bool (*allowed)(unsigned char);
  const char* refusal;  // after "the value of <keyword> "
};

constexpr Rule kRules[] = {
    {"FileName", 32, [](unsigned char c) { return Ascii(c, "._-"); },
     "is not a plain file name of at most 32 letters, digits, '.', '_' or '-'"},
    {"Separator", 1, [](unsigned char c) { return c >= 0x20 && c < 0x7F; }, "is not one printable character"},
    {"StaticText", 16, [](unsigned char c) { return c >= 0x20 && c != 0x7F; }, "is longer than 16 characters"},
    {"PrinterSerialNo", kMaxValueBytes, [](unsigned char c) { return Ascii(c, "-"); },
     "holds more than letters, digits and '-'"},
};

const Rule* RuleOf(std::string_view keyword) {
  for (const Rule& rule : kRules)
    if (rule.keyword == keyword) return &rule;
  return nullptr;
}

bool Continuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// A dotted IPv4 address, or a host name: labels of letters, digits and '-'
// (not at either end), 1 to 63 characters each, 253 in all.
bool AddressOrHostName(std::string_view value) {
  in_addr address{};
  if (::inet_pton(AF_INET, std::string(value).c_str(), &address) == 1) return true;
  if (value.empty() || value.size() > 253) return false;
  size_t start = 0;
  while (start <= value.size()) {
    size_t end = value.find('.', start);
    if (end == std::string_view::npos) end = value.size();
    const std::string_view label = value.substr(start, end - start);
    if (label.empty() || label.size() > 63 || label.front() == '-' || label.back() == '-') return false;
    for (unsigned char c : label)
      if (!Ascii(c, "-")) return false;
    start = end + 1;
  }
  return true;
}

}  // namespace

std::optional<std::string> Problem(std::string_view keyword, std::string_view value) {
  const std::string prefix = "the value of " + std::string(keyword) + " ";
  if (value.size() > kMaxValueBytes) return prefix + "is longer than 255 bytes";
  for (unsigned char c : value) {
    // A quote would end the value early; a control byte would start a line of its own.
    if (c < 0x20 || c == 0x7F || c == '"') return prefix + "holds a quote or a control character";
  }
  if (keyword == "PrinterIPAddress" && !AddressOrHostName(value)) return prefix + "is not an IPv4 address or host name";
  const Rule* rule = RuleOf(keyword);
  if (!rule) return std::nullopt;
  size_t characters = 0;
  for (unsigned char c : value) {
    if (!rule->allowed(c)) return prefix + rule->refusal;
    if (!Continuation(c)) ++characters;
  }
  // "." and ".." name folders, not a log file.
  if (characters > rule->maxCharacters || (keyword == "FileName" && (value == "." || value == "..")))
    return prefix + rule->refusal;
  return std::nullopt;
}

std::string Typed(std::string_view keyword, std::string_view text) {
  const Rule* rule = RuleOf(keyword);
  if (!rule) return std::string(text);
  std::string kept;
  size_t characters = 0;
  for (size_t i = 0; i < text.size();) {
    size_t end = i + 1;
    while (end < text.size() && Continuation(static_cast<unsigned char>(text[end]))) ++end;
    const std::string_view character = text.substr(i, end - i);
    i = end;
    bool allowed = true;
    for (unsigned char c : character) allowed = allowed && c != '"' && rule->allowed(c);
    if (!allowed) continue;
    if (characters == rule->maxCharacters) break;
    kept += character;
    ++characters;
  }
  return kept;
}

}  // namespace ppd_text_values
