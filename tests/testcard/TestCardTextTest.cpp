// The texts of the test-card lines for odd facts and replies (no drawing
// involved; the fixed printer's cards are compared whole with reference
// images in the renderer's test).
#include <gtest/gtest.h>

#include "TestCardSupport.h"
#include "TestCardText.h"

namespace {

using testcard_support::FixedFacts;

// The texts of lines [from, to) joined by "|".
std::string Texts(const std::vector<TestCardLine>& lines, size_t from, size_t to) {
  std::string text;
  for (size_t i = from; i < to && i < lines.size(); ++i) text += (i == from ? "" : "|") + lines[i].text;
  return text;
}

TEST(TestCardText, OddFactsAndRepliesOnTheStandardCard) {
  TestCardFacts facts = FixedFacts();
  facts.pOffset = {-4, 99, 123, 5};
  facts.PannelPrinted = "None";
  EXPECT_EQ(Texts(TestCardText::StandardCard(facts, "  42abc"), 5, 8),
            "Offset X:-4/99 Y:123/05|EC: 0042|Print counter: 00000000");
  EXPECT_EQ(Texts(TestCardText::StandardCard(facts, ""), 6, 7), "EC: 0000");
  // The firmware line shows the second word: split at single blanks, so a
  // double blank makes it empty.
  for (const auto& [firmware, printer] : std::vector<std::pair<std::string, std::string>>{
           {"VKT32M\r", "PRINTER:VKT32M"}, {"", "PRINTER:"}, {"VKT32  V1", "PRINTER:VKT32"}}) {
    facts.frmVersion = firmware;
    const auto lines = TestCardText::StandardCard(facts, "");
    EXPECT_EQ(Texts(lines, 1, 2) + Texts(lines, 3, 4), printer + "Firmware:") << firmware;
  }
}

TEST(TestCardText, OddAndMissingEncoderAndParameterReplies) {
  // The track lines, the speeds and the coercivity of the encoder card.
  const std::pair<std::string, std::string> encoder[] = {
      {"TRACK 1 W:a2 R:q2 D:75 S:X TRACK 2 W:b1 R:r1 D:75 S:Y TRACK 3 W:C R:S D:75 S:Z L:85",
       "TRACK  1  075  BPI|W:<a2> R:<q2> S: X|TRACK  2  075  BPI|W:<b1> R:<r1> S: Y|TRACK  3  075  BPI|W:<C> R:<S> "
       "S: Z|Speed: Write:  Read: |Low Coercivity"},
      {"",
       "TRACK  1  000  BPI|W:<> R:<> S: |TRACK  2  000  BPI|W:<> R:<> S: |TRACK  3  000  BPI|W:<> R:<> S: "
       "|Speed: Write:  Read: |Low Coercivity"},
      // Track 1 cut short, track 2 missing: each track reads only its own part.
      {"TRACK 1 W:A R:Q TRACK 3 W:C R:S D:75 S:;\r",
       "TRACK  1  000  BPI|W:<A> R:<Q> S: |TRACK  2  000  BPI|W:<> R:<> S: |TRACK  3  075  BPI|W:<C> R:<S> S: "
       ";|Speed: Write:  Read: |Low Coercivity"}};
  for (const auto& [reply, lines] : encoder) {
    const auto texts = TestCardText::EncoderCard(FixedFacts(), reply);
    EXPECT_EQ(texts.size(), 11u);
    EXPECT_EQ(Texts(texts, 1, 9), lines) << reply;
  }
  // The coercivity value is compared without its last character.
  for (const auto& [tail, shown] : std::vector<std::pair<std::string, std::string>>{{"CO:HIGH\x06", "High coercivity"},
                                                                                    {"CO:HIGH;", "High coercivity"},
                                                                                    {"CO:LOW\x06", "Low Coercivity"},
                                                                                    {"CO:HIGH", "Low Coercivity"},
                                                                                    {"", "Low Coercivity"}}) {
    EXPECT_EQ(Texts(TestCardText::EncoderCard(FixedFacts(), "TRACK 1 W:A L:85 W:1 R:2 " + tail), 8, 9), shown) << tail;
  }

  ParameterCardReplies r;
  r.speeds = "MS 7\r";
  r.panelsAndErrors = {"!99"};
  const auto texts = TestCardText::ParameterCard(FixedFacts(), r);
  EXPECT_EQ(Texts(texts, 0, 2), "Print counter: !99|Printer errors: ");
  EXPECT_EQ(Texts(texts, 3, 4), "Black Cont/Speed:0-0L");
  EXPECT_EQ(Texts(texts, 6, 11), "Ribbon brake:0|Move speed:07|Print speed:|Black Comp. : |Line end:00");
  EXPECT_EQ(Texts(texts, 14, 15), "Head No. :");
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
