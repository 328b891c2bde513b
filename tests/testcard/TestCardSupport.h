// Shared pieces of the test-card tests: the GUI application text drawing
// needs, an emulated printer with a session on it, the fixed printer the
// reference cards were drawn from, and pixel and PDF helpers.
#pragma once

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QImage>
#include <cstdlib>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "EthernetCommunication.h"
#include "PpdTestSupport.h"
#include "TestCardFacts.h"

namespace testcard_support {

// Text drawing needs a GUI application, on the offscreen platform.
inline QGuiApplication* const kGui = [] {
  static int argc = 1;
  static char name[] = "testcard_tests", *argv[] = {name, nullptr};
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  return new QGuiApplication(argc, argv);
}();

// The printer the reference cards show: every reply the cards print is set
// here, so a changed emulator default cannot change a reference.
inline PrinterProfile FixedProfile() {
  PrinterProfile p;
  EXPECT_TRUE(ParsePrinterProfile(
      "model=VKTS32\nreply_terminator=\\r\npanels_printed=1234\nprinter_errors=2\nblack_contrast=5\nblack_speed=3\n"
      "varnish_contrast=4\nvarnish_speed=2\nedge_count=17\nribbon_brake=12 0\nspeed_settings=MS 5 3 0 0 0 0 0 0 10 8\n"
      "line_end=12\nhead_number=H0815\nencoder=yes\ncoercivity=high\nencoder_write_speed=12\nencoder_read_speed=10\n"
      "track1_write=A\ntrack2_write=B\ntrack3_write=C\ntrack1_read=Q\ntrack2_read=R\ntrack3_read=S\n"
      "track1_density=210\ntrack2_density=75\ntrack3_density=210\ntrack1_sentinel=%\ntrack2_sentinel=;\n"
      "track3_sentinel=;",
      &p, nullptr));
  return p;
}

// The main window's facts for that printer (offsets 3, 7, 0, 12).
inline TestCardFacts FixedFacts() {
  return {"VKT32-M V1.02.03.016", "S32000001", "2950", "1234", "VKT32-M V1.02.03.016", "YMCKO", {3, 7, 0, 12}};
}

// ESC <command> CR, then the reply request ESC "E 2" CR.
inline std::string Query(const std::string& command) { return "\x1b" + command + "\r\033E 2\r"; }
// The handshake the network transport sends when it connects.
inline const std::string kFlush = "\x1b.\r\033E 2\r";

// An emulator on a free port and a printer session connected to it.
struct EmulatedPrinter {
  explicit EmulatedPrinter(PrinterProfile profile = FixedProfile()) : server(std::move(profile)) {
    if (!server.Start(0)) return;
    const std::string uri = "vkt3socket://127.0.0.1:" + std::to_string(server.Port());
    session = std::make_unique<DeviceCommunication>(
        "TestCardPrinter", std::make_unique<EthernetCommunication>(uri, std::chrono::seconds(2)), 2);
  }
  // Bytes the emulator received on the session's first connection.
  std::string FirstConnectionBytes() const { return server.ConnectionTranscripts().at(0); }
  EmulatorServer server;
  std::unique_ptr<DeviceCommunication> session;  // null when the emulator did not start
};

// The pixels of two images of one size for which `test` holds.
template <typename F>
int Count(const QImage& a, const QImage& b, F test) {
  int count = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) count += test(a.pixel(x, y), b.pixel(x, y)) ? 1 : 0;
  return count;
}
// Pixels that differ between the images by more than `tolerance` in some channel.
inline int DifferentPixels(const QImage& a, const QImage& b, int tolerance) {
  return Count(a, b, [&](QRgb p, QRgb q) {
    return std::max({std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q))}) >
           tolerance;
  });
}
// Pixels whose channels differ from each other by more than 40 (coloured).
inline int ColouredPixels(const QImage& image) {
  return Count(image, image, [](QRgb c, QRgb) {
    return std::max({qRed(c), qGreen(c), qBlue(c)}) - std::min({qRed(c), qGreen(c), qBlue(c)}) > 40;
  });
}

// Page `page` (1-based) of a PDF rendered by pdftoppm at `dpi`; null when
// the file has no such page.
inline QImage RenderPdfPage(const std::string& path, int page, int dpi) {
  ppd_test::ScratchDir dir;
  const std::string prefix = (dir.path() / "page").string(), n = std::to_string(page);
  const std::string command = "pdftoppm -q -singlefile -png -r " + std::to_string(dpi) + " -f " + n + " -l " + n +
                              " '" + path + "' '" + prefix + "' 2>/dev/null";
  if (std::system(command.c_str()) != 0) return {};
  return QImage(QString::fromStdString(prefix + ".png")).convertToFormat(QImage::Format_RGB32);
}

}  // namespace testcard_support
