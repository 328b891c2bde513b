// The character and length rules of the magnetic-track and print-offset
// fields: ICU patterns applied to one character at a time.
#pragma once

#include <optional>
#include <string_view>

class TrackValidator {
 public:
  // The encoder's patterns. They are matched against one-character strings
  // only, so each acts as a character set (ICU reads a bracket inside a set
  // as a nested set: the offset pattern lets digits, "|" and "?" through).
  static constexpr char kTrack1FormatPattern[] = "^[( $'()./^)*$+(A-Z0-9)]*$";
  static constexpr char kNumericFormatPattern[] = "^[=0-9]*$";
  static constexpr char kOffsetPattern[] = "^[3[01]|[0-2]?[0-9]]*$";

  static constexpr int kTrack1FormatLimit = 76;
  static constexpr int kTrack2FormatLimit = 37;
  static constexpr int kTrack3FormatLimit = 104;

  // Highest value the four print-offset fields take, and their length.
  static constexpr int kOffsetMaximum = 31;
  static constexpr int kOffsetMaximumLength = 2;

  struct TrackRule {
    int limit;            // most characters the track format holds
    const char* pattern;  // characters it holds
  };

  // The rule of a track-format index (0, 1, 2); nullopt for no selection.
  static std::optional<TrackRule> RuleForMode(int modeIndex);

  // How many leading characters of `text` pass `pattern`: the index of the
  // first refused character, or the whole length. Each UTF-16 character is
  // judged by its low byte alone. A null or uncompilable pattern refuses
  // every character.
  static int AcceptedLength(std::u16string_view text, const char* pattern);

  // The value of a field's leading digits (0 when there are none).
  static int LeadingValue(std::u16string_view text);
};
