// The rule a free-text PPD value (the printer's address and serial number,
// the job-log separator, file name and static text) must meet: the PPD
// service refuses any other, and the tool checks it before it writes
// anything, so a change is applied whole or not at all.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ppd_text_values {

// Longest value accepted.
constexpr size_t kMaxValueBytes = 255;

// nullopt when `value` may follow "*keyword:"; otherwise the reason, naming
// the keyword.
std::optional<std::string> Problem(std::string_view keyword, std::string_view value);

}  // namespace ppd_text_values
