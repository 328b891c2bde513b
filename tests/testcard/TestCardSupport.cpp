// Shared pieces of the test-card tests (see TestCardSupport.h).
#include "TestCardSupport.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QGuiApplication>
#include <cstdlib>
#include <filesystem>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>

#include "EthernetCommunication.h"

namespace testcard_support {
namespace {

// Text drawing needs a GUI application; the tests run it on the offscreen
// platform (set in the test's environment).
class GuiApplicationEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    // Run by hand, the binary gets the platform ctest would give it.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    static int argc = 1;
    static char name[] = "testcard_tests";
    static char* argv[] = {name, nullptr};
    app_ = std::make_unique<QGuiApplication>(argc, argv);
  }
  void TearDown() override { app_.reset(); }

 private:
  std::unique_ptr<QGuiApplication> app_;
};

[[maybe_unused]] ::testing::Environment* const kGuiEnvironment =
    ::testing::AddGlobalTestEnvironment(new GuiApplicationEnvironment);

}  // namespace

PrinterProfile FixedProfile() {
  PrinterProfile p;
  p.model = "VKTS32";
  p.firmware = "VKT32-M V1.02.03.016";
  p.firmwareTerminator = "\r";
  p.serial = "S32000001";
  p.headResistance = "2950";
  p.panelsPrinted = 1234;
  p.printerErrors = 2;
  p.ribbonCode = 43;
  p.blackContrast = "5";
  p.blackSpeed = "3";
  p.varnishContrast = "4";
  p.varnishSpeed = "2";
  p.edgeCount = "17";
  p.ribbonBrake = "12 0";
  p.speedSettings = "MS 5 3 0 0 0 0 0 0 10 8";
  p.lineEnd = "12";
  p.headNumber = "H0815";
  p.hasEncoder = true;
  p.trackWrite[0] = "A";
  p.trackWrite[1] = "B";
  p.trackWrite[2] = "C";
  p.trackRead[0] = "Q";
  p.trackRead[1] = "R";
  p.trackRead[2] = "S";
  p.trackDensity[0] = 210;
  p.trackDensity[1] = 75;
  p.trackDensity[2] = 210;
  p.trackSentinel[0] = "%";
  p.trackSentinel[1] = ";";
  p.trackSentinel[2] = ";";
  p.highCoercivity = true;
  p.encoderWriteSpeed = "12";
  p.encoderReadSpeed = "10";
  p.replyTerminator = "\r";
  return p;
}

TestCardFacts FixedFacts() {
  TestCardFacts facts;
  facts.frmVersion = "VKT32-M V1.02.03.016";
  facts.SerialNum = "S32000001";
  facts.HeadResis = "2950";
  facts.PannelPrinted = "1234";
  facts.FwVersion = "VKT32-M V1.02.03.016";
  facts.RibbonTypes = "YMCKO";
  facts.pOffset = {3, 7, 0, 12};
  return facts;
}

std::string Query(const std::string& command) { return "\x1b" + command + "\r" + "\x1b" "E 2\r"; }

EmulatedPrinter::EmulatedPrinter(PrinterProfile profile) : server_(std::move(profile)) {
  started_ = server_.Start(0);
  if (!started_) return;
  const std::string uri = "vkt3socket://127.0.0.1:" + std::to_string(server_.Port());
  session_ = std::make_unique<DeviceCommunication>(
      "TestCardPrinter", std::make_unique<EthernetCommunication>(uri, std::chrono::seconds(2)), 2);
}

EmulatedPrinter::~EmulatedPrinter() {
  session_.reset();
  server_.Stop();
}

std::string EmulatedPrinter::FirstConnectionBytes() const {
  const std::vector<std::string> transcripts = server_.ConnectionTranscripts();
  return transcripts.empty() ? std::string() : transcripts.front();
}

QRect CardRect(int left, int bottom, int right, int top) {
  return QRect(QPoint(left, 640 - top), QPoint(right - 1, 640 - bottom - 1));
}

int DarkPixels(const QImage& image, const QRect& rect, int level) {
  int count = 0;
  for (int y = rect.top(); y <= rect.bottom(); ++y)
    for (int x = rect.left(); x <= rect.right(); ++x) {
      const QRgb c = image.pixel(x, y);
      if (qRed(c) < level && qGreen(c) < level && qBlue(c) < level) ++count;
    }
  return count;
}

int DifferentPixels(const QImage& a, const QImage& b, const QRect& rect, int tolerance) {
  int count = 0;
  for (int y = rect.top(); y <= rect.bottom(); ++y)
    for (int x = rect.left(); x <= rect.right(); ++x) {
      const QRgb p = a.pixel(x, y);
      const QRgb q = b.pixel(x, y);
      if (std::abs(qRed(p) - qRed(q)) > tolerance || std::abs(qGreen(p) - qGreen(q)) > tolerance ||
          std::abs(qBlue(p) - qBlue(q)) > tolerance)
        ++count;
    }
  return count;
}

int ColouredPixels(const QImage& image, const QRect& rect) {
  int count = 0;
  for (int y = rect.top(); y <= rect.bottom(); ++y)
    for (int x = rect.left(); x <= rect.right(); ++x) {
      const QRgb c = image.pixel(x, y);
      const int high = std::max({qRed(c), qGreen(c), qBlue(c)});
      const int low = std::min({qRed(c), qGreen(c), qBlue(c)});
      if (high - low > 40) ++count;
    }
  return count;
}

std::string DataDir() { return VKT_TESTCARD_DATA_DIR; }

ScopedTemporaryDirectory::ScopedTemporaryDirectory() {
  std::string pattern = (std::filesystem::temp_directory_path() / "vkt-testcard-XXXXXX").string();
  if (mkdtemp(pattern.data()) != nullptr) path_ = pattern + "/";
}

ScopedTemporaryDirectory::~ScopedTemporaryDirectory() {
  std::error_code ignored;
  if (!path_.empty()) std::filesystem::remove_all(path_, ignored);
}

std::vector<PdfPageInfo> PdfPages(const std::string& path) {
  std::vector<PdfPageInfo> pages;
  try {
    QPDF pdf;
    pdf.processFile(path.c_str());
    for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(pdf).getAllPages()) {
      QPDFObjectHandle box = page.getAttribute("/MediaBox", false);
      PdfPageInfo info;
      info.mediaBox = box.unparse();
      QPDFObjectHandle::Rectangle r = box.getArrayAsRectangle();
      info.width = r.urx - r.llx;
      info.height = r.ury - r.lly;
      pages.push_back(info);
    }
  } catch (const std::exception& e) {
    ADD_FAILURE() << path << ": " << e.what();
    return {};
  }
  return pages;
}

QImage RenderPdfPage(const std::string& path, int page, int dpi) {
  ScopedTemporaryDirectory dir;
  const std::string prefix = dir.Path() + "page";
  const std::string command = "pdftoppm -q -singlefile -png -r " + std::to_string(dpi) + " -f " +
                              std::to_string(page) + " -l " + std::to_string(page) + " '" + path + "' '" + prefix +
                              "'";
  if (std::system(command.c_str()) != 0) return {};
  return QImage(QString::fromStdString(prefix + ".png")).convertToFormat(QImage::Format_RGB32);
}

}  // namespace testcard_support
