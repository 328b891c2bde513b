// Test-card printing: ribbon colours, card-size PDF pages (QPdfWriter draws,
// libqpdf fixes the page size and merges the sides) and the CUPS job.
#include "TestCardPrinter.h"

#include "CupsHandles.h"

#include <cups/cups.h>

#include <QBuffer>
#include <QByteArray>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <algorithm>
#include <chrono>
#include <exception>
#include <string_view>
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFObjectHandle.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFPageObjectHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <vector>

#include "DeviceCommunication.h"
#include "Log.h"
#include "Paths.h"
#include "TestCardRenderer.h"
#include "TestCardText.h"
#include "Waits.h"

namespace {

// Margins of the card page in points: the picture keeps 1 point clear at
// the left and the top, none at the right and the bottom.
constexpr double kMarginLeft = 1.0;
constexpr double kMarginTop = 1.0;


// Every page box set to exactly the card size. QPdfWriter rounds the page
// to whole points (246 x 154), which the printer driver would take for a
// different card.
void SetCardPageBoxes(QPDFPageObjectHelper& page) {
  QPDFObjectHandle box = QPDFObjectHandle::newArray(std::vector<QPDFObjectHandle>{
      QPDFObjectHandle::newInteger(0), QPDFObjectHandle::newInteger(0), QPDFObjectHandle::newReal("245.8"),
      QPDFObjectHandle::newReal("153.6")});
  QPDFObjectHandle dict = page.getObjectHandle();
  dict.replaceKey("/MediaBox", box);
  for (const char* key : {"/CropBox", "/BleedBox", "/TrimBox", "/ArtBox"})
    if (dict.hasKey(key)) dict.removeKey(key);
}

// Renders the image on one PDF page in memory. The page comes out whole
// points high; the picture is placed relative to the card's true top edge
// so that cutting the page box down to the card keeps the margins.
QByteArray RenderPdfPage(const QImage& image) {
  QByteArray pdf;
  QBuffer buffer(&pdf);
  buffer.open(QIODevice::WriteOnly);
  {
    QPdfWriter writer(&buffer);
    writer.setCreator(QStringLiteral("Orvex Printer Properties"));
    writer.setTitle(QString::fromUtf8(TestCardPrinter::kJobTitle));
    writer.setResolution(72);  // one device unit = one point
    const QPageSize cardSize(QSizeF(TestCardPrinter::kPageHeight, TestCardPrinter::kPageWidth), QPageSize::Point,
                             QStringLiteral("CR80"), QPageSize::ExactMatch);
    writer.setPageLayout(QPageLayout(cardSize, QPageLayout::Landscape, QMarginsF(0, 0, 0, 0), QPageLayout::Point));
    const QRectF page = writer.pageLayout().fullRectPoints();

    // Fit the picture into the area inside the margins, centred across and
    // hanging from the top margin.
    const double areaWidth = TestCardPrinter::kPageWidth - kMarginLeft;
    const double areaHeight = TestCardPrinter::kPageHeight - kMarginTop;
    const double scale = std::min(areaWidth / image.width(), areaHeight / image.height());
    const double width = image.width() * scale;
    const double height = image.height() * scale;
    const double x = kMarginLeft + (areaWidth - width) / 2;
    const double y = (page.height() - TestCardPrinter::kPageHeight) + kMarginTop;

    QPainter painter(&writer);
    painter.drawImage(QRectF(x, y, width, height), image);
    painter.end();
  }
  return pdf;
}

}  // namespace

TestCardPrinter::TestCardPrinter(DeviceCommunication* device, std::string queueName)
    : device_(device), queueName_(std::move(queueName)) {}

std::string TestCardPrinter::UnknownQueueMessage(const std::string& queueName) {
  const std::string_view message = kUnknownQueueMessage;
  const size_t mark = message.find("%@");
  return std::string(message.substr(0, mark)) + queueName + std::string(message.substr(mark + 2));
}

std::string TestCardPrinter::GetTempFileName(const std::string& name) {
  const size_t slash = name.find_last_of('/');
  return vkt_paths::TemporaryDirectory() + (slash == std::string::npos ? name : name.substr(slash + 1));
}

bool TestCardPrinter::SaveImageAsPdf(const QImage& image, const std::string& path) {
  if (image.isNull()) return false;
  const QByteArray pdf = RenderPdfPage(image);
  try {
    QPDF document;
    document.processMemoryFile(path.c_str(), pdf.constData(), static_cast<size_t>(pdf.size()));
    for (QPDFPageObjectHelper& page : QPDFPageDocumentHelper(document).getAllPages()) SetCardPageBoxes(page);
    QPDFWriter writer(document, path.c_str());
    writer.write();
  } catch (const std::exception& e) {
    VktLog("Cannot write %s: %s", path.c_str(), e.what());
    return false;
  }
  return true;
}

