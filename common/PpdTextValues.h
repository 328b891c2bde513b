// The rules a free-text PPD value (the printer's address and serial number,
// the job-log separator, file name and static text) must meet. The PPD
// service refuses any other value, because the driver acts on them: it
// writes its job log to the file name in its log folder. The job-log window
// keeps what is typed within the same rules, and the tool checks a value
// before it writes anything, so a change is applied whole or not at all.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace ppd_text_values {

// Longest value accepted for any keyword.
constexpr size_t kMaxValueBytes = 255;

// nullopt when `value` may follow "*keyword:"; otherwise the reason, naming
// the keyword. An empty separator, file name, static text or serial number is
// allowed (the job-log window clears them when logging is off).
std::optional<std::string> Problem(std::string_view keyword, std::string_view value);

// What a field of the job-log window keeps of the text typed into it: the
// characters the rule of `keyword` allows, cut to its length in characters
// (a cut never splits a UTF-8 sequence).
std::string Typed(std::string_view keyword, std::string_view text);

}  // namespace ppd_text_values
