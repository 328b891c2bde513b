// Card images as PDF pages of the exact card size, the two sides merged into
// one file, and where the files go.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "PpdTestSupport.h"
#include "TestCardPrinter.h"
#include "TestCardRenderer.h"
#include "TestCardSupport.h"

namespace {

using namespace testcard_support;

// Points the product's temporary directory at a fresh folder.
class TestCardPdf : public ::testing::Test {
 protected:
  void SetUp() override { setenv("XDG_RUNTIME_DIR", dir_.path().c_str(), 1); }
  std::string Path(const std::string& name) const { return (dir_.path() / name).string(); }
  ppd_test::ScratchDir dir_;
  TestCardRenderer renderer{nullptr, FixedFacts()};
};

TEST_F(TestCardPdf, TemporaryFileNamesUseTheLastPathComponent) {
  EXPECT_EQ(TestCardPrinter::GetTempFileName("FrontImage.pdf"), Path("FrontImage.pdf"));
  EXPECT_EQ(TestCardPrinter::GetTempFileName("/somewhere/else/TestCardPrint.pdf"), Path("TestCardPrint.pdf"));
  EXPECT_EQ(TestCardPrinter::UnknownQueueMessage("Card7"), "The printer Card7 is not known to the print system.");
}

TEST_F(TestCardPdf, PictureHangsFromTheTopLeftMarginOfOneCardSizedPage) {
  // A black card on the page: 1 point clear at the top, fitted to the
  // height (152.6 points) and centred across.
  QImage black(1024, 640, QImage::Format_RGB32);
  black.fill(Qt::black);
  const std::string path = Path("black.pdf");
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(black, path));
  const QImage page = RenderPdfPage(path, 1, 720);  // 10 pixels per point: 245.8 x 153.6 points
  ASSERT_EQ(page.size(), QSize(2458, 1536));
  EXPECT_TRUE(RenderPdfPage(path, 2, 72).isNull());
  auto dark = [&](int x, int y) { return qRed(page.pixel(x, y)) < 64; };
  EXPECT_FALSE(dark(1000, 5));    // inside the top margin
  EXPECT_TRUE(dark(1000, 15));    // just below it
  EXPECT_TRUE(dark(1000, 1532));  // reaches the bottom edge
  EXPECT_FALSE(dark(8, 700));     // left margin: 1 point plus 0.32 of centring
  EXPECT_TRUE(dark(18, 700));
  EXPECT_TRUE(dark(2450, 700));  // right end at 245.48 points
}

TEST_F(TestCardPdf, MergedFileHoldsFrontThenBack) {
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), Path("FrontImage.pdf")));
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(0), Path("BackImage.pdf")));
  const std::string merged = Path("TestCardPrint.pdf");
  ASSERT_TRUE(TestCardPrinter::MergePdf(Path("FrontImage.pdf"), Path("BackImage.pdf"), merged));
  const QImage front = RenderPdfPage(merged, 1, 720), back = RenderPdfPage(merged, 2, 720);
  EXPECT_EQ(front.size(), QSize(2458, 1536));
  EXPECT_EQ(back.size(), QSize(2458, 1536));
  EXPECT_TRUE(RenderPdfPage(merged, 3, 72).isNull());
  EXPECT_GT(ColouredPixels(front), 300000);
  EXPECT_EQ(ColouredPixels(back), 0);
}

TEST_F(TestCardPdf, BrokenInputsWriteNothing) {
  ASSERT_TRUE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), Path("FrontImage.pdf")));
  std::ofstream(Path("broken.pdf")) << "%PDF-1.4\nthis is not a PDF\n";
  EXPECT_FALSE(TestCardPrinter::MergePdf(Path("FrontImage.pdf"), Path("broken.pdf"), Path("out.pdf")));
  EXPECT_FALSE(TestCardPrinter::MergePdf(Path("FrontImage.pdf"), Path("missing.pdf"), Path("out.pdf")));
  EXPECT_FALSE(TestCardPrinter::SaveImageAsPdf(QImage(), Path("empty.pdf")));
  EXPECT_FALSE(TestCardPrinter::SaveImageAsPdf(renderer.DrawStandaredTestCard(1), Path("no/such/dir/x.pdf")));
  EXPECT_FALSE(std::filesystem::exists(Path("out.pdf")));
  EXPECT_FALSE(std::filesystem::exists(Path("empty.pdf")));
}

}  // namespace
