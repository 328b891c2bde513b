// The content rule of the PPD service: an edited PPD may differ from the
// installed one only in the lines the settings tool edits, and only in their
// values. Anything else (an added filter line, a changed keyword, a line
// added or removed) is refused, so the service can never install a PPD that
// makes CUPS run a command of the requester's choosing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

class PpdEditCheck {
 public:
  // nullopt when proposed may replace installed; otherwise the reason, a
  // short text naming the first offending line.
  static std::optional<std::string> FindForbiddenChange(std::string_view installed, std::string_view proposed);
};
