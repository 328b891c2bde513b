// Shared pieces of the test-card tests: the GUI application text drawing
// needs, an emulated printer with a session on it, the fixed printer the
// reference cards were drawn from, and pixel and PDF helpers.
#pragma once

#include <QImage>
#include <QRect>
#include <memory>
#include <string>
#include <vector>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "TestCardFacts.h"

namespace testcard_support {

// The printer the reference cards show: every reply the cards print is set
// here, so a changed emulator default cannot change a reference.
PrinterProfile FixedProfile();
// The main window's facts for that printer (offsets 3, 7, 0, 12).
TestCardFacts FixedFacts();

// The handshake the network transport sends when it connects.
inline const std::string kFlush = std::string("\x1b.\r") + "\x1b" "E 2\r";
// ESC <command> CR, then the reply request ESC "E 2" CR.
std::string Query(const std::string& command);

// An emulator on a free port and a printer session connected to it.
class EmulatedPrinter {
 public:
  explicit EmulatedPrinter(PrinterProfile profile = FixedProfile());
  ~EmulatedPrinter();
  bool Started() const { return started_; }
  DeviceCommunication& Session() { return *session_; }
  EmulatorServer& Server() { return server_; }
  // Bytes the emulator received on the session's first connection.
  std::string FirstConnectionBytes() const;

 private:
  EmulatorServer server_;
  bool started_ = false;
  std::unique_ptr<DeviceCommunication> session_;
};

// Card coordinates (origin lower left, y up) to the image's pixel rows.
QRect CardRect(int left, int bottom, int right, int top);
// Pixels whose colour is darker than `level` in every channel.
int DarkPixels(const QImage& image, const QRect& rect, int level = 80);
// Pixels of `rect` that differ between the images by more than `tolerance`
// in some channel.
int DifferentPixels(const QImage& a, const QImage& b, const QRect& rect, int tolerance);
// Pixels whose channels differ from each other by more than 40 (coloured).
int ColouredPixels(const QImage& image, const QRect& rect);

// The folder of the reference images in the source tree.
std::string DataDir();
// A fresh private directory for one test (removed by the caller's
// ScopedTemporaryDirectory).
class ScopedTemporaryDirectory {
 public:
  ScopedTemporaryDirectory();
  ~ScopedTemporaryDirectory();
  const std::string& Path() const { return path_; }  // ends in "/"

 private:
  std::string path_;
};

struct PdfPageInfo {
  std::string mediaBox;  // "[0 0 245.8 153.6]" as the file states it
  double width = 0;
  double height = 0;
};
// The pages of a PDF file as libqpdf reads them; empty when it is not one.
std::vector<PdfPageInfo> PdfPages(const std::string& path);
// Page `page` (1-based) of a PDF rendered by pdftoppm at `dpi`; null on failure.
QImage RenderPdfPage(const std::string& path, int page, int dpi);

}  // namespace testcard_support
