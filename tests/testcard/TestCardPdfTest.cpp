// Card images as PDF pages of the exact card size, the two sides merged into
// one file, and where the files go.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "TestCardPrinter.h"
#include "TestCardRenderer.h"
#include "TestCardSupport.h"

namespace {

using namespace testcard_support;

// Points the product's temporary directory at a fresh folder.
class TestCardPdf : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir_.Path().empty());
    const char* old = std::getenv("XDG_RUNTIME_DIR");
    if (old != nullptr) oldRuntimeDir_ = old;
    setenv("XDG_RUNTIME_DIR", dir_.Path().c_str(), 1);
  }
  void TearDown() override {
    if (oldRuntimeDir_)
      setenv("XDG_RUNTIME_DIR", oldRuntimeDir_->c_str(), 1);
    else
      unsetenv("XDG_RUNTIME_DIR");
  }
  std::string Path(const std::string& name) const { return dir_.Path() + name; }

  ScopedTemporaryDirectory dir_;
  std::optional<std::string> oldRuntimeDir_;
};

TEST_F(TestCardPdf, TemporaryFileNamesUseTheLastPathComponent) {
  EXPECT_EQ(TestCardPrinter::GetTempFileName("FrontImage.pdf"), Path("FrontImage.pdf"));
  EXPECT_EQ(TestCardPrinter::GetTempFileName("/somewhere/else/TestCardPrint.pdf"), Path("TestCardPrint.pdf"));
}

TEST_F(TestCardPdf, OnePageOfTheExactCardSize) {
  TestCardRenderer renderer(nullptr, FixedFacts());
  const std::string path = Path("FrontImage.pdf");
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), path));
  const std::vector<PdfPageInfo> pages = PdfPages(path);
  ASSERT_EQ(pages.size(), 1u);
  EXPECT_EQ(pages[0].mediaBox, "[ 0 0 245.8 153.6 ]");
  EXPECT_DOUBLE_EQ(pages[0].width, 245.8);
  EXPECT_DOUBLE_EQ(pages[0].height, 153.6);
}

TEST_F(TestCardPdf, PictureHangsFromTheTopLeftMargin) {
  // A black card on the page: 1 point clear at the top, fitted to the
  // height (152.6 points) and centred across.
  QImage black(1024, 640, QImage::Format_RGB32);
  black.fill(Qt::black);
  const std::string path = Path("black.pdf");
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(black, path));
  const QImage page = RenderPdfPage(path, 1, 720);  // 10 pixels per point
  ASSERT_EQ(page.size(), QSize(2458, 1536));
  auto dark = [&](int x, int y) { return qRed(page.pixel(x, y)) < 64; };
  EXPECT_FALSE(dark(1000, 5));     // inside the top margin
  EXPECT_TRUE(dark(1000, 15));     // just below it
  EXPECT_TRUE(dark(1000, 1532));   // reaches the bottom edge
  EXPECT_FALSE(dark(8, 700));      // left margin: 1 point plus 0.32 of centring
  EXPECT_TRUE(dark(18, 700));
  EXPECT_TRUE(dark(2450, 700));    // right end at 245.48 points
}

TEST_F(TestCardPdf, MergedFileHoldsFrontThenBack) {
  TestCardRenderer renderer(nullptr, FixedFacts());
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), Path("FrontImage.pdf")));
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(0), Path("BackImage.pdf")));
  const std::string merged = Path("TestCardPrint.pdf");
  ASSERT_TRUE(TestCardPrinter::MergePdf(Path("FrontImage.pdf"), Path("BackImage.pdf"), merged));
  const std::vector<PdfPageInfo> pages = PdfPages(merged);
  ASSERT_EQ(pages.size(), 2u);
  for (const PdfPageInfo& page : pages) EXPECT_EQ(page.mediaBox, "[ 0 0 245.8 153.6 ]");
  const QImage front = RenderPdfPage(merged, 1, 72);
  const QImage back = RenderPdfPage(merged, 2, 72);
  ASSERT_FALSE(front.isNull());
  ASSERT_FALSE(back.isNull());
  EXPECT_GT(ColouredPixels(front, front.rect()), 3000);
  EXPECT_EQ(ColouredPixels(back, back.rect()), 0);
}

TEST_F(TestCardPdf, BrokenInputsWriteNothing) {
  TestCardRenderer renderer(nullptr, FixedFacts());
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), Path("FrontImage.pdf")));
  std::ofstream(Path("broken.pdf")) << "%PDF-1.4\nthis is not a PDF\n";
  EXPECT_FALSE(TestCardPrinter::MergePdf(Path("FrontImage.pdf"), Path("broken.pdf"), Path("out.pdf")));
  EXPECT_FALSE(TestCardPrinter::MergePdf(Path("FrontImage.pdf"), Path("missing.pdf"), Path("out.pdf")));
  EXPECT_FALSE(std::filesystem::exists(Path("out.pdf")));
  EXPECT_FALSE(TestCardPrinter::SaveImageAsPdf(QImage(), Path("empty.pdf")));
  EXPECT_FALSE(std::filesystem::exists(Path("empty.pdf")));
  EXPECT_FALSE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), Path("no/such/dir/x.pdf")));
}

TEST(TestCardMessages, UnknownQueueText) {
  EXPECT_EQ(TestCardPrinter::UnknownQueueMessage("Card7"), "The printer Card7 is not known to the print system.");
}

}  // namespace
