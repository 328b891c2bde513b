// Draws the three test cards (standard, parameter, encoder) as 1024 x 640
// images: the background picture for the card kind and ribbon colour, with
// the printer facts and the printer's answers written over it.
#pragma once

#include <QImage>
#include <string>
#include <vector>

#include "TestCardFacts.h"
#include "TestCardLine.h"

class DeviceCommunication;
class QPainter;

class TestCardRenderer {
 public:
  static constexpr int kCardWidth = 1024;
  static constexpr int kCardHeight = 640;
  // The quarter turn before the last lines of the parameter and encoder cards.
  static constexpr double kQuarterTurn = -1.5707963267948966;

  // `device` (not owned, may be null: every query then answers nothing)
  // answers the queries made while a card is drawn.
  TestCardRenderer(DeviceCommunication* device, TestCardFacts facts);

  const TestCardFacts& Facts() const { return facts_; }
  void SetFacts(TestCardFacts facts);

  // The background picture of card kind 0 (standard) or 1, 2 (parameter,
  // encoder) for colour flag 1 (colour) or 0 (monochrome); a null image for
  // any other kind or flag.
  static QImage DrawTestCardBackGround(int kind, int colorFlag);
  // The resource name of that picture; empty when there is none.
  static std::string BackgroundName(int kind, int colorFlag);

  // Draws `text` into the card being drawn: "Helvetica-Bold" (or "Helvetica"
  // when not bold) at `size` card units, baseline starting at (x, y) in the
  // card's current coordinates (origin lower left, y up, rotated after
  // RotateCard). Does nothing when no card is being drawn.
  void DrawTestCardText(const std::string& text, int size, bool bold, double x, double y);

  QImage DrawStandaredTestCard(int colorFlag);
  QImage DrawParameterTestCard(int colorFlag);
  QImage DrawEncoderTestCard(int colorFlag);
  // The card method for `kind`; a null image for a kind outside 0..2.
  QImage DrawTestCard(int kind, int colorFlag);

  // ESC "!NL" CR, the reply request, one read; the reply split at single
  // blanks: panels printed, then the error count.
  std::vector<std::string> GetPanelsPrintedAndPrinterError();

  // One printer query: ESC <command> CR, then ESC "E 2" CR, then one read.
  // The reply as ReadFromPrinter gives it; empty when nothing came.
  std::string QueryPrinter(const std::string& command);

 private:
  // Background of `kind` sized to the card (white without a picture), with
  // the lines drawn over it in order.
  QImage Compose(int kind, int colorFlag, const std::vector<TestCardLine>& lines);
  void RotateCard(double radians);

  DeviceCommunication* device_;
  TestCardFacts facts_;
  QPainter* painter_ = nullptr;  // the card being drawn; set only inside Compose
};
