// The track and offset fields as the user types into them: each key goes
// through the filter and the field keeps its answer; the alerts; the lists
// that choose a track's rule; the check boxes.
#include <QClipboard>
#include <QGuiApplication>

#include "EncodingTestFixture.h"

namespace {

using encoding_test::EncodingTest;

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
};

TEST_F(EncodingValidationTest, ARefusedCharacterCutsTheTextThere) {
  // Track 3 takes the rule of the format its own list shows: here track 1's letters.
  ui().BoxT3Mode->SelectItemAtIndex(0);
  QLineEdit* field = TickedTrack(3);
  Type(field, "AB-");
  EXPECT_EQ(field->text(), "AB");
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "Card");
  EXPECT_EQ(prompter_.prompts[0].message, "Invalid Character for Encoding.");
  EXPECT_EQ(prompter_.prompts[0].icon, encoding_test::kIcon);
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

  // In its own format track 3 refuses letters: the next key empties the field.
  ui().BoxT3Mode->SelectItemAtIndex(2);
  Type(field, "1");
  EXPECT_EQ(field->text(), "");
  EXPECT_EQ(prompter_.prompts.size(), 3u);
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

TEST_F(EncodingValidationTest, TheFourOffsetFieldsAreGuarded) {
  for (QLineEdit* field : {ui().leFrontX, ui().leFrontY, ui().leBackX, ui().leBackY}) {
    field->setEnabled(true);
    field->clear();
    Type(field, "32");
    EXPECT_EQ(field->text(), "") << field->objectName().toStdString();
  }
  ASSERT_EQ(prompter_.prompts.size(), 4u);
  EXPECT_EQ(prompter_.prompts[3].header, "Orvex Printer Settings");
  EXPECT_EQ(prompter_.prompts[3].message, "Exceeding maximum value.\nValue should be less than 31");
}

}  // namespace
