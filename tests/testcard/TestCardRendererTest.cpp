// Drawn test cards: the queries on the wire, the background chosen by card
// kind and colour, where the text lands, and the whole card compared with
// the reference images in data/ (made by this test with
// VKT_UPDATE_TESTCARD_REFERENCES=1 and looked at by a person).
#include "TestCardRenderer.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "TestCardSupport.h"
#include "TestCardText.h"

namespace {

using namespace testcard_support;

TEST(TestCardQueries, StandardCardAsksForTheEdgeCount) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  EXPECT_FALSE(renderer.DrawStandaredTestCard(1).isNull());
  EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + Query("+EC"));
}

TEST(TestCardQueries, EncoderCardAsksForTheEncoderSettings) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  EXPECT_FALSE(renderer.DrawEncoderTestCard(0).isNull());
  EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + Query("&V"));
}

TEST(TestCardQueries, ParameterCardAsksItsNineQueriesInOrder) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  EXPECT_FALSE(renderer.DrawParameterTestCard(1).isNull());
  EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + Query("!NL") + Query("!V 3") + Query("!V 16") + Query("!V 4") +
                                                Query("!V 17") + Query("+BR") + Query("$V") + Query("+DL") +
                                                Query("%HEAD"));
}

TEST(TestCardQueries, PanelsAndErrorsSplitFromTheReply) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  EXPECT_EQ(renderer.GetPanelsPrintedAndPrinterError(), (std::vector<std::string>{"!1234", "2"}));
  EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + Query("!NL"));
}

TEST(TestCardQueries, SilentOrFailingPrinterLeavesTheValuesEmpty) {
  PrinterProfile profile = FixedProfile();
  profile.nakCommands["+EC"] = 0;
  EmulatedPrinter printer(profile);
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  EXPECT_EQ(renderer.QueryPrinter("+EC"), "");
  EXPECT_EQ(renderer.QueryPrinter("%HEAD"), "H0815\r");

  TestCardRenderer withoutPrinter(nullptr, FixedFacts());
  EXPECT_EQ(withoutPrinter.QueryPrinter("+EC"), "");
  EXPECT_EQ(withoutPrinter.DrawStandaredTestCard(1).size(), QSize(1024, 640));
}

TEST(TestCardBackground, ChosenByKindAndColourFlag) {
  EXPECT_EQ(TestCardRenderer::BackgroundName(0, 1), "StandardCardColor.bmp");
  EXPECT_EQ(TestCardRenderer::BackgroundName(0, 0), "StandardCardMono.bmp");
  EXPECT_EQ(TestCardRenderer::BackgroundName(1, 1), "ParametersColorBackground.bmp");
  EXPECT_EQ(TestCardRenderer::BackgroundName(2, 1), "ParametersColorBackground.bmp");
  EXPECT_EQ(TestCardRenderer::BackgroundName(1, 0), "ParametersBlackBackground.bmp");
  EXPECT_EQ(TestCardRenderer::BackgroundName(2, 0), "ParametersBlackBackground.bmp");
  for (int kind : {0, 1, 2}) {
    for (int flag : {0, 1}) {
      const QImage picture = TestCardRenderer::DrawTestCardBackGround(kind, flag);
      EXPECT_EQ(picture.size(), QSize(1024, 640)) << kind << "/" << flag;
      // The colour pictures have colour, the monochrome ones none at all.
      const int coloured = ColouredPixels(picture, picture.rect());
      if (flag == 1)
        EXPECT_GT(coloured, 50000) << kind;
      else
        EXPECT_EQ(coloured, 0) << kind;
    }
  }
  EXPECT_TRUE(TestCardRenderer::DrawTestCardBackGround(3, 1).isNull());
  EXPECT_TRUE(TestCardRenderer::DrawTestCardBackGround(-1, 0).isNull());
  EXPECT_TRUE(TestCardRenderer::DrawTestCardBackGround(0, 2).isNull());
  EXPECT_TRUE(TestCardRenderer::DrawTestCardBackGround(1, -1).isNull());
}

TEST(TestCardBackground, EachCardIsDrawnOnItsPicture) {
  TestCardRenderer renderer(nullptr, FixedFacts());
  // Areas no line of the card writes on show the picture unchanged.
  const QRect standardFree = CardRect(40, 250, 990, 372);      // colour bars / grey steps
  const QRect parameterFree = CardRect(20, 40, 300, 600);      // the left panel
  for (int flag : {0, 1}) {
    const QImage standard = renderer.DrawStandaredTestCard(flag);
    EXPECT_EQ(DifferentPixels(standard, TestCardRenderer::DrawTestCardBackGround(0, flag), standardFree, 0), 0);
    const QImage parameter = renderer.DrawParameterTestCard(flag);
    const QImage encoder = renderer.DrawEncoderTestCard(flag);
    const QImage picture = TestCardRenderer::DrawTestCardBackGround(1, flag);
    EXPECT_EQ(DifferentPixels(parameter, picture, parameterFree, 0), 0);
    EXPECT_EQ(DifferentPixels(encoder, picture, parameterFree, 0), 0);
    EXPECT_EQ(ColouredPixels(standard, standard.rect()) > 0, flag == 1);
    EXPECT_EQ(ColouredPixels(parameter, parameter.rect()) > 0, flag == 1);
  }
  // No picture for the flag: a white card with the text alone.
  const QImage blank = renderer.DrawStandaredTestCard(5);
  EXPECT_EQ(blank.size(), QSize(1024, 640));
  EXPECT_EQ(DarkPixels(blank, CardRect(0, 250, 1024, 372), 250), 0);
  EXPECT_GT(DarkPixels(blank, CardRect(45, 544, 700, 580)), 1000);
  EXPECT_TRUE(renderer.DrawTestCard(3, 1).isNull());
}

