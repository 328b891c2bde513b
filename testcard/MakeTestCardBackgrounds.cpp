// Draws the four test-card background pictures (1024 x 640 BMP) into the
// folder given as the only argument. Run at build time; the pictures are then
// built into vkt_testcard as Qt resources.
//
// The designs leave the places where the cards print their text light:
// the standard card writes at the upper left and the lower right, the
// parameter and encoder cards in the middle from x 320 on and along a
// vertical strip near the right edge.
#include <QColor>
#include <QConicalGradient>
#include <QFont>
#include <QGuiApplication>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 640;

const QColor kNavy(24, 44, 112);
const QColor kTextPanel(244, 246, 250);
const QColor kTextPanelMono(244, 244, 244);

QImage NewCard() {
  QImage image(kWidth, kHeight, QImage::Format_RGB32);
  image.fill(Qt::white);
  return image;
}

QFont Font(int pixelSize, bool bold = true) {
  QFont font(QStringLiteral("Helvetica"));
  font.setBold(bold);
  font.setPixelSize(pixelSize);
  return font;
}

// A thin frame following the card's rounded corners.
void Frame(QPainter& p, const QColor& color) {
  p.setPen(QPen(color, 3));
  p.setBrush(Qt::NoBrush);
  p.drawRoundedRect(QRectF(7.5, 7.5, kWidth - 15, kHeight - 15), 34, 34);
}

// A horizontal strip through the full circle of hues.
void HueStrip(QPainter& p, const QRectF& r) {
  QLinearGradient g(r.topLeft(), r.topRight());
  for (int i = 0; i <= 12; ++i) g.setColorAt(i / 12.0, QColor::fromHsv((i * 30) % 360, 255, 255));
  p.setPen(Qt::NoPen);
  p.setBrush(g);
  p.drawRoundedRect(r, r.height() / 2, r.height() / 2);
}

// The same strip from white to black.
void GreyStrip(QPainter& p, const QRectF& r) {
  QLinearGradient g(r.topLeft(), r.topRight());
  g.setColorAt(0, Qt::white);
  g.setColorAt(1, Qt::black);
  p.setPen(QPen(Qt::black, 1));
  p.setBrush(g);
  p.drawRoundedRect(r, r.height() / 2, r.height() / 2);
}

// A hue wheel fading to white at its centre, with a white hub.
void ColourWheel(QPainter& p, QPointF centre, double radius) {
  QConicalGradient hues(centre, 90);
  for (int i = 0; i <= 12; ++i) hues.setColorAt(i / 12.0, QColor::fromHsv((360 - i * 30) % 360, 255, 255));
  p.setPen(Qt::NoPen);
  p.setBrush(hues);
  p.drawEllipse(centre, radius, radius);
  QRadialGradient fade(centre, radius);
  fade.setColorAt(0, QColor(255, 255, 255, 255));
  fade.setColorAt(0.35, QColor(255, 255, 255, 200));
  fade.setColorAt(1, QColor(255, 255, 255, 0));
  p.setBrush(fade);
  p.drawEllipse(centre, radius, radius);
  p.setPen(QPen(QColor(60, 60, 60), 2));
  p.setBrush(Qt::NoBrush);
  p.drawEllipse(centre, radius, radius);
}

// A Siemens star: black and white wedges meeting at the centre, the classic
// sharpness target of a monochrome test print.
void SiemensStar(QPainter& p, QPointF centre, double radius, int wedges) {
  p.setPen(Qt::NoPen);
  p.setBrush(Qt::black);
  for (int i = 0; i < wedges; ++i) {
    const double a0 = 2 * std::numbers::pi * (2 * i) / (2 * wedges);
    const double a1 = 2 * std::numbers::pi * (2 * i + 1) / (2 * wedges);
    QPainterPath wedge(centre);
    wedge.lineTo(centre + QPointF(radius * std::cos(a0), radius * std::sin(a0)));
    wedge.lineTo(centre + QPointF(radius * std::cos(a1), radius * std::sin(a1)));
    wedge.closeSubpath();
    p.drawPath(wedge);
  }
  p.setPen(QPen(Qt::black, 2));
  p.setBrush(Qt::NoBrush);
  p.drawEllipse(centre, radius, radius);
}

// The maker's word mark.
void WordMark(QPainter& p, QPointF baseline, const QColor& color, int size) {
  p.setPen(color);
  p.setFont(Font(size));
  p.drawText(baseline, QStringLiteral("ORVEX"));
  p.setFont(Font(size * 4 / 10, false));
  p.drawText(baseline + QPointF(0, size * 0.55), QStringLiteral("VKT SERIES  CARD PRINTERS"));
}

