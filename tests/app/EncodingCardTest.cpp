// Encoding and reading cards from the encoding tab, against the emulated
// printer that keeps the last card encoded; and the reply clean-up.
#include <QDir>
#include <QPixmap>

#include "EncodingTestFixture.h"
#include "ReplyCleanup.h"

namespace {

using encoding_test::EncodingTest;

constexpr char kQuestion[] = "Please put the appropriate card in the feeder.";
constexpr int kNo = 1;

class EncodingCardTest : public EncodingTest {
 protected:
  void ExpectQuestion(size_t index) {
    ASSERT_LT(index, prompter_.prompts.size());
    const Prompter::Prompt& p = prompter_.prompts[index];
    EXPECT_EQ(p.header, "Card");
    EXPECT_EQ(p.message, kQuestion);
    EXPECT_EQ(p.buttons, (std::vector<std::string>{"Yes", "No"}));
    EXPECT_EQ(p.level, Prompter::Level::kNote);
    EXPECT_EQ(p.icon, encoding_test::kIcon);
    EXPECT_EQ(p.timeoutSeconds, 0);
  }

  void ClickEncode() { QTest::mouseClick(ui().EncodeBtn, Qt::LeftButton); }
  void ClickRead() { QTest::mouseClick(ui().EncodeReadBtn, Qt::LeftButton); }
};

TEST_F(EncodingCardTest, EncodedTracksReadBack) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  Click(Check(1));
  Type(Track(1), "ABC 123");
  Click(Check(2));
  Type(Track(2), "1234=5678");
  ClickEncode();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ExpectQuestion(0);
  // One write: the three buffers (track 3 unticked, so empty) and the encode command.
  EXPECT_EQ(SentSinceMark(), "\x1b&B 1 ABC 123\r\x1b&B 2 1234=5678\r\x1b&B 3 \r\x1b&E*\r");

  Click(Check(3));
  Mark();
  prompter_.prompts.clear();
  testing::internal::CaptureStderr();
  ClickRead();
  const std::string log = testing::internal::GetCapturedStderr();
  ExpectQuestion(0);
  EXPECT_EQ(prompter_.prompts.size(), 1u) << "an unreadable track raises no message";
  EXPECT_EQ(SentSinceMark(), "\x1b&L1\r\x1b" "E 2\r\x1b&L2\r\x1b" "E 2\r\x1b&L3\r\x1b" "E 2\r");
  EXPECT_EQ(Track(1)->text(), "ABC 123");
  EXPECT_EQ(Track(2)->text(), "1234=5678");
  EXPECT_EQ(Track(3)->text(), "") << "track 3 was encoded empty: the printer answers the error form";
  EXPECT_NE(log.find("Track 1 is ABC 123\n"), std::string::npos) << log;
  EXPECT_NE(log.find("Track 2 is 1234=5678\n"), std::string::npos) << log;
  EXPECT_NE(log.find("Track 3 is \n"), std::string::npos) << log;
  // The card is fed during a one-second wait that keeps the window alive.
  ASSERT_EQ(waits_.entries.size(), 1u);
  EXPECT_EQ(waits_.entries[0], (RecordingWaits::Entry{RecordingWaits::Entry::kEventLoop, std::chrono::seconds(1)}));
}

TEST_F(EncodingCardTest, ReadShowsOnlyTheTickedTracks) {
  Start("card_track1 = %B4111^DOE/JOHN^?\ncard_track2 = ;4111=2512?\ncard_track3 = ;01234?");
  ASSERT_FALSE(HasFatalFailure());
  Click(Check(1));
  Click(Check(3));
  ClickRead();
  EXPECT_EQ(SentSinceMark(), "\x1b&L1\r\x1b" "E 2\r\x1b&L3\r\x1b" "E 2\r");
  EXPECT_EQ(Track(1)->text(), "%B4111^DOE/JOHN^?");
  EXPECT_EQ(Track(2)->text(), "");
  EXPECT_EQ(Track(3)->text(), ";01234?");
}

TEST_F(EncodingCardTest, ATrackThatFailsToReadShowsAnEmptyField) {
  // Track 2 of the card is empty: the printer answers NAK "03" EOT.
  Start("card_track1 = ABC\ncard_track3 = 789");
  ASSERT_FALSE(HasFatalFailure());
  for (int n = 1; n <= 3; ++n) Click(Check(n));
  Type(Track(2), "55");  // emptied by Read whatever comes back
  ClickRead();
  EXPECT_EQ(Track(1)->text(), "ABC");
  EXPECT_EQ(Track(2)->text(), "");
  EXPECT_EQ(Track(3)->text(), "789");
  EXPECT_EQ(prompter_.prompts.size(), 1u);
}

TEST_F(EncodingCardTest, ReadStopsAtAMissingReply) {
  Start("card_track1 = ABC\ncard_track2 = 123\ncard_track3 = 789\nsilent &L2");
  ASSERT_FALSE(HasFatalFailure());
  for (int n = 1; n <= 3; ++n) Click(Check(n));
  ClickRead();
  EXPECT_EQ(SentSinceMark(), "\x1b&L1\r\x1b" "E 2\r\x1b&L2\r\x1b" "E 2\r") << "track 3 is not asked for";
  EXPECT_EQ(Track(1)->text(), "ABC");
  EXPECT_EQ(Track(2)->text(), "");
  EXPECT_EQ(Track(3)->text(), "");
  EXPECT_EQ(prompter_.prompts.size(), 1u);
}

