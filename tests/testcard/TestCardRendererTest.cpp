// Drawn test cards: the queries on the wire, the background chosen by card
// kind and colour, and the whole card compared with the reference images in
// data/ (made by this test with VKT_UPDATE_TESTCARD_REFERENCES=1 and looked
// at by a person).
#include <gtest/gtest.h>

#include <cstdlib>

#include "TestCardRenderer.h"
#include "TestCardSupport.h"
#include "TestCardText.h"

namespace {

using namespace testcard_support;

TEST(TestCardRenderer, EachCardAsksItsQueriesInOrder) {
  const std::pair<int, std::string> cases[] = {
      {TestCardText::kStandardCard, Query("+EC")},
      {TestCardText::kEncoderCard, Query("&V")},
      {TestCardText::kParameterCard, Query("!NL") + Query("!V 3") + Query("!V 16") + Query("!V 4") + Query("!V 17") +
                                         Query("+BR") + Query("$V") + Query("+DL") + Query("%HEAD")}};
  for (const auto& [kind, queries] : cases) {
    EmulatedPrinter printer;
    ASSERT_NE(printer.session, nullptr);
    TestCardRenderer renderer(printer.session.get(), FixedFacts());
    EXPECT_EQ(renderer.DrawTestCard(kind, 1).size(), QSize(1024, 640));
    EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + queries) << kind;
  }
  EmulatedPrinter printer;
  TestCardRenderer renderer(printer.session.get(), FixedFacts());
  EXPECT_EQ(renderer.GetPanelsPrintedAndPrinterError(), (std::vector<std::string>{"!1234", "2"}));
  EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + Query("!NL"));
}

TEST(TestCardRenderer, FailingOrMissingPrinterLeavesTheValuesEmpty) {
  PrinterProfile profile = FixedProfile();
  profile.nakCommands["+EC"] = 0;
  EmulatedPrinter printer(profile);
  TestCardRenderer renderer(printer.session.get(), FixedFacts());
  EXPECT_EQ(renderer.QueryPrinter("+EC"), "");
  EXPECT_EQ(renderer.QueryPrinter("%HEAD"), "H0815\r");
  TestCardRenderer withoutPrinter(nullptr, FixedFacts());
  EXPECT_EQ(withoutPrinter.QueryPrinter("+EC"), "");
  // No picture for the flag: white where the pictures have their bars.
  QImage white(1024, 640, QImage::Format_RGB32);
  white.fill(Qt::white);
  EXPECT_EQ(DifferentPixels(withoutPrinter.DrawStandaredTestCard(5), white, QRect(40, 268, 950, 122), 5), 0);
  EXPECT_TRUE(withoutPrinter.DrawTestCard(3, 1).isNull());
}

TEST(TestCardRenderer, BackgroundChosenByKindAndColourFlag) {
  const struct {
    int kind, flag;
    std::string name;
  } cases[] = {{0, 1, "StandardCardColor.bmp"},         {0, 0, "StandardCardMono.bmp"},
               {1, 1, "ParametersColorBackground.bmp"}, {2, 1, "ParametersColorBackground.bmp"},
               {1, 0, "ParametersBlackBackground.bmp"}, {2, 0, "ParametersBlackBackground.bmp"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name + std::to_string(c.kind));
    EXPECT_EQ(TestCardRenderer::BackgroundName(c.kind, c.flag), c.name);
    // The colour pictures have colour, the monochrome ones none at all.
    const int coloured = ColouredPixels(TestCardRenderer::DrawTestCardBackGround(c.kind, c.flag));
    EXPECT_TRUE(c.flag ? coloured > 50000 : coloured == 0) << coloured;
  }
  for (const auto& [kind, flag] : {std::pair{3, 1}, {-1, 0}, {0, 2}, {1, -1}})
    EXPECT_TRUE(TestCardRenderer::DrawTestCardBackGround(kind, flag).isNull()) << kind << "/" << flag;
}

// The whole card against its reference image. Font rasterisation may move
// the edge of a glyph by a shade, so a few pixels may differ a little.
TEST(TestCardRenderer, CardsLookLikeTheirReferences) {
  const std::tuple<int, int, std::string> cases[] = {{TestCardText::kStandardCard, 1, "StandardCardColor.png"},
                                                     {TestCardText::kStandardCard, 0, "StandardCardMono.png"},
                                                     {TestCardText::kParameterCard, 1, "ParameterCardColor.png"},
                                                     {TestCardText::kEncoderCard, 0, "EncoderCardMono.png"}};
  for (const auto& [kind, flag, name] : cases) {
    EmulatedPrinter printer;
    const QImage card = TestCardRenderer(printer.session.get(), FixedFacts()).DrawTestCard(kind, flag);
    const std::string path = DataDir() + "/" + name;
    if (std::getenv("VKT_UPDATE_TESTCARD_REFERENCES") != nullptr) {
      ASSERT_TRUE(card.save(QString::fromStdString(path), "PNG")) << path;
    }
    const QImage reference = QImage(QString::fromStdString(path)).convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(reference.size(), card.size()) << "missing reference " << path;
    EXPECT_LE(DifferentPixels(card, reference, card.rect(), 24), 600) << name;
    EXPECT_EQ(DifferentPixels(card, reference, card.rect(), 160), 0) << name;
  }
}

}  // namespace
