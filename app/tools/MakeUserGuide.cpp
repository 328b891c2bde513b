// Build-time helper: turns the Markdown user guide into the PDF that the Help
// menu opens (QTextDocument + QPdfWriter), and draws the program's logo
// images (--logos FOLDER) that live in resources/images.
#include <QFile>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPainterPath>
#include <QPdfWriter>
#include <QTextDocument>
#include <cstdio>

namespace {

void DrawMark(QPainter& painter, const QRectF& box) {
  QPainterPath path;
  path.addRoundedRect(box, box.width() * 0.14, box.width() * 0.14);
  painter.fillPath(path, QColor(0x1a, 0x1a, 0x1a));
  painter.setPen(QPen(Qt::white, box.width() * 0.11));
  painter.drawEllipse(box.adjusted(box.width() * 0.24, box.height() * 0.24, -box.width() * 0.24, -box.height() * 0.24));
  painter.setPen(QPen(QColor(0xd6, 0x2b, 0x2b), box.width() * 0.06));
  painter.drawLine(QPointF(box.left() + box.width() * 0.15, box.bottom() - box.height() * 0.12),
                   QPointF(box.right() - box.width() * 0.15, box.bottom() - box.height() * 0.12));
}

bool DrawLogos(const QString& folder) {
  QImage wide(880, 300, QImage::Format_ARGB32);
  wide.fill(Qt::transparent);
  {
    QPainter painter(&wide);
    painter.setRenderHint(QPainter::Antialiasing);
    DrawMark(painter, QRectF(20, 40, 220, 220));
    QFont font("DejaVu Sans", 110, QFont::Bold);
    painter.setFont(font);
    painter.setPen(QColor(0x1a, 0x1a, 0x1a));
    painter.drawText(QRectF(270, 20, 600, 190), Qt::AlignLeft | Qt::AlignVCenter, "ORVEX");
    painter.setFont(QFont("DejaVu Sans", 30));
    painter.drawText(QRectF(276, 200, 600, 60), Qt::AlignLeft | Qt::AlignVCenter, "CARD PRINTERS");
  }
  QImage stacked(512, 512, QImage::Format_ARGB32);
  stacked.fill(Qt::transparent);
  {
    QPainter painter(&stacked);
    painter.setRenderHint(QPainter::Antialiasing);
    DrawMark(painter, QRectF(106, 30, 300, 300));
    painter.setFont(QFont("DejaVu Sans", 84, QFont::Bold));
    painter.setPen(QColor(0x1a, 0x1a, 0x1a));
    painter.drawText(QRectF(0, 340, 512, 150), Qt::AlignCenter, "ORVEX");
  }
  return wide.save(folder + "/Orvex_Logo_K.png") && stacked.save(folder + "/Orvex_Logo_Stacked_K.png");
}

bool WriteGuide(const QString& markdownPath, const QString& pdfPath) {
  QFile in(markdownPath);
  if (!in.open(QIODevice::ReadOnly)) {
    std::fprintf(stderr, "cannot read %s\n", qPrintable(markdownPath));
    return false;
  }
  QTextDocument document;
  document.setDefaultFont(QFont("DejaVu Sans", 10));
  document.setMarkdown(QString::fromUtf8(in.readAll()));
  QPdfWriter writer(pdfPath);
  writer.setTitle("VKT Printer Properties - User Guide");
  writer.setCreator("vkts3-properties");
  writer.setPageSize(QPageSize(QPageSize::A4));
  writer.setPageMargins(QMarginsF(20, 18, 20, 18), QPageLayout::Millimeter);
  writer.setResolution(96);
  document.setPageSize(QSizeF(writer.width(), writer.height()));
  document.print(&writer);
  return QFile::exists(pdfPath);
}

}  // namespace

int main(int argc, char** argv) {
  // Runs during the build, where there is no display.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  const QStringList args = app.arguments();
  if (args.size() == 3 && args[1] == "--logos") return DrawLogos(args[2]) ? 0 : 1;
  if (args.size() == 3) return WriteGuide(args[1], args[2]) ? 0 : 1;
  std::fprintf(stderr, "usage: %s GUIDE.md GUIDE.pdf | --logos FOLDER\n", argv[0]);
  return 2;
}
