// The magnetic-encoding tab bound to the encoder models: what the user types
// goes through the field rules, the check boxes enable and empty their
// fields, and the buttons send what the controls show. The rules and replies
// themselves are tested in tests/encoder.
#include <QCheckBox>
#include <QDir>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>

#include "AppTestSupport.h"
#include "EncodingController.h"

namespace {

std::string WithReplyRequest(const std::string& command) { return "\x1b" + command + "\r\x1b" + "E 2\r"; }

class EncodingTabTest : public app_test::WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    ASSERT_EQ(Start(), AppDelegate::StartupResult::kReady);
    ui().tabview->setCurrentWidget(ui().EncodingTab);
    Forget();
  }
  QLineEdit* Track(int n) { return n == 1 ? ui().leTrack1 : n == 2 ? ui().leTrack2 : ui().leTrack3; }
  QCheckBox* Check(int n) { return n == 1 ? ui().chTrack1 : n == 2 ? ui().chTrack2 : ui().chTrack3; }
  // The user clicks a check box on its box and types into a field, key by key.
  static void Click(QCheckBox* box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2)); }
  void Tick(int n, const QString& text) { Click(Check(n)), QTest::keyClicks(Track(n), text); }
  std::string Alerts() {
    std::string text;
    for (const auto& prompt : prompter_.prompts)
      text += prompt.header + ": " + prompt.message + "|" + prompt.icon + ";";
    prompter_.prompts.clear();
    return text;
  }
};

TEST_F(EncodingTabTest, TheUsersKeysGoThroughTheRuleOfTheTracksFormat) {
  // A disabled field takes no keys; ticking enables it, unticking empties it.
  QTest::keyClicks(Track(2), "12");
  EXPECT_EQ(Track(2)->text(), "");
  Tick(2, "12");
  EXPECT_EQ(Track(2)->text(), "12");
  Click(Check(2));
  EXPECT_FALSE(Track(2)->isEnabled());
  EXPECT_EQ(Track(2)->text(), "");
  // Ticking again selects the field's text for typing over.
  Click(Check(2));
  Track(2)->setText("34");
  app_->Encoding().DisableTrackLine2();
  EXPECT_EQ(Track(2)->selectedText(), "34");

  // Track 3 takes the rule of the format its own list shows: here track 1's
  // letters. A refused key cuts the text there; typing goes on after it.
  ui().BoxT3Mode->SelectItemAtIndex(0);
  Tick(3, "AB-");
  EXPECT_EQ(Track(3)->text(), "AB");
  const std::string invalid = "Card: Invalid Character for Encoding.|" + app_->urlIcon + ";";
  EXPECT_EQ(Alerts(), invalid);
  QTest::keyClicks(Track(3), "C");
  EXPECT_EQ(Track(3)->text(), "ABC");
  // In its own format track 3 refuses letters: the next key empties the field.
  ui().BoxT3Mode->SelectItemAtIndex(2);
  QTest::keyClicks(Track(3), "1");
  EXPECT_EQ(Track(3)->text(), "");
  EXPECT_EQ(Alerts(), invalid);

  // The four offset fields are guarded too; the program's own writes are not filtered.
  for (QLineEdit* field : {ui().leFrontX, ui().leFrontY, ui().leBackX, ui().leBackY}) {
    field->setEnabled(true);
    field->clear();
    QTest::keyClicks(field, "32");
    EXPECT_EQ(field->text(), "") << field->objectName().toStdString();
  }
  EXPECT_EQ(prompter_.prompts.size(), 4u);
  EXPECT_EQ(prompter_.prompts[3].message, "Exceeding maximum value.\nValue should be less than 31");
  prompter_.prompts.clear();
  ui().leTrack1->setText("abc-");
  ui().leFrontX->setText("99");
  EXPECT_EQ(ui().leTrack1->text() + ui().leFrontX->text(), "abc-99");
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(Sent(), "");
}

