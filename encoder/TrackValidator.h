// The character and length rules of the magnetic-track and print-offset
// fields: ICU patterns applied to one character at a time, and the alerts
// raised when a field's text is cut.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "EncoderContext.h"

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

  static constexpr const char* kInvalidCharacter = "Invalid Character for Encoding.";
  static constexpr const char* kTooLongForTrack = "Exceeding number of characters that could be encoded on the track.";
  static constexpr const char* kOffsetTooLong = "Exceeding maximum length.";
  // 31 itself is accepted although the text says "less than".
  static constexpr const char* kOffsetTooLarge = "Exceeding maximum value.\nValue should be less than 31";
  static constexpr const char* kOffsetHeader = "Orvex Printer Settings";

  // The fields the filter guards: the three track fields, then the four
  // print-offset fields (front X, front Y, back X, back Y).
  enum class Field { kTrack1, kTrack2, kTrack3, kFrontX, kFrontY, kBackX, kBackY };

  struct TrackRule {
    int limit;            // most characters the track format holds
    const char* pattern;  // characters it holds
  };

  explicit TrackValidator(EncoderContext context) : context_(std::move(context)) {}

  // The text `field` keeps after the user edited it to `text`. A track takes
  // the rule of the format chosen for it in `modes` (track 3 in track-1
  // format takes 76 letters and digits); a track with no format chosen keeps
  // the previous track's rule, and before track 1 there is none, which
  // refuses every character. A refused character raises the invalid-character
  // alert, a text longer than the rule allows the length alert; an offset
  // field that is too long or too large is emptied after its alert.
  std::u16string SetValidationToTrack(Field field, std::u16string text, const std::array<int, 3>& modes);
  // `text` cut before its first character `pattern` refuses; the alert is
  // raised for track fields only.
  std::u16string validateTrack(Field field, std::u16string text, const char* pattern);

  // The rule of a track-format index (0, 1, 2); nullopt for no selection.
  static std::optional<TrackRule> RuleForMode(int modeIndex);

  // How many leading characters of `text` pass `pattern`: the index of the
  // first refused character, or the whole length. Each UTF-16 character is
  // judged by its low byte alone. A null or uncompilable pattern refuses
  // every character.
  static int AcceptedLength(std::u16string_view text, const char* pattern);

  // The value of a field's leading digits (0 when there are none).
  static int LeadingValue(std::u16string_view text);

  // A text given as UTF-8 (on the command line) as the UTF-16 characters a
  // field would hold.
  static std::u16string FromUtf8(const std::string& text);

 private:
  static bool IsOffset(Field field) { return field >= Field::kFrontX; }
  void Alert(const std::string& header, const char* message, Prompter::Level level);

  EncoderContext context_;
};
