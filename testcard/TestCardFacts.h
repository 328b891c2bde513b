// What the main window knows about the printer and prints on the test cards:
// the texts of its printer-information labels and the four print offsets.
#pragma once

#include <array>
#include <string>

struct TestCardFacts {
  std::string frmVersion;     // firmware version as read: model word, blank, version word
  std::string SerialNum;      // serial-number label
  std::string HeadResis;      // head-resistance label
  std::string PannelPrinted;  // panels-printed label
  std::string FwVersion;      // firmware-version label
  std::string RibbonTypes;    // ribbon label (the ribbon shown in the main window)
  std::array<int, 4> pOffset{0, 0, 0, 0};  // front X, front Y, back X, back Y
};
