// Character filter of the track and offset fields, with ICU regular expressions.
#include "TrackValidator.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

#include <memory>

std::optional<TrackValidator::TrackRule> TrackValidator::RuleForMode(int modeIndex) {
  switch (modeIndex) {
    case 0:
      return TrackRule{kTrack1FormatLimit, kTrack1FormatPattern};
    case 1:
      return TrackRule{kTrack2FormatLimit, kNumericFormatPattern};
    case 2:
      return TrackRule{kTrack3FormatLimit, kNumericFormatPattern};
    default:
      return std::nullopt;
  }
}

int TrackValidator::AcceptedLength(std::u16string_view text, const char* pattern) {
  if (text.empty()) return 0;
  if (!pattern) return 0;
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::RegexPattern> compiled(
      icu::RegexPattern::compile(icu::UnicodeString::fromUTF8(pattern), 0, status));
  if (U_FAILURE(status) || !compiled) return 0;
  std::unique_ptr<icu::RegexMatcher> matcher(compiled->matcher(status));
  if (U_FAILURE(status) || !matcher) return 0;

  for (size_t i = 0; i < text.size(); ++i) {
    // Only the low byte of the character is judged, read as a Latin-1
    // character: U+0141 passes as "A", U+0100 is judged as NUL and refused.
    const icu::UnicodeString one(static_cast<UChar>(static_cast<unsigned char>(text[i] & 0xFF)));
    matcher->reset(one);
    if (!matcher->find()) return static_cast<int>(i);
  }
  return static_cast<int>(text.size());
}

int TrackValidator::LeadingValue(std::u16string_view text) {
  size_t i = 0;
  while (i < text.size() && (text[i] == u' ' || text[i] == u'\t')) ++i;
  long value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10 + (text[i] - u'0');
    if (value > 1000000) break;  // far beyond any offset; keeps the sum small
  }
  return static_cast<int>(value);
}
