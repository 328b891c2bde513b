// Encoder settings of the encoding tab: the printer's settings reply read
// into the controls, Apply's commands on the wire, and Restore.
#include <QRadioButton>

#include "EncodingTestFixture.h"
#include "RadioPair.h"

namespace {

using encoding_test::EncodingTest;
using encoding_test::WithReplyRequest;

struct Controls {
  int modes[3];
  int densities[3];
  bool high;
  bool low;
};

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

// The form's own selections before any reply is read: 0 1 2 and 210 75 210.
constexpr Controls kLayoutDefaults = {{0, 1, 2}, {0, 1, 0}, false, false};

TEST_F(EncodingSettingsTest, FullRepliesSelectEveryControl) {
  struct Case {
    const char* reply;
    Controls want;
  };
  const Case cases[] = {
      {"TRACK 1 W:a3 R:q3 D:75 S:% TRACK 2 W:b1 R:r1 D:210 S:; TRACK 3 W:c2 R:s2 D:75 S:; L:85 W:12 R:10 CO:LOW",
       {{2, 0, 1}, {1, 0, 1}, false, true}},
      {"TRACK 1 W:a2 R:q2 D:210 S:% TRACK 2 W:B R:R D:75 S:; TRACK 3 W:C R:S D:210 S:; L:85 W:12 R:10 CO:HIGH",
       {{1, 1, 2}, {0, 1, 0}, true, false}},
      {"TRACK 1 W:A R:Q D:75 S:% TRACK 2 W:b3 R:r3 D:210 S:; TRACK 3 W:c1 R:s1 D:75 S:; L:85 W:12 R:10 CO:HIGH",
       {{0, 2, 0}, {1, 0, 1}, true, false}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.reply);
    StartWithSettings(c.reply);
    if (HasFatalFailure()) return;
    ExpectControls(c.want);
  }
}

TEST_F(EncodingSettingsTest, TheEmulatorsOwnSettingsReplyIsRead) {
  // No override: the printer's stored settings, in its own reply form.
  Start("track1_write = a3\ntrack1_read = q3\ntrack1_density = 75\ntrack2_write = b1\ntrack2_read = r1\n"
        "track2_density = 210\ntrack3_write = c2\ntrack3_read = s2\ntrack3_density = 75\ncoercivity = low");
  ASSERT_FALSE(HasFatalFailure());
  ExpectControls({{2, 0, 1}, {1, 0, 1}, false, true});
}

TEST_F(EncodingSettingsTest, AMixedPairLeavesTheDensityAlone) {
  // Track 1 writes A but reads q2; track 2 writes B but reads r3: the modes
  // follow the write codes, the densities keep the layout's 210 and 75.
  StartWithSettings("TRACK 1 W:A R:q2 D:75 S:% TRACK 2 W:B R:r3 D:210 S:; TRACK 3 W:C R:S D:210 S:; CO:HIGH");
  ASSERT_FALSE(HasFatalFailure());
  ExpectControls({{0, 1, 2}, {0, 1, 0}, true, false});
}

TEST_F(EncodingSettingsTest, Track3IsRecognisedAt210OnlyWithRQ) {
  StartWithSettings("TRACK 1 W:A R:Q D:210 TRACK 2 W:B R:R D:75 TRACK 3 W:c1 R:s1 D:210 CO:HIGH");
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_EQ(ui().BoxT3Mode->IndexOfSelectedItem(), 0);
  // Set to 75 and read again: W:c1 R:s1 D:210 does not count as 210.
  ui().BoxT3Density->SelectItemAtIndex(1);
  app().SetMagUIAdvSettings();
  EXPECT_EQ(ui().BoxT3Density->IndexOfSelectedItem(), 1);
  EXPECT_EQ(ui().BoxT3Mode->IndexOfSelectedItem(), 0);

  StartWithSettings("TRACK 1 W:A R:Q D:210 TRACK 2 W:B R:R D:75 TRACK 3 W:c1 R:Q D:210 CO:HIGH");
  ASSERT_FALSE(HasFatalFailure());
  ui().BoxT3Density->SelectItemAtIndex(1);
  app().SetMagUIAdvSettings();
  EXPECT_EQ(ui().BoxT3Density->IndexOfSelectedItem(), 0);

  // At 75 the pair c1/s1 is recognised.
  StartWithSettings("TRACK 3 W:c1 R:s1 D:75 CO:HIGH");
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_EQ(ui().BoxT3Density->IndexOfSelectedItem(), 1);
}

TEST_F(EncodingSettingsTest, LaterMatchesOverwriteEarlierOnes) {
  // "a2" is tested after "a3", and the 210 markers after the 75 ones.
  StartWithSettings("TRACK 1 W:a2 R:q2 D:75 TRACK 1 W:a3 R:q3 D:210 CO:HIGH CO:LOW");
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_EQ(ui().BoxT1Mode->IndexOfSelectedItem(), 1);
  EXPECT_EQ(ui().BoxT1Density->IndexOfSelectedItem(), 0);
  // Each radio follows its own word: both named, both on.
  EXPECT_TRUE(ui().rdHighCo->isChecked());
  EXPECT_TRUE(ui().rdLowCo->isChecked());
}

TEST_F(EncodingSettingsTest, NeitherCoercivitySwitchesBothOffAndApplySendsNone) {
  StartWithSettings("TRACK 1 W:A R:Q D:210 S:% TRACK 2 W:B R:R D:75 S:; TRACK 3 W:C R:S D:210 S:; L:85");
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_FALSE(ui().rdHighCo->isChecked());
  EXPECT_FALSE(ui().rdLowCo->isChecked());

  QTest::mouseClick(ui().EncodeApplyBtn, Qt::LeftButton);
  const std::string sent = SentSinceMark();
  EXPECT_EQ(sent.find("\x1b&C "), std::string::npos) << sent;
  EXPECT_TRUE(sent.ends_with(WithReplyRequest("&W 0"))) << sent;
}

TEST_F(EncodingSettingsTest, UnrecognisedRepliesKeepTheLayoutAndSwitchCoercivityOff) {
  StartWithSettings("garbage");
  ASSERT_FALSE(HasFatalFailure());
  ExpectControls(kLayoutDefaults);

  Start("nak &V");  // the error form: the session's "None"
  ASSERT_FALSE(HasFatalFailure());
  ExpectControls(kLayoutDefaults);
}

TEST_F(EncodingSettingsTest, ApplyWithTheFactoryChoiceSendsTheElevenCommandsInOrder) {
  StartWithSettings("TRACK 1 W:a3 R:q3 D:75 TRACK 2 W:b1 R:r1 D:210 TRACK 3 W:c2 R:s2 D:75 CO:LOW");
  ASSERT_FALSE(HasFatalFailure());
  QTest::mouseClick(ui().RestoreDefaultBtn, Qt::LeftButton);
  EXPECT_EQ(SentSinceMark(), "") << "Restore talks to the printer";
  ExpectControls({{0, 1, 2}, {0, 1, 0}, true, false});

  QTest::mouseClick(ui().EncodeApplyBtn, Qt::LeftButton);
  std::string want;
  for (const char* command : {"&CDEW 1 A", "&CDER 1 Q", "&CDEW 2 B", "&CDER 2 R", "&CDEW 3 C", "&CDER 3 S",
                              "&D 1 210", "&D 2 75", "&D 3 210", "&W 0", "&C 1"}) {
    want += WithReplyRequest(command);
  }
  EXPECT_EQ(SentSinceMark(), want);

  // After the commands: one caution notice that closes by itself.
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const Prompter::Prompt& notice = prompter_.prompts[0];
  EXPECT_EQ(notice.header, "Orvex Printer Settings");
  EXPECT_EQ(notice.message, "Applying printer settings please wait ....");
  EXPECT_EQ(notice.buttons, (std::vector<std::string>{"OK", ""}));
  EXPECT_EQ(notice.level, Prompter::Level::kCaution);
  EXPECT_EQ(notice.timeoutSeconds, 5);
  EXPECT_EQ(notice.icon, encoding_test::kIcon);
  EXPECT_TRUE(ui().EncodeApplyBtn->isEnabled());
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

  // The printer took every code: reading its settings back gives the same choice.
  encoding().EncodeRestoreBtn();
  app().SetMagUIAdvSettings();
  ExpectControls({{2, 0, 1}, {1, 0, 1}, false, true});
}

TEST_F(EncodingSettingsTest, ATrackWithNoFormatSelectedIsLeftOut) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  ui().BoxT2Mode->SelectItemAtIndex(-1);
  ui().BoxT3Density->SelectItemAtIndex(-1);
  encoding().EncodeApplyButton();
  std::string want;
  for (const char* command : {"&CDEW 1 A", "&CDER 1 Q", "&CDEW 3 C", "&CDER 3 S", "&D 1 210", "&D 2 75", "&W 0",
                              "&C 1"}) {
    want += WithReplyRequest(command);
  }
  EXPECT_EQ(SentSinceMark(), want);
}

TEST_F(EncodingSettingsTest, RestoreUnticksAndEmptiesTheTracksWithoutTalking) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  for (int n = 1; n <= 3; ++n) {
    Click(Check(n));
    Type(Track(n), "12");
  }
  ASSERT_EQ(ui().leTrack2->text(), "12");
  ui().BoxT2Mode->SelectItemAtIndex(0);
  ui().BoxT1Density->SelectItemAtIndex(1);
  app().HiLoCo().SetStates(false, false);

  QTest::mouseClick(ui().RestoreDefaultBtn, Qt::LeftButton);
  ExpectControls({{0, 1, 2}, {0, 1, 0}, true, false});
  for (int n = 1; n <= 3; ++n) {
    EXPECT_FALSE(Check(n)->isChecked());
    EXPECT_EQ(Track(n)->text(), "");
    EXPECT_FALSE(Track(n)->isEnabled());
  }
  EXPECT_EQ(SentSinceMark(), "");
  EXPECT_TRUE(prompter_.prompts.empty());
}

}  // namespace
