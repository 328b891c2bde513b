// The test cards without a scheduler: the texts of the card lines for odd
// facts and replies; the drawn cards (the queries on the wire, the background
// chosen by card kind and colour, the whole card compared with the reference
// images in data/, made by this test with VKT_UPDATE_TESTCARD_REFERENCES=1 and
// looked at by a person); card images as PDF pages of the exact card size,
// the two sides merged into one file, and where the files go.
#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <fstream>

#include "TestCardPrinter.h"
#include "TestCardRenderer.h"
#include "TestCardSupport.h"
#include "TestCardText.h"

namespace {

using namespace testcard_support;

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
  const std::pair<std::string, std::string> firmwares[] = {
      {"VKT32M\r", "PRINTER:VKT32M"}, {"", "PRINTER:"}, {"VKT32  V1", "PRINTER:VKT32"}};
  for (const auto& [firmware, printer] : firmwares) {
    facts.frmVersion = firmware;
    const auto lines = TestCardText::StandardCard(facts, "");
    EXPECT_EQ(Texts(lines, 1, 2) + Texts(lines, 3, 4), printer + "Firmware:") << firmware;
  }
}

TEST(TestCardText, OddAndMissingEncoderAndParameterReplies) {
  // The track lines, the speeds and the coercivity of the encoder card.
  const std::pair<std::string, std::string> encoder[] = {
      // Track 1 cut short by track 2, track 3 missing: each track reads only its own part.
      {"TRACK 1 W:A TRACK 2 D:75 S:Y",
       "TRACK  1  000  BPI|W:<A> R:<> S: |TRACK  2  000  BPI|W:<75> R:<Y> S: |TRACK  3  000  BPI|W:<> R:<> S: "
       "|Speed: Write:  Read: |Low Coercivity"},
      // Track 2 missing.
      {"TRACK 1 W:A R:Q TRACK 3 W:C R:S D:75 S:;\r",
       "TRACK  1  000  BPI|W:<A> R:<Q> S: |TRACK  2  000  BPI|W:<> R:<> S: |TRACK  3  075  BPI|W:<C> R:<S> S: "
       ";|Speed: Write:  Read: |Low Coercivity"}};
  for (const auto& [reply, lines] : encoder) {
    const auto texts = TestCardText::EncoderCard(FixedFacts(), reply);
    EXPECT_EQ(Texts(texts, 1, 9) + std::to_string(texts.size()), lines + "11") << reply;
  }
  // The coercivity value is compared without its last character.
  const std::pair<std::string, std::string> coercivities[] = {
      // clang-format off
      {"CO:HIGH\x06", "High coercivity"},
      {"CO:HIGH;", "High coercivity"},
      {"CO:LOW\x06", "Low Coercivity"},
      {"CO:HIGH", "Low Coercivity"},
      {"", "Low Coercivity"},
      // clang-format on
  };
  for (const auto& [tail, shown] : coercivities)
    EXPECT_EQ(Texts(TestCardText::EncoderCard(FixedFacts(), "TRACK 1 W:A L:85 W:1 R:2 " + tail), 8, 9), shown) << tail;

  ParameterCardReplies r;
  r.speeds = "MS 7\r";
  r.panelsAndErrors = {"!99"};
  const auto texts = TestCardText::ParameterCard(FixedFacts(), r);
  EXPECT_EQ(Texts(texts, 0, 2) + Texts(texts, 3, 4), "Print counter: !99|Printer errors: Black Cont/Speed:0-0L");
  EXPECT_EQ(Texts(texts, 6, 11), "Ribbon brake:0|Move speed:07|Print speed:|Black Comp. : |Line end:00");
  EXPECT_EQ(Texts(texts, 14, 15), "Head No. :");
}

