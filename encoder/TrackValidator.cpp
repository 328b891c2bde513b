// Character filter of the track and offset fields, with ICU regular
// expressions, and the limits of each track format.
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
    // Each character on its own must be the whole match: a line break is
    // refused like any other character outside the set (an anchored search
    // would take "$" before a final line break), and so is a character
    // beyond Latin-1, which the stripe could only hold as "?".
    if (text[i] > 0xFF) return static_cast<int>(i);
    matcher->reset(icu::UnicodeString(static_cast<UChar>(text[i])));
    if (!matcher->matches(status) || U_FAILURE(status)) return static_cast<int>(i);
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

std::u16string TrackValidator::FromUtf8(const std::string& text) {
  const icu::UnicodeString unicode = icu::UnicodeString::fromUTF8(text);
  return std::u16string(unicode.getBuffer(), static_cast<size_t>(unicode.length()));
}

void TrackValidator::Alert(const std::string& header, const char* message, Prompter::Level level) {
  context_.prompter.Show(header, message, {"OK"}, level, context_.icon);
}

std::u16string TrackValidator::validateTrack(Field field, std::u16string text, const char* pattern) {
  const size_t accepted = static_cast<size_t>(AcceptedLength(text, pattern));
  if (accepted >= text.size()) return text;
  // Everything from the first refused character on goes, so a pasted text
  // stops there.
  text.resize(accepted);
  if (!IsOffset(field)) Alert(context_.printerName, kInvalidCharacter, Prompter::Level::kStop);
  return text;
}

std::u16string TrackValidator::SetValidationToTrack(Field field, std::u16string text, const std::array<int, 3>& modes) {
  if (IsOffset(field)) {
    text = validateTrack(field, std::move(text), kOffsetPattern);
    if (text.size() > static_cast<size_t>(kOffsetMaximumLength)) {
      Alert(kOffsetHeader, kOffsetTooLong, Prompter::Level::kNote);
      text.clear();
    }
    if (LeadingValue(text) > kOffsetMaximum) {
      Alert(kOffsetHeader, kOffsetTooLarge, Prompter::Level::kNote);
      text.clear();
    }
    return text;
  }
  const int track = static_cast<int>(field);
  int limit = 0;
  const char* pattern = nullptr;
  for (int t = 0; t <= track; ++t) {
    if (auto rule = RuleForMode(modes[static_cast<size_t>(t)])) {
      limit = rule->limit;
      pattern = rule->pattern;
    }
  }
  text = validateTrack(field, std::move(text), pattern);
  if (text.size() > static_cast<size_t>(limit)) {
    Alert(context_.printerName, kTooLongForTrack, Prompter::Level::kNote);
    text.resize(static_cast<size_t>(limit));
  }
  return text;
}
