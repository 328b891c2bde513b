// The track and offset field rules: what each field keeps of a typed or
// pasted text, for each track format, and the alerts raised on the way.
#include "EncoderTestFixture.h"
#include "TrackValidator.h"

namespace {

using Field = TrackValidator::Field;
using Level = Prompter::Level;

using encoder_test::kIcon;
// clang-format off
const Prompter::Prompt kInvalid{"Card", "Invalid Character for Encoding.", {"OK"}, Level::kStop, kIcon, 0};
const Prompter::Prompt kTooLong{"Card", "Exceeding number of characters that could be encoded on the track.", {"OK"},
                                Level::kNote, kIcon, 0};
const Prompter::Prompt kOffsetTooLong{"Orvex Printer Settings", "Exceeding maximum length.", {"OK"}, Level::kNote, kIcon, 0};
const Prompter::Prompt kOffsetTooLarge{"Orvex Printer Settings", "Exceeding maximum value.\nValue should be less than 31",
                                       {"OK"}, Level::kNote, kIcon, 0};
// clang-format on

constexpr std::array<int, 3> kOwnFormats{0, 1, 2};

TEST(TrackValidatorTest, EachFieldKeepsWhatItsRuleAllows) {
  const std::u16string digits37(37, u'7'), letters76(76, u'A'), digits104(104, u'4');
  const struct {
    const char* what;
    Field field;
    std::array<int, 3> modes;
    std::u16string typed, kept;
    encoder_test::Prompts alerts;
  } cases[] = {
      {"track-1 format set", Field::kTrack1, kOwnFormats, u"A $'()./^*+Z09", u"A $'()./^*+Z09", {}},
      {"lower case refused", Field::kTrack1, kOwnFormats, u"abc", u"", {kInvalid}},
      {"cut at the first refused", Field::kTrack1, kOwnFormats, u"AB-C", u"AB", {kInvalid}},
      {"digits and equals", Field::kTrack2, kOwnFormats, u"1234=5678", u"1234=5678", {}},
      {"semicolon refused", Field::kTrack2, kOwnFormats, u"12=34;", u"12=34", {kInvalid}},
      {"37 fit track 2", Field::kTrack2, kOwnFormats, digits37, digits37, {}},
      {"38th cut", Field::kTrack2, kOwnFormats, digits37 + u"7", digits37, {kTooLong}},
      {"cut, then too long", Field::kTrack2, kOwnFormats, digits37 + u"777A1", digits37, {kInvalid, kTooLong}},
      {"track 3 in track-1 format", Field::kTrack3, {0, 1, 0}, letters76, letters76, {}},
      {"track 3 in track-1 format, 77", Field::kTrack3, {0, 1, 0}, letters76 + u"A", letters76, {kTooLong}},
      {"track 3 in its own format", Field::kTrack3, kOwnFormats, u"A", u"", {kInvalid}},
      {"104 fit track 3", Field::kTrack3, kOwnFormats, digits104 + u"5", digits104, {kTooLong}},
      // Only what the stripe can hold: no character beyond Latin-1 (whatever its
      // low byte), no line break (a pasted line's end).
      {"U+0141 is no A", Field::kTrack1, kOwnFormats, u"A\u0141", u"A", {kInvalid}},
      {"U+0131 is no 1", Field::kTrack2, kOwnFormats, u"\u0131", u"", {kInvalid}},
      {"e acute", Field::kTrack1, kOwnFormats, u"A\u00E9", u"A", {kInvalid}},
      {"pasted line", Field::kTrack2, kOwnFormats, u"1234\n", u"1234", {kInvalid}},
      {"next line", Field::kTrack3, kOwnFormats, u"1\u0085", u"1", {kInvalid}},
      {"offset line break", Field::kFrontX, kOwnFormats, u"3\n", u"3", {}},
      {"no format: track 1's rule", Field::kTrack2, {0, -1, 2}, u"AB", u"AB", {}},
      {"no format before track 1: no rule", Field::kTrack1, {-1, 1, 2}, u"1", u"", {kInvalid}},
      {"offset 31", Field::kFrontX, kOwnFormats, u"31", u"31", {}},
      {"offset 32", Field::kFrontX, kOwnFormats, u"32", u"", {kOffsetTooLarge}},
      {"offset 123: too long only", Field::kBackY, kOwnFormats, u"123", u"", {kOffsetTooLong}},
      {"offset 1?", Field::kFrontY, kOwnFormats, u"1?", u"1?", {}},
      {"offset |5", Field::kBackX, kOwnFormats, u"|5", u"|5", {}},
      {"offset cut silently", Field::kFrontX, kOwnFormats, u"5a", u"5", {}},
      {"offset bracket", Field::kFrontX, kOwnFormats, u"?[", u"?", {}},
      {"offset minus", Field::kFrontX, kOwnFormats, u"-", u"", {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ScriptedPrompter prompter;
    TrackValidator validator({nullptr, prompter, kIcon, "Card"});
    EXPECT_EQ(validator.SetValidationToTrack(c.field, c.typed, c.modes), c.kept);
    EXPECT_EQ(prompter.prompts, c.alerts);
  }
  // A command-line text reaches the rules as the characters a field would hold.
  EXPECT_EQ(TrackValidator::FromUtf8("A\xC5\x81="), u"A\u0141=");
}

}  // namespace