TEST_F(EncodingCardTest, ReadAnsweredNoEmptiesTheFieldsAndSendsNothing) {
  Start("card_track1 = ABC");
  ASSERT_FALSE(HasFatalFailure());
  for (int n = 1; n <= 3; ++n) {
    Click(Check(n));
    Type(Track(n), "12");
  }
  prompter_.answers = {kNo};
  ClickRead();
  ExpectQuestion(0);
  for (int n = 1; n <= 3; ++n) EXPECT_EQ(Track(n)->text(), "") << "track " << n;
  EXPECT_EQ(SentSinceMark(), "");
  EXPECT_TRUE(waits_.entries.empty());
}

TEST_F(EncodingCardTest, EncodeStopsAtTheFirstEmptyTickedTrack) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  Click(Check(2));
  Click(Check(3));
  ClickEncode();
  ASSERT_EQ(prompter_.prompts.size(), 2u);
  ExpectQuestion(0);
  const Prompter::Prompt& notice = prompter_.prompts[1];
  EXPECT_EQ(notice.header, "");
  EXPECT_EQ(notice.message, "No data in Track 2 !");
  EXPECT_EQ(notice.buttons, std::vector<std::string>{"OK"});
  EXPECT_EQ(notice.level, Prompter::Level::kNote);
  EXPECT_EQ(notice.timeoutSeconds, 0);
  EXPECT_EQ(SentSinceMark(), "");

  // Track 1 ticked and empty names track 1.
  Click(Check(1));
  prompter_.prompts.clear();
  ClickEncode();
  ASSERT_EQ(prompter_.prompts.size(), 2u);
  EXPECT_EQ(prompter_.prompts[1].message, "No data in Track 1 !");
  EXPECT_EQ(SentSinceMark(), "");
}

TEST_F(EncodingCardTest, EncodeAnsweredNoSendsNothing) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  Click(Check(1));
  Type(Track(1), "A");
  prompter_.answers = {kNo};
  ClickEncode();
  EXPECT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(SentSinceMark(), "");
  EXPECT_EQ(Track(1)->text(), "A") << "Encode changes nothing in the window";
}

TEST_F(EncodingCardTest, EncodeWithNoTrackTickedEncodesABlankCard) {
  Start("card_track1 = OLD");
  ASSERT_FALSE(HasFatalFailure());
  ClickEncode();
  EXPECT_EQ(SentSinceMark(), "\x1b&B 1 \r\x1b&B 2 \r\x1b&B 3 \r\x1b&E*\r");
  EXPECT_EQ(server_->Engine().State().cardTrack[0], "");
}

TEST_F(EncodingCardTest, TextWithoutAnAsciiFormIsSentAsQuestionMarks) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  Click(Check(1));
  Type(Track(1), "A");
  TypeCharacter(Track(1), QChar(0x0141));  // passes the filter as "A"
  Type(Track(1), "B");
  ASSERT_EQ(Track(1)->text(), QString("A") + QChar(0x0141) + "B");
  ClickEncode();
  EXPECT_EQ(SentSinceMark(), "\x1b&B 1 A?B\r\x1b&B 2 \r\x1b&B 3 \r\x1b&E*\r");
  EXPECT_EQ(server_->Engine().State().cardTrack[0], "A?B");

  EXPECT_EQ(EncodingController::TrackTextForPrinter(QString("1\x1b\r2") + QChar(0x00E9)), "1??2?");
}

TEST(ReplyCleanupTest, DropsTheTerminatorAndTheErrorForm) {
  auto clean = [](std::string reply) {
    ClearErrorInBuffer(reply);
    return reply;
  };
  EXPECT_EQ(clean(""), "");
  EXPECT_EQ(clean("ABC\r"), "ABC");
  EXPECT_EQ(clean("\x15" "03\x04"), "");
  EXPECT_EQ(clean("\x15" "xy\x04 trailing"), "");
  // NAK without EOT in fourth place is an ordinary reply.
  EXPECT_EQ(clean("\x15" "03"), "\x15" "0");
  EXPECT_EQ(clean("\x06"), "");
}

TEST_F(EncodingCardTest, ScreenshotOfTheEncodingTab) {
  Start();
  ASSERT_FALSE(HasFatalFailure());
  Click(Check(1));
  Type(Track(1), "B4111 DOE/JOHN");
  Click(Check(2));
  Type(Track(2), "4111=2512");
  QCoreApplication::processEvents();
  const QString folder = QStringLiteral(VKT_SCREENSHOT_DIR);
  ASSERT_TRUE(QDir().mkpath(folder));
  const QPixmap picture = app().window()->grab();
  ASSERT_FALSE(picture.isNull());
  EXPECT_TRUE(picture.save(folder + "/encoding-tab.png"));
}

}  // namespace
