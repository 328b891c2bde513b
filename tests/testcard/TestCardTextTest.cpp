// The texts of the test-card lines for odd facts and replies (no drawing
// involved; the fixed printer's cards are compared whole with reference
// images in the renderer's test).
#include <gtest/gtest.h>

#include "TestCardSupport.h"
#include "TestCardText.h"

namespace {

using testcard_support::FixedFacts;

std::vector<std::string> Texts(const std::vector<TestCardLine>& lines) {
  std::vector<std::string> texts;
  for (const auto& line : lines) texts.push_back(line.text);
  return texts;
}

TEST(TestCardText, OddFactsAndRepliesOnTheStandardCard) {
  TestCardFacts facts = FixedFacts();
  facts.pOffset = {-4, 99, 123, 5};
  facts.PannelPrinted = "None";
  const std::vector<std::string> texts = Texts(TestCardText::StandardCard(facts, "  42abc"));
  EXPECT_EQ(texts[5], "Offset X:-4/99 Y:123/05");
  EXPECT_EQ(texts[6], "EC: 0042");
  EXPECT_EQ(texts[7], "Print counter: 00000000");
  EXPECT_EQ(Texts(TestCardText::StandardCard(facts, ""))[6], "EC: 0000");
  // The firmware line shows the second word: split at single blanks, so a
  // double blank makes it empty.
  for (const auto& [firmware, printer] : std::vector<std::pair<std::string, std::string>>{
           {"VKT32M\r", "PRINTER:VKT32M"}, {"", "PRINTER:"}, {"VKT32  V1", "PRINTER:VKT32"}}) {
    facts.frmVersion = firmware;
    const std::vector<std::string> lines = Texts(TestCardText::StandardCard(facts, ""));
    EXPECT_EQ(lines[1], printer) << firmware;
    EXPECT_EQ(lines[3], "Firmware:") << firmware;
  }
}

TEST(TestCardText, OddAndMissingEncoderAndParameterReplies) {
  auto encoder = [](const std::string& reply) { return Texts(TestCardText::EncoderCard(FixedFacts(), reply)); };
  std::vector<std::string> texts =
      encoder("TRACK 1 W:a2 R:q2 D:75 S:X TRACK 2 W:b1 R:r1 D:75 S:Y TRACK 3 W:C R:S D:75 S:Z L:85");
  EXPECT_EQ(
      std::vector<std::string>(texts.begin() + 1, texts.begin() + 9),
      (std::vector<std::string>{"TRACK  1  075  BPI", "W:<a2> R:<q2> S: X", "TRACK  2  075  BPI", "W:<b1> R:<r1> S: Y",
                                "TRACK  3  075  BPI", "W:<C> R:<S> S: Z", "Speed: Write:  Read: ", "Low Coercivity"}));
  texts = encoder("");
  EXPECT_EQ(texts.size(), 11u);
  EXPECT_EQ(std::vector<std::string>(texts.begin() + 1, texts.begin() + 3),
            (std::vector<std::string>{"TRACK  1  000  BPI", "W:<> R:<> S: "}));
  // Track 1 cut short, track 2 missing: each track reads only its own part.
  texts = encoder("TRACK 1 W:A R:Q TRACK 3 W:C R:S D:75 S:;\r");
  EXPECT_EQ(std::vector<std::string>(texts.begin() + 1, texts.begin() + 7),
            (std::vector<std::string>{"TRACK  1  000  BPI", "W:<A> R:<Q> S: ", "TRACK  2  000  BPI",
                                      "W:<> R:<> S: ", "TRACK  3  075  BPI", "W:<C> R:<S> S: ;"}));
  // The coercivity value is compared without its last character.
  for (const auto& [tail, shown] : std::vector<std::pair<std::string, std::string>>{{"CO:HIGH\x06", "High coercivity"},
                                                                                    {"CO:HIGH;", "High coercivity"},
                                                                                    {"CO:LOW\x06", "Low Coercivity"},
                                                                                    {"CO:HIGH", "Low Coercivity"},
                                                                                    {"", "Low Coercivity"}}) {
    EXPECT_EQ(encoder("TRACK 1 W:A L:85 W:1 R:2 " + tail)[8], shown) << tail;
  }

  ParameterCardReplies r;
  r.speeds = "MS 7\r";
  r.panelsAndErrors = {"!99"};
  texts = Texts(TestCardText::ParameterCard(FixedFacts(), r));
  EXPECT_EQ(std::vector<std::string>(texts.begin(), texts.begin() + 2),
            (std::vector<std::string>{"Print counter: !99", "Printer errors: "}));
  EXPECT_EQ(
      std::vector<std::string>(texts.begin() + 6, texts.begin() + 11),
      (std::vector<std::string>{"Ribbon brake:0", "Move speed:07", "Print speed:", "Black Comp. : ", "Line end:00"}));
  EXPECT_EQ(texts[3], "Black Cont/Speed:0-0L");
  EXPECT_EQ(texts[14], "Head No. :");
}

TEST(TestCardText, ReplyScanning) {
  // Any white space separates words, runs of it count once.
  EXPECT_EQ(TestCardText::ScanWords("  a\r\n b\tc", "%s %*s %s"), (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(TestCardText::ScanWords("a", "%s %s %s"), (std::vector<std::string>{"a", "", ""}));
  const std::pair<std::string, int> integers[] = {{"17\r", 17},
                                                  {" -5x", -5},
                                                  {"abc", 0},
                                                  {"99999999999999999999", 2147483647},
                                                  {"-99999999999999999999", -2147483647 - 1}};
  for (const auto& [text, value] : integers) EXPECT_EQ(TestCardText::LeadingInteger(text), value) << text;
  EXPECT_EQ(TestCardText::Printable("H0815\r\n\x06\x04"), "H0815");
  EXPECT_EQ(TestCardText::AfterColon("D:75"), "75");
  EXPECT_EQ(TestCardText::AfterColon("D75"), "");
}

}  // namespace
