// The free-text value rule shared by the PPD service and the tool.
#include "PpdTextValues.h"

namespace ppd_text_values {

std::optional<std::string> Problem(std::string_view keyword, std::string_view value) {
  if (value.size() > kMaxValueBytes) return "the value of " + std::string(keyword) + " is longer than 255 bytes";
  for (unsigned char c : value) {
    // A quote would end the value early; a control byte would start a line of its own.
    if (c < 0x20 || c == 0x7F || c == '"')
      return "the value of " + std::string(keyword) + " holds a quote or a control character";
  }
  return std::nullopt;
}

}  // namespace ppd_text_values
