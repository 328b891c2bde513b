// The model decided from the firmware text by its length and the letters at
// fixed positions.
#include <gtest/gtest.h>

#include "PrinterModelRules.h"

namespace {

TEST(PrinterModelRulesTest, FirmwareTextsDecideModelSidesEncoderAndSmartCard) {
  const struct {
    const char* firmware;
    long currentType;
    const char* decided;  // name, type, sides, encoder, smart card
  } cases[] = {
      // 20 characters: the names decide, position 5 the smart card, 6 the encoder.
      {"VKT11 VKT31 V1.00.01", 0, "Orvex VKT Series 1|2|one|no|No"},
      {"VKT31-M V1.02.03.016", 0, "Orvex VKT Series 31|1|one|yes|No"},
      {"VKT32-M V1.02.03.016", 1, "Orvex VKT Series 32|0|two|yes|No"},
      {"VKT32EM V1.02.03.016", 0, "Orvex VKT Series 32|0|two|yes|Contact Station"},
      {"VKT32AM V1.02.03.016", 0, "Orvex VKT Series 32|0|two|yes|PS/SC Contact encoder + Contactless Mifare"},
      {"VKT32-E V1.02.03.016", 0, "Orvex VKT Series 32|0|two|no|No"},
      // 19 and 21 characters: positions 7 and 6; the names do not matter and the type stays.
      {"VKTS3CEM V1.02.0345", 0, "Orvex VKT Series 3|0|two|yes|Contact Station"},
      {"VKTS3-AM V1.02.03.045", 0, "Orvex VKT Series 3|0|two|yes|PS/SC Contact encoder + Contactless Mifare"},
      {"VKT11-M V1.01.07.0021", 2, "Orvex VKT Series 3|2|two|no|No"},
      {"", 0, "Orvex VKT Series 3|0|two|no|No"},
      {"NA", 1, "Orvex VKT Series 3|1|two|no|No"},
      {"VKT", 0, "Orvex VKT Series 3|0|two|no|No"},
  };
  for (const auto& c : cases) {
    const PrinterModelRules rules = PrinterModelRules::Decide(c.firmware, c.currentType);
    EXPECT_EQ(rules.PrinterName + "|" + std::to_string(rules.PrinterType) + "|" + (rules.bDualSide ? "two" : "one") +
                  "|" + (rules.magEncoder ? "yes" : "no") + "|" + rules.SmartCard,
              c.decided)
        << c.firmware;
  }
}

}  // namespace
