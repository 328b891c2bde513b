// Draws the test cards: background picture, then every line of the card in
// order, queried from the printer where the line needs it.
#include "TestCardRenderer.h"

#include <QFont>
#include <QPainter>
#include <QString>
#include <numbers>
#include <utility>

#include "DeviceCommunication.h"
#include "TestCardText.h"

namespace {

// The backgrounds are built into the library as Qt resources (the program
// testcard/MakeTestCardBackgrounds draws them at build time).
constexpr const char* kResourceFolder = ":/testcard/";

}  // namespace

TestCardRenderer::TestCardRenderer(DeviceCommunication* device, TestCardFacts facts)
    : device_(device), facts_(std::move(facts)) {}

void TestCardRenderer::SetFacts(TestCardFacts facts) { facts_ = std::move(facts); }

std::string TestCardRenderer::BackgroundName(int kind, int colorFlag) {
  if (colorFlag != 0 && colorFlag != 1) return {};
  if (kind == TestCardText::kStandardCard) return colorFlag == 1 ? "StandardCardColor.bmp" : "StandardCardMono.bmp";
  if (kind == TestCardText::kParameterCard || kind == TestCardText::kEncoderCard)
    return colorFlag == 1 ? "ParametersColorBackground.bmp" : "ParametersBlackBackground.bmp";
  return {};
}

QImage TestCardRenderer::DrawTestCardBackGround(int kind, int colorFlag) {
  const std::string name = BackgroundName(kind, colorFlag);
  if (name.empty()) return {};
  return QImage(QString::fromStdString(kResourceFolder + name));
}

void TestCardRenderer::DrawTestCardText(const std::string& text, int size, bool bold, double x, double y) {
  if (painter_ == nullptr) return;
  QFont font(QStringLiteral("Helvetica"));
  font.setBold(bold);
  font.setPixelSize(size);
  painter_->save();
  painter_->setFont(font);
  painter_->setPen(Qt::black);
  // The card's coordinates have y up; text drawn in them would stand on its
  // head, so it is drawn in a local frame flipped back at its baseline.
  painter_->translate(x, y);
  painter_->scale(1, -1);
  painter_->drawText(QPointF(0, 0), QString::fromStdString(text));
  painter_->restore();
}

void TestCardRenderer::RotateCard(double radians) {
  // In the y-up card frame a positive Qt angle turns counter-clockwise, so
  // the angle keeps its mathematical sense.
  if (painter_ != nullptr) painter_->rotate(radians * 180.0 / std::numbers::pi);
}

QImage TestCardRenderer::Compose(int kind, int colorFlag, const std::vector<TestCardLine>& lines) {
  QImage image = DrawTestCardBackGround(kind, colorFlag);
  if (image.isNull()) {
    // No picture: the card is blank and carries only the text.
    image = QImage(kCardWidth, kCardHeight, QImage::Format_RGB32);
    image.fill(Qt::white);
  } else {
    if (image.width() != kCardWidth || image.height() != kCardHeight)
      image = image.scaled(kCardWidth, kCardHeight, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    image = image.convertToFormat(QImage::Format_RGB32);
  }

  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setRenderHint(QPainter::TextAntialiasing);
  // Card coordinates: origin at the lower-left corner, y growing upwards.
  painter.translate(0, kCardHeight);
  painter.scale(1, -1);
  painter_ = &painter;
  bool rotated = false;
  for (const TestCardLine& line : lines) {
    if (line.rotated && !rotated) {
      RotateCard(kQuarterTurn);  // stays in force for the rest of the card
      rotated = true;
    }
    DrawTestCardText(line.text, line.size, true, line.x, line.y);
  }
  painter_ = nullptr;
  painter.end();
  return image;
}

std::string TestCardRenderer::QueryPrinter(const std::string& command) {
  if (device_ == nullptr) return {};
  const std::string bytes = "\x1b" + command + "\r";
  return device_->AskPrinter(bytes.data(), static_cast<int>(bytes.size())).value_or(std::string());
}

std::vector<std::string> TestCardRenderer::GetPanelsPrintedAndPrinterError() {
  return TestCardText::SplitAtBlanks(TestCardText::Printable(QueryPrinter("!NL")));
}

QImage TestCardRenderer::DrawStandaredTestCard(int colorFlag) {
  const std::string edgeCount = QueryPrinter("+EC");
  return Compose(TestCardText::kStandardCard, colorFlag, TestCardText::StandardCard(facts_, edgeCount));
}

QImage TestCardRenderer::DrawEncoderTestCard(int colorFlag) {
  const std::string settings = QueryPrinter("&V");
  return Compose(TestCardText::kEncoderCard, colorFlag, TestCardText::EncoderCard(facts_, settings));
}

QImage TestCardRenderer::DrawParameterTestCard(int colorFlag) {
  ParameterCardReplies replies;
  replies.panelsAndErrors = GetPanelsPrintedAndPrinterError();
  replies.blackContrast = QueryPrinter("!V 3");
  replies.blackSpeed = QueryPrinter("!V 16");
  replies.varnishContrast = QueryPrinter("!V 4");
  replies.varnishSpeed = QueryPrinter("!V 17");
  replies.ribbonBrake = QueryPrinter("+BR");
  replies.speeds = QueryPrinter("$V");
  replies.lineEnd = QueryPrinter("+DL");
  replies.headNumber = QueryPrinter("%HEAD");
  return Compose(TestCardText::kParameterCard, colorFlag, TestCardText::ParameterCard(facts_, replies));
}

QImage TestCardRenderer::DrawTestCard(int kind, int colorFlag) {
  switch (kind) {
    case TestCardText::kStandardCard: return DrawStandaredTestCard(colorFlag);
    case TestCardText::kParameterCard: return DrawParameterTestCard(colorFlag);
    case TestCardText::kEncoderCard: return DrawEncoderTestCard(colorFlag);
    default: return {};
  }
}
