// Model rules. A 20-character firmware text carries the encoder letter at
// position 6 and the smart-card letter at 5; every other length one place
// later (7 and 6). Both layouts exist in the field and are kept apart.
#include "PrinterModelRules.h"

namespace {

char At(const std::string& text, size_t position) { return position < text.size() ? text[position] : '\0'; }

std::string SmartCardText(char letter) {
  if (letter == 'E') return "Contact Station";
  if (letter == 'A') return "PS/SC Contact encoder + Contactless Mifare";
  return "No";
}

}  // namespace

PrinterModelRules PrinterModelRules::Decide(const std::string& firmware, long currentType) {
  PrinterModelRules rules;
  rules.PrinterType = currentType;
  size_t encoderPosition = 7;
  size_t smartCardPosition = 6;
  if (firmware.size() == 20) {
    encoderPosition = 6;
    smartCardPosition = 5;
    // "VKT11" is tested first, so a text holding both names is a Series 1.
    if (firmware.find("VKT11") != std::string::npos) {
      rules.PrinterName = "Orvex VKT Series 1";
      rules.PrinterType = 2;
      rules.bDualSide = false;
    } else if (firmware.find("VKT31") != std::string::npos) {
      rules.PrinterName = "Orvex VKT Series 31";
      rules.PrinterType = 1;
      rules.bDualSide = false;
    } else {
      rules.PrinterName = "Orvex VKT Series 32";
      rules.PrinterType = 0;
      rules.bDualSide = true;
    }
  } else {
    rules.PrinterName = "Orvex VKT Series 3";
    rules.bDualSide = true;
  }
  rules.magEncoder = At(firmware, encoderPosition) == 'M';
  rules.SmartCard = SmartCardText(At(firmware, smartCardPosition));
  return rules;
}
