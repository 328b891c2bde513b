// Encoder settings of the encoding tab bound to the model: the printer's
// settings reply reaches the controls, Apply sends what they show, Restore.
#include <QRadioButton>

#include "EncodingTestFixture.h"

namespace {

using encoding_test::EncodingTest;
using encoding_test::WithReplyRequest;

using Controls = EncoderSettings::State;

class EncodingSettingsTest : public EncodingTest {
 protected:
  // Start-up with the printer answering `reply` (then ACK) to the settings query.
  void StartWithSettings(const std::string& reply) { Start("reply &V = " + reply + "\\x06"); }

  void ExpectControls(const Controls& want) {
    VktComboBox* modes[3] = {ui().BoxT1Mode, ui().BoxT2Mode, ui().BoxT3Mode};
    VktComboBox* densities[3] = {ui().BoxT1Density, ui().BoxT2Density, ui().BoxT3Density};
    for (int t = 0; t < 3; ++t) {
      EXPECT_EQ(modes[t]->IndexOfSelectedItem(), want.modes[t]) << "mode of track " << t + 1;
      EXPECT_EQ(densities[t]->IndexOfSelectedItem(), want.densities[t]) << "density of track " << t + 1;
    }
    EXPECT_EQ(ui().rdHighCo->isChecked(), want.high);
    EXPECT_EQ(ui().rdLowCo->isChecked(), want.low);
  }
};

TEST_F(EncodingSettingsTest, TheEmulatorsOwnSettingsReplyIsRead) {
  // No override: the printer's stored settings, in its own reply form.
  Start("track1_write = a3\ntrack1_read = q3\ntrack1_density = 75\ntrack2_write = b1\ntrack2_read = r1\n"
        "track2_density = 210\ntrack3_write = c2\ntrack3_read = s2\ntrack3_density = 75\ncoercivity = low");
  ASSERT_FALSE(HasFatalFailure());
  ExpectControls({{2, 0, 1}, {1, 0, 1}, false, true});

  // The controls offer the model's texts, which the command line takes.
  auto items = [](VktComboBox* box) {
    std::vector<std::string> texts;
    for (int i = 0; i < box->NumberOfItems(); ++i) texts.push_back(box->ItemAt(i).toStdString());
    return texts;
  };
  const std::vector<std::string> modes(EncoderSettings::kModeTexts.begin(), EncoderSettings::kModeTexts.end());
  const std::vector<std::string> densities(EncoderSettings::kDensityTexts.begin(), EncoderSettings::kDensityTexts.end());
  for (VktComboBox* box : {ui().BoxT1Mode, ui().BoxT2Mode, ui().BoxT3Mode}) EXPECT_EQ(items(box), modes);
  for (VktComboBox* box : {ui().BoxT1Density, ui().BoxT2Density, ui().BoxT3Density}) EXPECT_EQ(items(box), densities);
  EXPECT_EQ(ui().rdHighCo->text().toStdString(), EncoderSettings::kCoercivityTexts[0]);
  EXPECT_EQ(ui().rdLowCo->text().toStdString(), EncoderSettings::kCoercivityTexts[1]);
}

TEST_F(EncodingSettingsTest, AReadStartsFromTheControlsAsTheyAre) {
  // W:c1 R:s1 D:210 names no density: the control keeps what it showed.
  StartWithSettings("TRACK 3 W:c1 R:s1 D:210 CO:HIGH");
  ASSERT_FALSE(HasFatalFailure());
  ui().BoxT3Density->SelectItemAtIndex(1);
  app().SetMagUIAdvSettings();
  EXPECT_EQ(ui().BoxT3Density->IndexOfSelectedItem(), 1);
  EXPECT_EQ(ui().BoxT3Mode->IndexOfSelectedItem(), 0);
}

TEST_F(EncodingSettingsTest, AppliedSettingsAreWhatThePrinterReportsAfterwards) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  ui().BoxT1Mode->SelectItemAtIndex(2);
  ui().BoxT2Mode->SelectItemAtIndex(0);
  ui().BoxT3Mode->SelectItemAtIndex(1);
  ui().BoxT1Density->SelectItemAtIndex(1);
  ui().BoxT2Density->SelectItemAtIndex(0);
  ui().BoxT3Density->SelectItemAtIndex(1);
  QTest::mouseClick(ui().rdLowCo, Qt::LeftButton);
  ASSERT_FALSE(ui().rdHighCo->isChecked());

  QTest::mouseClick(ui().EncodeApplyBtn, Qt::LeftButton);
  std::string want;
  for (const char* command : {"&CDEW 1 a3", "&CDER 1 q3", "&CDEW 2 b1", "&CDER 2 r1", "&CDEW 3 c2", "&CDER 3 s2",
                              "&D 1 75", "&D 2 210", "&D 3 75", "&W 0", "&C 0"}) {
    want += WithReplyRequest(command);
  }
  EXPECT_EQ(SentSinceMark(), want);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].icon, encoding_test::kIcon);
  EXPECT_TRUE(ui().EncodeApplyBtn->isEnabled());

  // Restore puts the factory choice back and empties the tracks, without talking.
  for (int n = 1; n <= 3; ++n) {
    Click(Check(n));
    Type(Track(n), "12");
  }
  ASSERT_EQ(ui().leTrack2->text(), "12");
  Mark();
  QTest::mouseClick(ui().RestoreDefaultBtn, Qt::LeftButton);
  EXPECT_EQ(SentSinceMark(), "");
  ExpectControls({{0, 1, 2}, {0, 1, 0}, true, false});
  for (int n = 1; n <= 3; ++n) {
    EXPECT_FALSE(Check(n)->isChecked());
    EXPECT_EQ(Track(n)->text(), "");
    EXPECT_FALSE(Track(n)->isEnabled());
  }
  EXPECT_EQ(prompter_.prompts.size(), 1u);

  // The printer took every code: reading its settings back gives the same choice.
  app().SetMagUIAdvSettings();
  ExpectControls({{2, 0, 1}, {1, 0, 1}, false, true});
}

}  // namespace
