// The texts, sizes and positions of the test-card lines, formed from the
// printer facts and the printer's replies (no drawing involved).
#include "TestCardText.h"

#include <gtest/gtest.h>

#include "TestCardSupport.h"

namespace {

using testcard_support::FixedFacts;

std::vector<std::string> Texts(const std::vector<TestCardLine>& lines) {
  std::vector<std::string> texts;
  for (const auto& line : lines) texts.push_back(line.text);
  return texts;
}

// The replies of the fixed printer as ReadFromPrinter hands them over:
// trimmed of blanks only, so the CR (and the ACK of "!NL") are still there.
ParameterCardReplies FixedReplies() {
  ParameterCardReplies r;
  r.panelsAndErrors = TestCardText::SplitAtBlanks(TestCardText::Printable("!1234 2\x06"));
  r.blackContrast = "5\r";
  r.blackSpeed = "3\r";
  r.varnishContrast = "4\r";
  r.varnishSpeed = "2\r";
  r.ribbonBrake = "12 0\r";
  r.speeds = "MS 5 3 0 0 0 0 0 0 10 8\r";
  r.lineEnd = "12\r";
  r.headNumber = "H0815\r";
  return r;
}

const std::string kEncoderReply =
    "TRACK 1 W:A R:Q D:210 S:% TRACK 2 W:B R:R D:75 S:; TRACK 3 W:C R:S D:210 S:; L:85 W:12 R:10 CO:HIGH\x06";

TEST(StandardCardText, EveryLineWithItsSizeAndPlace) {
  const std::vector<TestCardLine> expected = {
      {"PLASTIC CARD PRINTER", 50, 45, 544},
      {"PRINTER:VKT32-M", 45, 45, 493},
      {"Serial No:S32000001", 35, 45, 447},
      {"Firmware:V1.02.03.016", 35, 45, 401},
      {"Head resistence:2950", 25, 650, 140},
      {"Offset X:03/07 Y:00/12", 25, 650, 110},
      {"EC: 0017", 25, 805, 80},
      {"Print counter: 00001234", 25, 630, 50},
  };
  EXPECT_EQ(TestCardText::StandardCard(FixedFacts(), "17\r"), expected);
}

TEST(StandardCardText, OffsetsAreTwoDigitsInStoredOrder) {
  TestCardFacts facts = FixedFacts();
  facts.pOffset = {3, 7, 0, 12};
  EXPECT_EQ(TestCardText::OffsetLine(facts), "Offset X:03/07 Y:00/12");
  facts.pOffset = {-4, 99, 123, 5};
  EXPECT_EQ(TestCardText::OffsetLine(facts), "Offset X:-4/99 Y:123/05");
}

TEST(StandardCardText, FirmwareWithoutSecondWordPrintsEmptyVersion) {
  TestCardFacts facts = FixedFacts();
  facts.frmVersion = "VKT32M\r";
  std::vector<std::string> texts = Texts(TestCardText::StandardCard(facts, ""));
  EXPECT_EQ(texts[1], "PRINTER:VKT32M");
  EXPECT_EQ(texts[3], "Firmware:");
  facts.frmVersion = "";
  texts = Texts(TestCardText::StandardCard(facts, ""));
  EXPECT_EQ(texts[1], "PRINTER:");
  EXPECT_EQ(texts[3], "Firmware:");
  // Split at single blanks: a double blank makes the second word empty.
  facts.frmVersion = "VKT32  V1";
  EXPECT_EQ(Texts(TestCardText::StandardCard(facts, ""))[3], "Firmware:");
}

TEST(StandardCardText, CountersFromMissingOrFailedReplies) {
  TestCardFacts facts = FixedFacts();
  facts.PannelPrinted = "None";
  const std::vector<std::string> texts = Texts(TestCardText::StandardCard(facts, ""));
  EXPECT_EQ(texts[6], "EC: 0000");
  EXPECT_EQ(texts[7], "Print counter: 00000000");
  EXPECT_EQ(Texts(TestCardText::StandardCard(facts, "  42abc"))[6], "EC: 0042");
}

TEST(EncoderCardText, EveryLineWithItsSizeAndPlace) {
  const std::vector<TestCardLine> expected = {
      {"Standard Mode", 42, 450, 540},
      {"TRACK  1  210  BPI", 45, 400, 350},
      {"W:<A> R:<Q> S: %", 30, 455, 310},
      {"TRACK  2  075  BPI", 45, 400, 260},
      {"W:<B> R:<R> S: ;", 30, 455, 220},
      {"TRACK  3  210  BPI", 45, 400, 170},
      {"W:<C> R:<S> S: ;", 30, 455, 130},
      // Write shows the second word after "L:85", Read the first.
      {"Speed: Write: 10 Read: 12", 30, 400, 415},
      {"High coercivity", 42, 450, 470},
      {"Version number:VKT32-M V1.02.03.016", 30, -570, 320, true},
      {"Serial No:S32000001", 30, -530, 920, true},
  };
  EXPECT_EQ(TestCardText::EncoderCard(FixedFacts(), kEncoderReply), expected);
}

TEST(EncoderCardText, DensityOf75PrintsAs075) {
  const std::string reply = "TRACK 1 W:a2 R:q2 D:75 S:X TRACK 2 W:b1 R:r1 D:75 S:Y TRACK 3 W:C R:S D:75 S:Z L:85";
  const std::vector<std::string> texts = Texts(TestCardText::EncoderCard(FixedFacts(), reply));
  EXPECT_EQ(texts[1], "TRACK  1  075  BPI");
  EXPECT_EQ(texts[2], "W:<a2> R:<q2> S: X");
  EXPECT_EQ(texts[3], "TRACK  2  075  BPI");
  EXPECT_EQ(texts[5], "TRACK  3  075  BPI");
  EXPECT_EQ(texts[6], "W:<C> R:<S> S: Z");
}

TEST(EncoderCardText, CoercivityComparesTheValueWithoutItsLastCharacter) {
  auto coercivity = [](const std::string& tail) {
    return Texts(TestCardText::EncoderCard(FixedFacts(), "TRACK 1 W:A L:85 W:1 R:2 " + tail))[8];
  };
  EXPECT_EQ(coercivity("CO:HIGH\x06"), "High coercivity");
  EXPECT_EQ(coercivity("CO:HIGH;"), "High coercivity");
  EXPECT_EQ(coercivity("CO:LOW\x06"), "Low Coercivity");
  // Without a character after it the value reads "HIG".
  EXPECT_EQ(coercivity("CO:HIGH"), "Low Coercivity");
  EXPECT_EQ(coercivity(""), "Low Coercivity");
}

TEST(EncoderCardText, MissingOrShortReplyPrintsEmptyFields) {
  std::vector<std::string> texts = Texts(TestCardText::EncoderCard(FixedFacts(), ""));
  EXPECT_EQ(texts[1], "TRACK  1  000  BPI");
  EXPECT_EQ(texts[2], "W:<> R:<> S: ");
  EXPECT_EQ(texts[7], "Speed: Write:  Read: ");
  EXPECT_EQ(texts[8], "Low Coercivity");
  EXPECT_EQ(texts.size(), 11u);

  // Track 1 cut short, track 2 missing: each track reads only its own part.
  texts = Texts(TestCardText::EncoderCard(FixedFacts(), "TRACK 1 W:A R:Q TRACK 3 W:C R:S D:75 S:;\r"));
  EXPECT_EQ(texts[1], "TRACK  1  000  BPI");
  EXPECT_EQ(texts[2], "W:<A> R:<Q> S: ");
  EXPECT_EQ(texts[3], "TRACK  2  000  BPI");
  EXPECT_EQ(texts[5], "TRACK  3  075  BPI");
  EXPECT_EQ(texts[6], "W:<C> R:<S> S: ;");
}

TEST(ParameterCardText, EveryLineWithItsSizeAndPlace) {
  const std::vector<TestCardLine> expected = {
      {"Print counter: !1234", 30, 400, 500},
      {"Printer errors: 2", 30, 400, 460},
      {"Head resistence: 2950", 30, 400, 420},
      {"Black Cont/Speed:05-03L", 30, 400, 380},
      {"Varnish Cont/Speed:04-02", 30, 400, 340},
      {"Offset X:03/07 Y:00/12", 30, 400, 300},
      {"Ribbon brake:012", 30, 400, 260},
      {"Move speed:05", 30, 400, 220},
      {"Print speed:3", 30, 400, 180},
      {"Black Comp. :10 8", 30, 400, 140},
      {"Line end:0012", 30, 320, 55},
      {"Ribbon:YMCKO image", 30, 540, 55},
      {"Version number:VKT32-M V1.02.03.016", 25, -570, 320, true},
      {"Serial No. :S32000001", 35, -530, 920, true},
      {"Head No. :H0815", 35, -490, 890, true},
  };
  EXPECT_EQ(TestCardText::ParameterCard(FixedFacts(), FixedReplies()), expected);
}

TEST(ParameterCardText, ShortAndMissingReplies) {
  ParameterCardReplies r;
  r.speeds = "MS 7\r";
  r.ribbonBrake = "";
  r.panelsAndErrors = {"!99"};
  const std::vector<std::string> texts = Texts(TestCardText::ParameterCard(FixedFacts(), r));
  EXPECT_EQ(texts[0], "Print counter: !99");
  EXPECT_EQ(texts[1], "Printer errors: ");
  EXPECT_EQ(texts[3], "Black Cont/Speed:0-0L");
  EXPECT_EQ(texts[6], "Ribbon brake:0");
  EXPECT_EQ(texts[7], "Move speed:07");
  EXPECT_EQ(texts[8], "Print speed:");
  EXPECT_EQ(texts[9], "Black Comp. : ");
  EXPECT_EQ(texts[10], "Line end:00");
  EXPECT_EQ(texts[14], "Head No. :");
}

TEST(ReplyScanning, WordsLikeSscanf) {
  EXPECT_EQ(TestCardText::ScanWords("MS 5 3 0 0 0 0 0 0 10 8\r", "%*s %s %s %*s %*s %*s %*s %*s %*s %s %s"),
            (std::vector<std::string>{"5", "3", "10", "8"}));
  // Any white space separates words, runs of it count once.
  EXPECT_EQ(TestCardText::ScanWords("  a\r\n b\tc", "%s %*s %s"), (std::vector<std::string>{"a", "c"}));
  EXPECT_EQ(TestCardText::ScanWords("a", "%s %s %s"), (std::vector<std::string>{"a", "", ""}));
  EXPECT_EQ(TestCardText::SplitAtBlanks("12 0"), (std::vector<std::string>{"12", "0"}));
  EXPECT_EQ(TestCardText::SplitAtBlanks("a  b"), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_EQ(TestCardText::SplitAtBlanks(""), (std::vector<std::string>{""}));
}

TEST(ReplyScanning, LeadingIntegerAndPrintableText) {
  EXPECT_EQ(TestCardText::LeadingInteger("17\r"), 17);
  EXPECT_EQ(TestCardText::LeadingInteger(" -5x"), -5);
  EXPECT_EQ(TestCardText::LeadingInteger("abc"), 0);
  EXPECT_EQ(TestCardText::LeadingInteger("99999999999999999999"), 2147483647);
  EXPECT_EQ(TestCardText::LeadingInteger("-99999999999999999999"), -2147483647 - 1);
  EXPECT_EQ(TestCardText::Printable("H0815\r\n\x06\x04"), "H0815");
  EXPECT_EQ(TestCardText::AfterColon("D:75"), "75");
  EXPECT_EQ(TestCardText::AfterColon("D75"), "");
}

}  // namespace
