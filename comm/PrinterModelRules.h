// The printer model and its options, decided from the firmware version text
// by character position.
#pragma once

#include <string>

struct PrinterModelRules {
  std::string PrinterName;  // "Orvex VKT Series 1", "... 31", "... 32" or "... 3"
  long PrinterType = 0;     // 0 dual-sided (Series 32 and Series 3), 1 Series 31, 2 Series 1
  bool bDualSide = true;    // also the enabled state of PrintOnBothside
  bool magEncoder = false;
  std::string SmartCard;    // "Contact Station", "PS/SC Contact encoder + Contactless Mifare" or "No"

  // `currentType` is kept for firmware texts that are not 20 characters long.
  static PrinterModelRules Decide(const std::string& firmware, long currentType = 0);
};
