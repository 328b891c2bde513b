// The model decided from the firmware text by length and character position.
#include <gtest/gtest.h>

#include "PrinterModelRules.h"

namespace {

TEST(PrinterModelRulesTest, TwentyCharactersWithBothNamesIsASeries1) {
  auto rules = PrinterModelRules::Decide("VKT11 VKT31 V1.00.01");
  ASSERT_EQ(std::string("VKT11 VKT31 V1.00.01").size(), 20u);
  EXPECT_EQ(rules.PrinterName, "Orvex VKT Series 1");
  EXPECT_EQ(rules.PrinterType, 2);
  EXPECT_FALSE(rules.bDualSide);
  EXPECT_FALSE(rules.magEncoder);  // position 6 is 'V'
  EXPECT_EQ(rules.SmartCard, "No");
}

TEST(PrinterModelRulesTest, TwentyCharactersByName) {
  auto series31 = PrinterModelRules::Decide("VKT31-M V1.02.03.016");
  EXPECT_EQ(series31.PrinterName, "Orvex VKT Series 31");
  EXPECT_EQ(series31.PrinterType, 1);
  EXPECT_FALSE(series31.bDualSide);
  EXPECT_TRUE(series31.magEncoder);

  auto series32 = PrinterModelRules::Decide("VKT32-M V1.02.03.016", 1);
  EXPECT_EQ(series32.PrinterName, "Orvex VKT Series 32");
  EXPECT_EQ(series32.PrinterType, 0);
  EXPECT_TRUE(series32.bDualSide);
}

TEST(PrinterModelRulesTest, SmartCardLetterOfTheTwentyCharacterLayoutIsPosition5) {
  EXPECT_EQ(PrinterModelRules::Decide("VKT32EM V1.02.03.016").SmartCard, "Contact Station");
  EXPECT_EQ(PrinterModelRules::Decide("VKT32AM V1.02.03.016").SmartCard, "PS/SC Contact encoder + Contactless Mifare");
  EXPECT_EQ(PrinterModelRules::Decide("VKT32-M V1.02.03.016").SmartCard, "No");
  // Position 6 carries the encoder; an 'E' there is no smart card.
  auto shifted = PrinterModelRules::Decide("VKT32-E V1.02.03.016");
  EXPECT_EQ(shifted.SmartCard, "No");
  EXPECT_FALSE(shifted.magEncoder);
}

TEST(PrinterModelRulesTest, NineteenAndTwentyOneCharactersUsePositions7And6) {
  auto nineteen = PrinterModelRules::Decide("VKTS3CEM V1.02.0345");
  ASSERT_EQ(std::string("VKTS3CEM V1.02.0345").size(), 19u);
  EXPECT_EQ(nineteen.PrinterName, "Orvex VKT Series 3");
  EXPECT_TRUE(nineteen.magEncoder);
  EXPECT_EQ(nineteen.SmartCard, "Contact Station");

  auto twentyOne = PrinterModelRules::Decide("VKTS3-AM V1.02.03.045");
  ASSERT_EQ(std::string("VKTS3-AM V1.02.03.045").size(), 21u);
  EXPECT_TRUE(twentyOne.magEncoder);
  EXPECT_EQ(twentyOne.SmartCard, "PS/SC Contact encoder + Contactless Mifare");

  // The names do not matter outside 20 characters.
  auto named = PrinterModelRules::Decide("VKT11-M V1.01.07.0021", 2);
  EXPECT_EQ(named.PrinterName, "Orvex VKT Series 3");
  EXPECT_EQ(named.PrinterType, 2);  // left as it was
  EXPECT_TRUE(named.bDualSide);
  EXPECT_FALSE(named.magEncoder);  // position 7 is 'V'
  EXPECT_EQ(named.SmartCard, "No");
}

TEST(PrinterModelRulesTest, ShortAndEmptyTextsAreSeries3WithoutOptions) {
  for (const char* text : {"", "NA", "VKT"}) {
    auto rules = PrinterModelRules::Decide(text);
    EXPECT_EQ(rules.PrinterName, "Orvex VKT Series 3") << text;
    EXPECT_FALSE(rules.magEncoder) << text;
    EXPECT_EQ(rules.SmartCard, "No") << text;
  }
}

}  // namespace
