// Shared pieces of the test-card tests: the GUI application text drawing
// needs, an emulated printer with a session on it, the fixed printer the
// reference cards were drawn from, and pixel and PDF helpers.
#pragma once

#include <QImage>
#include <QRect>
#include <memory>
#include <string>

#include "DeviceCommunication.h"
#include "EmulatorServer.h"
#include "TestCardFacts.h"

namespace testcard_support {

// The printer the reference cards show: every reply the cards print is set
// here, so a changed emulator default cannot change a reference.
PrinterProfile FixedProfile();
// The main window's facts for that printer (offsets 3, 7, 0, 12).
TestCardFacts FixedFacts();

// ESC <command> CR, then the reply request ESC "E 2" CR.
std::string Query(const std::string& command);
// The handshake the network transport sends when it connects.
inline const std::string kFlush = "\x1b.\r\033E 2\r";

// An emulator on a free port and a printer session connected to it.
struct EmulatedPrinter {
  explicit EmulatedPrinter(PrinterProfile profile = FixedProfile());
  EmulatorServer server;
  std::unique_ptr<DeviceCommunication> session;  // null when the emulator did not start
  // Bytes the emulator received on the session's first connection.
  std::string FirstConnectionBytes() const { return server.ConnectionTranscripts().at(0); }
};

// Pixels of `rect` that differ between the images by more than `tolerance`
// in some channel.
int DifferentPixels(const QImage& a, const QImage& b, const QRect& rect, int tolerance);
// Pixels whose channels differ from each other by more than 40 (coloured).
int ColouredPixels(const QImage& image);

// The folder of the reference images in the source tree.
std::string DataDir();
// Page `page` (1-based) of a PDF rendered by pdftoppm at `dpi`; null when
// the file has no such page.
QImage RenderPdfPage(const std::string& path, int page, int dpi);

}  // namespace testcard_support
