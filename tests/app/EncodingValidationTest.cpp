// The track and offset fields as the user types into them: refused
// characters, length limits by the track's own format, offset bounds, the
// alerts raised, and the check boxes.
#include <QClipboard>
#include <QGuiApplication>

#include "EncodingTestFixture.h"
#include "TrackValidator.h"

namespace {

using encoding_test::EncodingTest;
using Level = Prompter::Level;

constexpr char kInvalid[] = "Invalid Character for Encoding.";
constexpr char kTooLong[] = "Exceeding number of characters that could be encoded on the track.";

class EncodingValidationTest : public EncodingTest {
 protected:
  void SetUp() override {
    EncodingTest::SetUp();
    Start();
  }

  // Ticks track n (through its check box) and returns its field.
  QLineEdit* TickedTrack(int n) {
    Click(Check(n));
    EXPECT_TRUE(Check(n)->isChecked());
    EXPECT_TRUE(Track(n)->isEnabled());
    return Track(n);
  }

  void ExpectPrompt(size_t index, const std::string& header, const std::string& message, Level level) {
    ASSERT_LT(index, prompter_.prompts.size());
    const Prompter::Prompt& p = prompter_.prompts[index];
    EXPECT_EQ(p.header, header);
    EXPECT_EQ(p.message, message);
    EXPECT_EQ(p.buttons, std::vector<std::string>{"OK"});
    EXPECT_EQ(p.level, level);
    EXPECT_EQ(p.icon, encoding_test::kIcon);
    EXPECT_EQ(p.timeoutSeconds, 0);
  }
};

TEST_F(EncodingValidationTest, LowerCaseLettersAreRefusedOnTrack1) {
  QLineEdit* field = TickedTrack(1);
  Type(field, "abc");
  EXPECT_EQ(field->text(), "");
  ASSERT_EQ(prompter_.prompts.size(), 3u);  // one refusal per key
  for (size_t i = 0; i < 3; ++i) ExpectPrompt(i, "Card", kInvalid, Level::kStop);
}

TEST_F(EncodingValidationTest, ARefusedCharacterCutsTheTextThere) {
  QLineEdit* field = TickedTrack(1);
  Type(field, "AB-");
  EXPECT_EQ(field->text(), "AB");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectPrompt(0, "Card", kInvalid, Level::kStop);
  // Typing goes on after the refused key.
  Type(field, "C");
  EXPECT_EQ(field->text(), "ABC");
  EXPECT_EQ(prompter_.prompts.size(), 1u);

  // A pasted text stops at its first refused character; the rest is dropped.
  field->clear();
  QGuiApplication::clipboard()->setText("AB-C");
  QTest::keySequence(field, QKeySequence::Paste);
  EXPECT_EQ(field->text(), "AB");
  EXPECT_EQ(prompter_.prompts.size(), 2u);
}

TEST_F(EncodingValidationTest, Track2Takes37DigitsAndEqualsSigns) {
  QLineEdit* field = TickedTrack(2);
  Type(field, "1234=5678");
  EXPECT_EQ(field->text(), "1234=5678");
  Type(field, "A");
  EXPECT_EQ(field->text(), "1234=5678");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  prompter_.prompts.clear();

  field->clear();
  const QString full37 = QString("1234567890").repeated(3) + "1234567";
  Type(field, full37);
  EXPECT_EQ(field->text(), full37);
  EXPECT_TRUE(prompter_.prompts.empty());
  Type(field, "8");
  EXPECT_EQ(field->text(), full37);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectPrompt(0, "Card", kTooLong, Level::kNote);
}

TEST_F(EncodingValidationTest, Track3FollowsTheFormatChosenForIt) {
  // In track-1 format, track 3 takes letters and 76 characters.
  ui().BoxT3Mode->SelectItemAtIndex(0);
  QLineEdit* field = TickedTrack(3);
  const QString letters = QString("AB C").repeated(19);  // 76
  Type(field, letters);
  EXPECT_EQ(field->text(), letters);
  EXPECT_TRUE(prompter_.prompts.empty());
  Type(field, "D");
  EXPECT_EQ(field->text(), letters);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectPrompt(0, "Card", kTooLong, Level::kNote);

  // In its own format the same letters are refused, and 104 digits fit.
  ui().BoxT3Mode->SelectItemAtIndex(2);
  field->clear();
  prompter_.prompts.clear();
  Type(field, "A");
  EXPECT_EQ(field->text(), "");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectPrompt(0, "Card", kInvalid, Level::kStop);
  const QString digits = QString("1234567890").repeated(10) + "1234";  // 104
  field->setText(digits.left(103));  // the program's write is not filtered
  Type(field, "4");
  EXPECT_EQ(field->text(), digits);
  Type(field, "5");
  EXPECT_EQ(field->text(), digits);
  EXPECT_EQ(prompter_.prompts.size(), 2u);
}

TEST_F(EncodingValidationTest, CharactersAreJudgedByTheirLowByte) {
  QLineEdit* field = TickedTrack(1);
  TypeCharacter(field, QChar(0x0141));  // low byte 0x41: passes as "A"
  EXPECT_EQ(field->text(), QString(QChar(0x0141)));
  EXPECT_TRUE(prompter_.prompts.empty());
  TypeCharacter(field, QChar(0x00E9));  // low byte 0xE9: no ASCII letter
  EXPECT_EQ(field->text(), QString(QChar(0x0141)));
  TypeCharacter(field, QChar(0x0100));  // low byte 0
  EXPECT_EQ(field->text(), QString(QChar(0x0141)));
  EXPECT_EQ(prompter_.prompts.size(), 2u);

  QLineEdit* numeric = TickedTrack(2);
  TypeCharacter(numeric, QChar(0x0131));  // low byte 0x31: "1"
  EXPECT_EQ(numeric->text(), QString(QChar(0x0131)));
  TypeCharacter(numeric, QChar(0x0141));
  EXPECT_EQ(numeric->text(), QString(QChar(0x0131)));
}

TEST_F(EncodingValidationTest, AFormatlessTrackTakesThePreviousTracksRule) {
  // With no format chosen, track 2 is judged by track 1's rule.
  ui().BoxT2Mode->SelectItemAtIndex(-1);
  QLineEdit* field = TickedTrack(2);
  Type(field, "AB");
  EXPECT_EQ(field->text(), "AB");
  // Track 1 with no format has no rule at all: everything is refused.
  ui().BoxT1Mode->SelectItemAtIndex(-1);
  QLineEdit* first = TickedTrack(1);
  Type(first, "1");
  EXPECT_EQ(first->text(), "");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectPrompt(0, "Card", kInvalid, Level::kStop);
}

TEST_F(EncodingValidationTest, OnlyTheUsersEditsAreFiltered) {
  // The program's writes (a card read back, a restore) never reach the filter.
  ui().leTrack1->setText("abc-");
  ui().leFrontX->setText("99");
  EXPECT_EQ(ui().leTrack1->text(), "abc-");
  EXPECT_EQ(ui().leFrontX->text(), "99");
  EXPECT_TRUE(prompter_.prompts.empty());
}

TEST_F(EncodingValidationTest, CheckBoxesEnableAndEmptyTheirFields) {
  EXPECT_FALSE(ui().leTrack2->isEnabled());
  Type(ui().leTrack2, "12");  // a disabled field takes no keys
  EXPECT_EQ(ui().leTrack2->text(), "");

  QLineEdit* field = TickedTrack(2);
  Type(field, "12");
  EXPECT_EQ(field->text(), "12");
  Click(Check(2));
  EXPECT_FALSE(Check(2)->isChecked());
  EXPECT_FALSE(field->isEnabled());
  EXPECT_EQ(field->text(), "");

  // Ticking again selects the field's text for typing over.
  Click(Check(2));
  field->setText("34");
  encoding().DisableTrackLine2();
  EXPECT_TRUE(field->isEnabled());
  EXPECT_EQ(field->selectedText(), "34");
}

class OffsetFieldTest : public EncodingValidationTest {
 protected:
  void ExpectOffsetAlert(size_t index, const std::string& message) {
    ExpectPrompt(index, "Orvex Printer Settings", message, Level::kNote);
  }
  // Types into a freshly emptied offset field.
  QLineEdit* TypeOffset(QLineEdit* field, const QString& text) {
    field->clear();
    field->setEnabled(true);
    Type(field, text);
    return field;
  }
};

TEST_F(OffsetFieldTest, ThirtyOnePassesThirtyTwoIsTooLarge) {
  EXPECT_EQ(TypeOffset(ui().leFrontX, "31")->text(), "31");
  EXPECT_TRUE(prompter_.prompts.empty());

  EXPECT_EQ(TypeOffset(ui().leFrontX, "32")->text(), "");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectOffsetAlert(0, "Exceeding maximum value.\nValue should be less than 31");

  // The same hook guards all four offset fields.
  for (QLineEdit* field : {ui().leFrontY, ui().leBackX, ui().leBackY}) {
    EXPECT_EQ(TypeOffset(field, "40")->text(), "") << field->objectName().toStdString();
  }
  EXPECT_EQ(prompter_.prompts.size(), 4u);
}

TEST_F(OffsetFieldTest, AThirdCharacterIsTooLong) {
  EXPECT_EQ(TypeOffset(ui().leBackY, "123")->text(), "");
  ASSERT_EQ(prompter_.prompts.size(), 1u);  // emptied for its length, so no value alert
  ExpectOffsetAlert(0, "Exceeding maximum length.");
}

TEST_F(OffsetFieldTest, RefusedCharactersAreCutSilently) {
  // "?" and "|" belong to the offset filter's set; the value is that of the leading digits.
  EXPECT_EQ(TypeOffset(ui().leFrontY, "1?")->text(), "1?");
  EXPECT_EQ(TypeOffset(ui().leBackX, "|5")->text(), "|5");
  EXPECT_EQ(TypeOffset(ui().leFrontX, "5a")->text(), "5");
  EXPECT_EQ(TypeOffset(ui().leFrontX, "-")->text(), "");
  EXPECT_TRUE(prompter_.prompts.empty());
}

// The filter on its own, for the sets the ICU patterns really make.
TEST(TrackValidatorTest, PatternsActAsCharacterSets) {
  auto accepted = [](std::u16string_view text, const char* pattern) {
    return TrackValidator::AcceptedLength(text, pattern);
  };
  EXPECT_EQ(accepted(u"A $'()./^*+Z09", TrackValidator::kTrack1FormatPattern), 14);
  EXPECT_EQ(accepted(u"AB-C", TrackValidator::kTrack1FormatPattern), 2);
  EXPECT_EQ(accepted(u"a", TrackValidator::kTrack1FormatPattern), 0);
  EXPECT_EQ(accepted(u"12=34;", TrackValidator::kNumericFormatPattern), 5);
  EXPECT_EQ(accepted(u"0123456789|?[", TrackValidator::kOffsetPattern), 12);
  EXPECT_EQ(accepted(u"]", TrackValidator::kOffsetPattern), 0);
  EXPECT_EQ(accepted(u"A", nullptr), 0);
  EXPECT_EQ(accepted(u"", nullptr), 0);
  EXPECT_EQ(TrackValidator::LeadingValue(u"31"), 31);
  EXPECT_EQ(TrackValidator::LeadingValue(u"1?"), 1);
  EXPECT_EQ(TrackValidator::LeadingValue(u"?1"), 0);
  ASSERT_TRUE(TrackValidator::RuleForMode(1).has_value());
  EXPECT_EQ(TrackValidator::RuleForMode(1)->limit, 37);
  EXPECT_FALSE(TrackValidator::RuleForMode(-1).has_value());
}

}  // namespace