TEST(TestCardText, ReplyScanning) {
  // Any white space separates words, runs of it count once; numbers beyond
  // the int range are clamped.
  EXPECT_EQ(TestCardText::ScanWords("  a\r\n b\tc", "%s %*s %s"), (std::vector<std::string>{"a", "c"}));
  const std::pair<std::string, int> integers[] = {
      {"17\r", 17}, {" -5x", -5}, {"abc", 0}, {"99999999999999999999", INT_MAX}, {"-99999999999999999999", INT_MIN}};
  for (const auto& [text, value] : integers) EXPECT_EQ(TestCardText::LeadingInteger(text), value) << text;
}

TEST(TestCardRenderer, CardsAskTheirQueriesInOrderAndLookLikeTheirReferences) {
  const std::string parameterQueries = Query("!NL") + Query("!V 3") + Query("!V 16") + Query("!V 4") + Query("!V 17") +
                                       Query("+BR") + Query("$V") + Query("+DL") + Query("%HEAD");
  const std::tuple<int, int, std::string, std::string> cases[] = {
      {TestCardText::kStandardCard, 1, "StandardCardColor.png", Query("+EC")},
      {TestCardText::kStandardCard, 0, "StandardCardMono.png", Query("+EC")},
      {TestCardText::kParameterCard, 1, "ParameterCardColor.png", parameterQueries},
      {TestCardText::kEncoderCard, 0, "EncoderCardMono.png", Query("&V")}};
  for (const auto& [kind, flag, name, queries] : cases) {
    EmulatedPrinter printer;
    ASSERT_NE(printer.session, nullptr);
    const QImage card = TestCardRenderer(printer.session.get(), FixedFacts()).DrawTestCard(kind, flag);
    EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + queries) << name;
    const QString path = QString::fromStdString(VKT_TESTCARD_DATA_DIR "/" + name);
    ASSERT_TRUE(!std::getenv("VKT_UPDATE_TESTCARD_REFERENCES") || card.save(path, "PNG"));
    const QImage reference = QImage(path).convertToFormat(QImage::Format_RGB32);
    ASSERT_EQ(reference.size(), QSize(1024, 640)) << "missing reference " << name;
    EXPECT_LE(DifferentPixels(card, reference, 24), 600) << name;
    EXPECT_EQ(DifferentPixels(card, reference, 160), 0) << name;
  }
}

TEST(TestCardRenderer, FailingOrMissingPrinterLeavesTheValuesEmpty) {
  PrinterProfile profile = FixedProfile();
  profile.nakCommands["+EC"] = 0;
  EmulatedPrinter printer(profile);
  TestCardRenderer renderer(printer.session.get(), FixedFacts());
  EXPECT_EQ(renderer.GetPanelsPrintedAndPrinterError(), (std::vector<std::string>{"!1234", "2"}));
  EXPECT_EQ(renderer.QueryPrinter("+EC"), "");
  EXPECT_EQ(renderer.QueryPrinter("%HEAD"), "H0815\r");
  EXPECT_EQ(printer.FirstConnectionBytes(), kFlush + Query("!NL") + Query("+EC") + Query("%HEAD"));
  TestCardRenderer withoutPrinter(nullptr, FixedFacts());
  EXPECT_EQ(withoutPrinter.QueryPrinter("+EC"), "");
  // No picture for the flag: white where the pictures have their bars.
  QImage white(950, 122, QImage::Format_RGB32);
  white.fill(Qt::white);
  EXPECT_EQ(DifferentPixels(withoutPrinter.DrawStandaredTestCard(5).copy(40, 268, 950, 122), white, 5), 0);
  EXPECT_TRUE(withoutPrinter.DrawTestCard(3, 1).isNull());
}