// Bars of pure process and secondary colours.
void ColourBars(QPainter& p, const QRectF& r) {
  const QColor bars[] = {QColor(0, 174, 239), QColor(236, 0, 140), QColor(255, 242, 0), QColor(20, 20, 20),
                         QColor(237, 28, 36), QColor(0, 166, 81),  QColor(46, 49, 146), QColor(128, 128, 128)};
  const double w = r.width() / 8;
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 8; ++i) {
    p.setBrush(bars[i]);
    p.drawRect(QRectF(r.left() + i * w, r.top(), w + 0.5, r.height()));
  }
}

// One ramp per process colour, white to full strength.
void ProcessRamps(QPainter& p, const QRectF& r) {
  const QColor inks[] = {QColor(0, 174, 239), QColor(236, 0, 140), QColor(255, 242, 0), QColor(0, 0, 0)};
  const double h = r.height() / 4;
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 4; ++i) {
    QLinearGradient g(r.topLeft(), r.topRight());
    g.setColorAt(0, Qt::white);
    g.setColorAt(1, inks[i]);
    p.setBrush(g);
    p.drawRect(QRectF(r.left(), r.top() + i * h + 1, r.width(), h - 2));
  }
}

// Rows of hue patches, saturated above and tints below.
void HuePatches(QPainter& p, QPointF topLeft, int columns, double size, double gap) {
  p.setPen(Qt::NoPen);
  for (int row = 0; row < 2; ++row) {
    for (int c = 0; c < columns; ++c) {
      const int hue = c * 360 / columns;
      p.setBrush(row == 0 ? QColor::fromHsv(hue, 255, 235) : QColor::fromHsv(hue, 90, 255));
      p.drawRect(QRectF(topLeft.x() + c * (size + gap), topLeft.y() + row * (size + gap), size, size));
    }
  }
}

// Grey steps from paper white to full black, with their percentages.
void GreySteps(QPainter& p, const QRectF& r, int steps, bool labels) {
  const double w = r.width() / steps;
  for (int i = 0; i < steps; ++i) {
    const int level = 255 - i * 255 / (steps - 1);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(level, level, level));
    p.drawRect(QRectF(r.left() + i * w, r.top(), w + 0.5, r.height()));
    if (labels) {
      p.setPen(Qt::black);
      p.setFont(Font(14, false));
      p.drawText(QRectF(r.left() + i * w, r.bottom() + 2, w, 18), Qt::AlignHCenter | Qt::AlignTop,
                 QString::number(i * 100 / (steps - 1)) + QLatin1Char('%'));
    }
  }
  p.setPen(QPen(Qt::black, 1));
  p.setBrush(Qt::NoBrush);
  p.drawRect(r);
}

// The same steps standing upright.
void GreyColumn(QPainter& p, const QRectF& r, int steps) {
  const double h = r.height() / steps;
  p.setPen(Qt::NoPen);
  for (int i = 0; i < steps; ++i) {
    const int level = 255 - i * 255 / (steps - 1);
    p.setBrush(QColor(level, level, level));
    p.drawRect(QRectF(r.left(), r.top() + i * h, r.width(), h + 0.5));
  }
  p.setPen(QPen(Qt::black, 1));
  p.setBrush(Qt::NoBrush);
  p.drawRect(r);
}

// Groups of black lines one to four pixels wide with gaps of the same
// width, upright and lying: the resolution target of a monochrome card.
void FineLines(QPainter& p, const QRectF& r) {
  p.setPen(Qt::NoPen);
  p.setBrush(Qt::black);
  p.setRenderHint(QPainter::Antialiasing, false);
  const double groupWidth = r.width() / 4;
  const double half = r.height() / 2 - 4;
  for (int width = 1; width <= 4; ++width) {
    const double left = std::floor(r.left() + (width - 1) * groupWidth);
    for (double x = left; x + width <= left + groupWidth - 8; x += 2 * width)
      p.drawRect(QRectF(x, std::floor(r.top()), width, std::floor(half)));
    const double top = std::floor(r.top() + half + 8);
    for (double y = top; y + width <= top + half; y += 2 * width)
      p.drawRect(QRectF(left, y, groupWidth - 8, width));
  }
  p.setRenderHint(QPainter::Antialiasing, true);
}

// A light panel under text the card prints, so the lines stay readable.
void TextPanel(QPainter& p, const QRectF& r, const QColor& color) {
  p.setPen(Qt::NoPen);
  p.setBrush(color);
  p.drawRoundedRect(r, 14, 14);
}

