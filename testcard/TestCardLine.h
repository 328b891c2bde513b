// One line of text on a test card: what is drawn, how large and where.
#pragma once

#include <string>

struct TestCardLine {
  std::string text;
  int size = 0;           // font size in card units (1024 x 640 per card)
  double x = 0;           // left end of the baseline; origin lower left, y up
  double y = 0;
  bool rotated = false;   // drawn after the quarter turn (coordinates are then rotated)
  bool operator==(const TestCardLine&) const = default;
};
