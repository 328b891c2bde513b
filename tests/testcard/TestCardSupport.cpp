// Shared pieces of the test-card tests (see TestCardSupport.h).
#include "TestCardSupport.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QGuiApplication>
#include <cstdlib>
#include <filesystem>

#include "EthernetCommunication.h"
#include "PpdTestSupport.h"

namespace testcard_support {
namespace {

// Text drawing needs a GUI application, on the offscreen platform.
class GuiApplicationEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
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

// Counts the pixels of `rect` for which `test` holds.
template <typename F>
int Count(const QRect& rect, F test) {
  int count = 0;
  for (int y = rect.top(); y <= rect.bottom(); ++y)
    for (int x = rect.left(); x <= rect.right(); ++x) count += test(x, y) ? 1 : 0;
  return count;
}

}  // namespace

PrinterProfile FixedProfile() {
  PrinterProfile p;
  p.model = "VKTS32";
  p.replyTerminator = "\r";
  p.panelsPrinted = 1234;
  p.printerErrors = 2;
  p.blackContrast = "5";
  p.blackSpeed = "3";
  p.varnishContrast = "4";
  p.varnishSpeed = "2";
  p.edgeCount = "17";
  p.ribbonBrake = "12 0";
  p.speedSettings = "MS 5 3 0 0 0 0 0 0 10 8";
  p.lineEnd = "12";
  p.headNumber = "H0815";
  p.hasEncoder = p.highCoercivity = true;
  for (int i = 0; i < 3; ++i) {
    p.trackWrite[i] = std::string(1, static_cast<char>('A' + i));
    p.trackRead[i] = std::string(1, static_cast<char>('Q' + i));
    p.trackDensity[i] = i == 1 ? 75 : 210;
    p.trackSentinel[i] = i == 0 ? "%" : ";";
  }
  p.encoderWriteSpeed = "12";
  p.encoderReadSpeed = "10";
  return p;
}

TestCardFacts FixedFacts() {
  TestCardFacts facts;
  facts.frmVersion = facts.FwVersion = "VKT32-M V1.02.03.016";
  facts.SerialNum = "S32000001";
  facts.HeadResis = "2950";
  facts.PannelPrinted = "1234";
  facts.RibbonTypes = "YMCKO";
  facts.pOffset = {3, 7, 0, 12};
  return facts;
}

std::string Query(const std::string& command) { return "\x1b" + command + "\r\033E 2\r"; }

EmulatedPrinter::EmulatedPrinter(PrinterProfile profile) : server(std::move(profile)) {
  if (!server.Start(0)) return;
  const std::string uri = "vkt3socket://127.0.0.1:" + std::to_string(server.Port());
  session = std::make_unique<DeviceCommunication>(
      "TestCardPrinter", std::make_unique<EthernetCommunication>(uri, std::chrono::seconds(2)), 2);
}

int DifferentPixels(const QImage& a, const QImage& b, const QRect& rect, int tolerance) {
  return Count(rect, [&](int x, int y) {
    const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
    return std::abs(qRed(p) - qRed(q)) > tolerance || std::abs(qGreen(p) - qGreen(q)) > tolerance ||
           std::abs(qBlue(p) - qBlue(q)) > tolerance;
  });
}

int ColouredPixels(const QImage& image) {
  return Count(image.rect(), [&](int x, int y) {
    const QRgb c = image.pixel(x, y);
    return std::max({qRed(c), qGreen(c), qBlue(c)}) - std::min({qRed(c), qGreen(c), qBlue(c)}) > 40;
  });
}

std::string DataDir() { return VKT_TESTCARD_DATA_DIR; }

QImage RenderPdfPage(const std::string& path, int page, int dpi) {
  ppd_test::ScratchDir dir;
  const std::string prefix = (dir.path() / "page").string(), n = std::to_string(page);
  const std::string command = "pdftoppm -q -singlefile -png -r " + std::to_string(dpi) + " -f " + n + " -l " + n +
                              " '" + path + "' '" + prefix + "' 2>/dev/null";
  if (std::system(command.c_str()) != 0) return {};
  return QImage(QString::fromStdString(prefix + ".png")).convertToFormat(QImage::Format_RGB32);
}

}  // namespace testcard_support