TEST_F(EncodingTabTest, EncodeAndReadSendTheTickedTracksAndShowWhatThePrinterReads) {
  Tick(1, "ABC 123");
  Tick(2, "1234=5678");
  QTest::mouseClick(ui().EncodeBtn, Qt::LeftButton);
  EXPECT_EQ(Alerts(), "Card: Please put the appropriate card in the feeder.|" + app_->urlIcon + ";");
  // Track 3 unticked goes out empty.
  EXPECT_EQ(Sent(), "\x1b&B 1 ABC 123\r\x1b&B 2 1234=5678\r\x1b&B 3 \r\x1b&E*\r");
  QDir().mkpath(VKT_SCREENSHOT_DIR);
  EXPECT_TRUE(app_->window()->grab().save(VKT_SCREENSHOT_DIR "/encoding-tab.png"));

  // Only the ticked tracks are read; every field is emptied first.
  Click(Check(1));
  Click(Check(3));
  QTest::mouseClick(ui().EncodeReadBtn, Qt::LeftButton);
  EXPECT_EQ(Sent(), WithReplyRequest("&L2") + WithReplyRequest("&L3"));
  EXPECT_EQ(Track(1)->text() + "|" + Track(2)->text() + "|" + Track(3)->text(), "|1234=5678|");

  // Answered No, a read empties the fields and sends nothing.
  prompter_.answers = {1};
  QTest::mouseClick(ui().EncodeReadBtn, Qt::LeftButton);
  EXPECT_EQ(Track(2)->text(), "");
  EXPECT_EQ(Sent(), "");
}

TEST_F(EncodingTabTest, ApplySendsTheChoicesRestoreDefaultsPutsTheFactoryChoiceBack) {
  const auto shown = [this] {
    std::string text;
    for (VktComboBox* box :
         {ui().BoxT1Mode, ui().BoxT2Mode, ui().BoxT3Mode, ui().BoxT1Density, ui().BoxT2Density, ui().BoxT3Density})
      text += std::to_string(box->IndexOfSelectedItem());
    for (int n = 1; n <= 3; ++n)
      text += std::string(Check(n)->isChecked() ? "x" : "-") + Track(n)->text().toStdString() +
              (Track(n)->isEnabled() ? "e" : "d");
    return text + (ui().rdHighCo->isChecked() ? "H" : "") + (ui().rdLowCo->isChecked() ? "L" : "");
  };
  int index = 0;
  for (VktComboBox* box :
       {ui().BoxT1Mode, ui().BoxT2Mode, ui().BoxT3Mode, ui().BoxT1Density, ui().BoxT2Density, ui().BoxT3Density})
    box->SelectItemAtIndex("201101"[index++] - '0');
  QTest::mouseClick(ui().rdLowCo, Qt::LeftButton);
  QTest::mouseClick(ui().EncodeApplyBtn, Qt::LeftButton);
  std::string want;
  for (const char* command : {"&CDEW 1 a3", "&CDER 1 q3", "&CDEW 2 b1", "&CDER 2 r1", "&CDEW 3 c2", "&CDER 3 s2",
                              "&D 1 75", "&D 2 210", "&D 3 75", "&W 0", "&C 0"})
    want += WithReplyRequest(command);
  EXPECT_EQ(Sent(), want);
  EXPECT_EQ(Alerts(), "Orvex Printer Settings: Applying printer settings please wait ....|" + app_->urlIcon + ";");
  EXPECT_TRUE(ui().EncodeApplyBtn->isEnabled());

  for (int n = 1; n <= 3; ++n) Tick(n, "12");
  QTest::mouseClick(ui().RestoreDefaultBtn, Qt::LeftButton);
  EXPECT_EQ(Sent(), "");
  EXPECT_EQ(shown(), "012010-d-d-dH");
  // The printer took every code: reading its settings back shows the applied choice.
  app_->SetMagUIAdvSettings();
  EXPECT_EQ(shown(), "201101-d-d-dL");
}

}  // namespace