TEST(TestCardRenderer, BackgroundChosenByKindAndColourFlag) {
  const std::tuple<int, int, std::string> cases[] = {
      // clang-format off
      {0, 1, "StandardCardColor.bmp"},
      {0, 0, "StandardCardMono.bmp"},
      {1, 1, "ParametersColorBackground.bmp"},
      {2, 1, "ParametersColorBackground.bmp"},
      {1, 0, "ParametersBlackBackground.bmp"},
      {2, 0, "ParametersBlackBackground.bmp"},
      {3, 1, ""},
      {-1, 0, ""},
      {0, 2, ""},
      {1, -1, ""},
      // clang-format on
  };
  // The colour pictures have colour (1), the monochrome ones none at all (0).
  for (const auto& [kind, flag, name] : cases) {
    EXPECT_EQ(TestCardRenderer::BackgroundName(kind, flag), name) << kind << "/" << flag;
    const QImage background = TestCardRenderer::DrawTestCardBackGround(kind, flag);
    const int coloured = ColouredPixels(background);
    EXPECT_EQ(background.isNull() ? -1 : coloured > 50000 ? 1 : coloured ? 2 : 0, name.empty() ? -1 : flag);
  }
}

TEST(TestCardPdf, SidesBecomeCardSizedPagesMergedFrontThenBackAndBrokenInputsWriteNothing) {
  ppd_test::ScratchDir dir;  // the product's temporary directory
  setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1);
  auto path = [&](const std::string& name) { return (dir.path() / name).string(); };
  EXPECT_EQ(TestCardPrinter::GetTempFileName("FrontImage.pdf"), path("FrontImage.pdf"));
  EXPECT_EQ(TestCardPrinter::GetTempFileName("/somewhere/else/TestCardPrint.pdf"), path("TestCardPrint.pdf"));

  // A black front, a colour back.
  QImage black(1024, 640, QImage::Format_RGB32);
  black.fill(Qt::black);
  const QImage colour = TestCardRenderer(nullptr, FixedFacts()).DrawStandaredTestCard(1);
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(black, path("black.pdf")));
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(colour, path("colour.pdf")));
  EXPECT_TRUE(RenderPdfPage(path("black.pdf"), 2, 72).isNull());
  ASSERT_TRUE(TestCardPrinter::MergePdf(path("black.pdf"), path("colour.pdf"), path("merged.pdf")));
  // 10 pixels per point: 245.8 x 153.6 points each.
  const QImage front = RenderPdfPage(path("merged.pdf"), 1, 720), back = RenderPdfPage(path("merged.pdf"), 2, 720);
  ASSERT_EQ(front.size(), QSize(2458, 1536));
  EXPECT_EQ(back.size(), QSize(2458, 1536));
  EXPECT_TRUE(RenderPdfPage(path("merged.pdf"), 3, 72).isNull());
  EXPECT_GT(ColouredPixels(back), 300000);
  // The picture hangs 1 point below the top, fitted to the height (152.6
  // points) and centred across: left margin 1 point plus 0.32 of centring,
  // right end at 245.48 points.
  std::string dark;
  for (const auto& [x, y] : {std::pair{1000, 5}, {1000, 15}, {1000, 1532}, {8, 700}, {18, 700}, {2450, 700}})
    dark += qRed(front.pixel(x, y)) < 64 ? '+' : '-';
  EXPECT_EQ(dark, "-++-++");

  std::ofstream(path("broken.pdf")) << "%PDF-1.4\nthis is not a PDF\n";
  EXPECT_FALSE(TestCardPrinter::MergePdf(path("black.pdf"), path("broken.pdf"), path("out.pdf")));
  EXPECT_FALSE(TestCardPrinter::MergePdf(path("black.pdf"), path("missing.pdf"), path("out.pdf")));
  EXPECT_FALSE(TestCardPrinter::SaveImageAsPdf(QImage(), path("empty.pdf")));
  EXPECT_FALSE(TestCardPrinter::SaveImageAsPdf(black, path("no/such/dir/x.pdf")));
  EXPECT_FALSE(std::filesystem::exists(path("out.pdf")) || std::filesystem::exists(path("empty.pdf")));
}

}  // namespace
