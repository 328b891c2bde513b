// Encoding and reading cards from the encoding tab, against the emulated
// printer that keeps the last card encoded: the ticks and texts of the
// fields reach the printer, and what it reads reaches the fields.
#include <QDir>
#include <QPixmap>

#include "EncodingTestFixture.h"

namespace {

using encoding_test::EncodingTest;

constexpr int kNo = 1;

class EncodingCardTest : public EncodingTest {
 protected:
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
  // The card question names the queue and carries the window's icon.
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "Card");
  EXPECT_EQ(prompter_.prompts[0].icon, encoding_test::kIcon);
  // One write: the three buffers (track 3 unticked, so empty) and the encode command.
  EXPECT_EQ(SentSinceMark(), "\x1b&B 1 ABC 123\r\x1b&B 2 1234=5678\r\x1b&B 3 \r\x1b&E*\r");

  // Only the ticked tracks are read; every field is emptied first.
  Click(Check(1));
  Click(Check(3));
  Mark();
  ClickRead();
  EXPECT_EQ(SentSinceMark(), "\x1b&L2\r\x1b" "E 2\r\x1b&L3\r\x1b" "E 2\r");
  EXPECT_EQ(Track(1)->text(), "");
  EXPECT_EQ(Track(2)->text(), "1234=5678");
  EXPECT_EQ(Track(3)->text(), "") << "track 3 was encoded empty: the printer answers the error form";
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
  EXPECT_EQ(prompter_.prompts.size(), 1u);
  for (int n = 1; n <= 3; ++n) EXPECT_EQ(Track(n)->text(), "") << "track " << n;
  EXPECT_EQ(SentSinceMark(), "");
  EXPECT_TRUE(waits_.entries.empty());
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