bool TestCardPrinter::MergePdf(const std::string& first, const std::string& second, const std::string& output) {
  try {
    QPDF firstDocument;
    firstDocument.processFile(first.c_str());
    QPDF secondDocument;
    secondDocument.processFile(second.c_str());
    std::vector<QPDFPageObjectHelper> firstPages = QPDFPageDocumentHelper(firstDocument).getAllPages();
    std::vector<QPDFPageObjectHelper> secondPages = QPDFPageDocumentHelper(secondDocument).getAllPages();
    if (firstPages.empty() || secondPages.empty()) {
      VktLog("Cannot merge %s and %s: a file has no page", first.c_str(), second.c_str());
      return false;
    }
    QPDF merged;
    merged.emptyPDF();
    QPDFPageDocumentHelper mergedPages(merged);
    mergedPages.addPage(firstPages.front(), false);
    mergedPages.addPage(secondPages.front(), false);
    for (QPDFPageObjectHelper& page : mergedPages.getAllPages()) SetCardPageBoxes(page);
    QPDFWriter writer(merged, output.c_str());
    writer.write();
  } catch (const std::exception& e) {
    VktLog("Cannot merge %s and %s into %s: %s", first.c_str(), second.c_str(), output.c_str(), e.what());
    return false;
  }
  return true;
}

bool TestCardPrinter::QueueIsKnown() const { return CupsDestList().Find(queueName_) != nullptr; }

TestCardPrinter::Result TestCardPrinter::SendTestCardToPrinter(const QImage* front, const QImage* back) {
  const std::string frontPath = GetTempFileName("FrontImage.pdf");
  const std::string backPath = GetTempFileName("BackImage.pdf");
  const bool hasFront = front != nullptr && !front->isNull();
  const bool hasBack = back != nullptr && !back->isNull();
  if (!hasFront && !hasBack) return Result::kNoCard;
  if (hasFront && !SaveImageAsPdf(*front, frontPath)) return Result::kPdfFailed;
  if (hasBack && !SaveImageAsPdf(*back, backPath)) return Result::kPdfFailed;

  std::string file = hasFront ? frontPath : backPath;
  if (hasFront && hasBack) {
    file = GetTempFileName("TestCardPrint.pdf");
    if (!MergePdf(frontPath, backPath, file)) return Result::kPdfFailed;
  }

  CupsDestList dests;
  cups_dest_t* dest = dests.Find(queueName_);
  if (dest == nullptr) {
    // Without a destination there is nothing to print to; the window tells
    // the user (UnknownQueueMessage).
    VktLog("Printer %s is not a CUPS destination", queueName_.c_str());
    return Result::kUnknownQueue;
  }
  lastJobId_ = cupsPrintFile(dest->name, file.c_str(), kJobTitle, dest->num_options, dest->options);
  if (lastJobId_ < 1) VktLog("Error is %s", cupsLastErrorString());
  CheckJobStatus(lastJobId_, queueName_);
  return lastJobId_ < 1 ? Result::kSubmitFailed : Result::kPrinted;
}

TestCardPrinter::Result TestCardPrinter::ProcessTestCard(TestCardRenderer& renderer, int kind, int ribbonIndex,
                                                         bool dualSide) {
  static constexpr const char* kLogLines[] = {"Standared Test Card Print", "Parameter Test Card Print",
                                              "Encoder Test Card Print"};
  if (kind < TestCardText::kStandardCard || kind > TestCardText::kEncoderCard) return Result::kNoCard;
  // A queue CUPS does not know cannot print: say so before the printer is
  // queried, its connection released and the user kept waiting.
  if (!QueueIsKnown()) {
    VktLog("Printer %s is not a CUPS destination", queueName_.c_str());
    return Result::kUnknownQueue;
  }

  int frontColor = 0;
  int backColor = 0;
  GetRibbonDetails(ribbonIndex, &frontColor, &backColor);
  VktLog("%s", kLogLines[kind]);
  const QImage front = renderer.DrawTestCard(kind, frontColor);
  QImage back;
  if (dualSide) back = renderer.DrawTestCard(kind, backColor);

  // CUPS's backend needs the printer's one connection while it prints.
  VKTS3Communication* transport = device_ != nullptr ? device_->Transport() : nullptr;
  if (transport != nullptr) transport->ClosePrinterHandle();
  if (device_ != nullptr) device_->EnablePrinter(queueName_.c_str());
  Waits::Current().Sleep(std::chrono::seconds(3));
  const Result result = SendTestCardToPrinter(&front, dualSide ? &back : nullptr);
  if (transport != nullptr) transport->GetPrinterHandle();
  return result;
}