TEST(TestCardTextPlacement, StandardLinesSitOnTheirBaselines) {
  TestCardRenderer renderer(nullptr, FixedFacts());
  const QImage card = renderer.DrawStandaredTestCard(5);  // white: only text is dark
  // "PLASTIC CARD PRINTER", 50 units from (45, 544): capitals rise about 36
  // units above the baseline and nothing hangs below it.
  EXPECT_GT(DarkPixels(card, CardRect(45, 544, 700, 580)), 3000);
  EXPECT_EQ(DarkPixels(card, CardRect(45, 530, 700, 543)), 0);
  EXPECT_EQ(DarkPixels(card, CardRect(0, 582, 1024, 640)), 0);
  EXPECT_EQ(DarkPixels(card, CardRect(0, 0, 44, 640)), 0);
  // "EC: 0017" from (805, 80); "Print counter: 00001234" from (630, 50).
  EXPECT_GT(DarkPixels(card, CardRect(805, 80, 930, 99)), 300);
  EXPECT_EQ(DarkPixels(card, CardRect(630, 70, 800, 99)), 0);
  EXPECT_GT(DarkPixels(card, CardRect(630, 50, 930, 69)), 600);
  EXPECT_EQ(DarkPixels(card, CardRect(0, 0, 1024, 49)), 0);
}

TEST(TestCardTextPlacement, RotatedLinesRunDownTheCard) {
  TestCardRenderer renderer(nullptr, FixedFacts());
  const QImage card = renderer.DrawParameterTestCard(5);
  // After the quarter turn (-570, 320) is the point (320, 570) of the card:
  // the version text runs downwards from there, its letters standing
  // rightwards of x = 320.
  EXPECT_GT(DarkPixels(card, CardRect(320, 150, 340, 570)), 1000);
  EXPECT_EQ(DarkPixels(card, CardRect(296, 0, 319, 640)), 0);
  EXPECT_EQ(DarkPixels(card, CardRect(320, 571, 340, 640)), 0);
  // "Serial No. :S32000001" from (920, 530), "Head No. :H0815" from (890, 490).
  EXPECT_GT(DarkPixels(card, CardRect(920, 200, 948, 530)), 1500);
  EXPECT_EQ(DarkPixels(card, CardRect(920, 532, 960, 640)), 0);
  EXPECT_GT(DarkPixels(card, CardRect(890, 300, 916, 490)), 1000);
  EXPECT_EQ(DarkPixels(card, CardRect(950, 0, 1024, 640)), 0);
}

// The whole card against its reference image. Font rasterisation may move
// the edge of a glyph by a shade, so a few pixels may differ a little.
void ExpectLikeReference(const QImage& card, const std::string& name) {
  const std::string path = DataDir() + "/" + name;
  if (std::getenv("VKT_UPDATE_TESTCARD_REFERENCES") != nullptr) {
    ASSERT_TRUE(card.save(QString::fromStdString(path), "PNG")) << path;
  }
  const QImage reference = QImage(QString::fromStdString(path)).convertToFormat(QImage::Format_RGB32);
  ASSERT_FALSE(reference.isNull()) << "missing reference " << path;
  ASSERT_EQ(reference.size(), card.size());
  EXPECT_LE(DifferentPixels(card, reference, card.rect(), 24), 600) << name;
  EXPECT_EQ(DifferentPixels(card, reference, card.rect(), 160), 0) << name;
}

TEST(TestCardReference, StandardColour) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  ExpectLikeReference(renderer.DrawStandaredTestCard(1), "StandardCardColor.png");
}

TEST(TestCardReference, StandardMonochrome) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  ExpectLikeReference(renderer.DrawStandaredTestCard(0), "StandardCardMono.png");
}

TEST(TestCardReference, ParameterColour) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  ExpectLikeReference(renderer.DrawParameterTestCard(1), "ParameterCardColor.png");
}

TEST(TestCardReference, EncoderMonochrome) {
  EmulatedPrinter printer;
  ASSERT_TRUE(printer.Started());
  TestCardRenderer renderer(&printer.Session(), FixedFacts());
  ExpectLikeReference(renderer.DrawEncoderTestCard(0), "EncoderCardMono.png");
}

}  // namespace