QImage StandardCardColor() {
  QImage image = NewCard();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  Frame(p, kNavy);
  HueStrip(p, QRectF(40, 18, 944, 18));
  ColourWheel(p, QPointF(880, 140), 72);
  p.setPen(kNavy);
  p.setFont(Font(26));
  p.drawText(QRectF(780, 218, 200, 32), Qt::AlignHCenter, QStringLiteral("ORVEX"));
  ColourBars(p, QRectF(40, 268, 944, 124));
  ProcessRamps(p, QRectF(40, 404, 560, 64));
  HuePatches(p, QPointF(40, 484), 12, 40, 6.4);
  TextPanel(p, QRectF(615, 462, 375, 146), kTextPanel);
  return image;
}

QImage StandardCardMono() {
  QImage image = NewCard();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  Frame(p, Qt::black);
  GreyStrip(p, QRectF(40, 18, 944, 18));
  SiemensStar(p, QPointF(880, 140), 72, 24);
  p.setPen(Qt::black);
  p.setFont(Font(26));
  p.drawText(QRectF(780, 218, 200, 32), Qt::AlignHCenter, QStringLiteral("ORVEX"));
  GreySteps(p, QRectF(40, 268, 944, 104), 11, true);
  FineLines(p, QRectF(40, 410, 560, 190));
  TextPanel(p, QRectF(615, 462, 375, 146), kTextPanelMono);
  return image;
}

QImage ParametersColor() {
  QImage image = NewCard();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  Frame(p, kNavy);
  HueStrip(p, QRectF(330, 18, 660, 16));
  ColourWheel(p, QPointF(160, 130), 92);
  // Process and secondary colours, then two rows of hue tints.
  const QColor patches[] = {QColor(0, 174, 239), QColor(236, 0, 140), QColor(255, 242, 0), QColor(20, 20, 20),
                            QColor(237, 28, 36), QColor(0, 166, 81),  QColor(46, 49, 146), QColor(128, 128, 128)};
  p.setPen(Qt::NoPen);
  for (int i = 0; i < 8; ++i) {
    p.setBrush(patches[i]);
    p.drawRect(QRectF(40 + (i % 4) * 62, 252 + (i / 4) * 62, 56, 56));
  }
  HuePatches(p, QPointF(40, 380), 8, 26, 5.4);
  ProcessRamps(p, QRectF(40, 448, 242, 88));
  p.setPen(QPen(QColor(190, 196, 210), 2));
  p.drawLine(QPointF(306, 48), QPointF(306, 604));
  // CMYK columns down the right edge, outside the vertical text.
  const QColor inks[] = {QColor(0, 174, 239), QColor(236, 0, 140), QColor(255, 242, 0), QColor(20, 20, 20)};
  for (int i = 0; i < 4; ++i) {
    QLinearGradient g(QPointF(0, 60), QPointF(0, 600));
    g.setColorAt(0, inks[i]);
    g.setColorAt(1, Qt::white);
    p.setPen(Qt::NoPen);
    p.setBrush(g);
    p.drawRect(QRectF(968 + i * 10, 60, 8, 540));
  }
  WordMark(p, QPointF(40, 584), kNavy, 34);
  return image;
}

QImage ParametersBlack() {
  QImage image = NewCard();
  QPainter p(&image);
  p.setRenderHint(QPainter::Antialiasing);
  Frame(p, Qt::black);
  GreyStrip(p, QRectF(330, 18, 660, 16));
  SiemensStar(p, QPointF(160, 130), 92, 24);
  GreyColumn(p, QRectF(40, 250, 48, 290), 10);
  FineLines(p, QRectF(104, 250, 190, 290));
  p.setPen(QPen(QColor(190, 190, 190), 2));
  p.drawLine(QPointF(306, 48), QPointF(306, 604));
  // Hair lines down the right edge, outside the vertical text.
  p.setRenderHint(QPainter::Antialiasing, false);
  p.setPen(QPen(Qt::black, 1));
  for (int i = 0; i < 6; ++i) p.drawLine(QPointF(968 + i * 6, 60), QPointF(968 + i * 6, 600));
  p.setRenderHint(QPainter::Antialiasing, true);
  WordMark(p, QPointF(40, 584), Qt::black, 34);
  return image;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s OUTPUT-FOLDER\n", argv[0]);
    return 2;
  }
  // Text needs a GUI application, but never a display.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication app(argc, argv);
  const QString folder = QString::fromLocal8Bit(argv[1]) + QLatin1Char('/');
  const struct {
    const char* name;
    QImage image;
  } pictures[] = {
      {"StandardCardColor.bmp", StandardCardColor()},
      {"StandardCardMono.bmp", StandardCardMono()},
      {"ParametersColorBackground.bmp", ParametersColor()},
      {"ParametersBlackBackground.bmp", ParametersBlack()},
  };
  for (const auto& picture : pictures) {
    const QString path = folder + QLatin1String(picture.name);
    if (!picture.image.save(path, "BMP")) {
      std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
      return 1;
    }
  }
  return 0;
}
