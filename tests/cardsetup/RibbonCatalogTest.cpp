// The ribbon catalog without widgets: the combination lists of every ribbon
// family, the stored-combination table, and the text matches against the
// driver's choice texts.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "RibbonCatalog.h"

namespace {

using Strings = std::vector<std::string>;

// Choice texts as a driver PPD gives them (ours: tests/fixtures/ppd).
RibbonCatalog::Table RibbonTexts() {
  return {{"0", "YMCKO 100 Prints"}, {"1", "YMCKO 200 Prints"}, {"2", "YMCKO 280 Prints"},
          {"3", "Half Panel YMCKO 250 Prints"}, {"4", "Half Panel YMCKO 400 Prints"}, {"5", "YMCKOK 165 Prints"},
          {"6", "YMCKOK 230 Prints"}, {"7", "YMCKOKO"}, {"8", "Half Panel YMCKOKO 250 Prints"},
          {"9", "One-Third Panel YMCKOK 310 Prints"}, {"10", "Black Resin"}, {"11", "Monochrome"},
          {"12", "Monochrome 2000 Prints"}, {"13", "White Monochrome"}, {"14", "White Monochrome (High)"},
          {"15", "KdO 500 Prints"}, {"16", "KdO 700 Prints"}, {"17", "KrO 500 Prints"}, {"18", "KrO 700 Prints"}};
}

RibbonCatalog::Table CombinationTexts() {
  return {{"0", "Front YMCO, Back K"}, {"1", "Front YMCKO, Back YMCKO"}, {"2", "Front YMC, Back KO"},
          {"3", "Front YMCK, Back K"}, {"4", "Front YMCKO, Back K"}, {"5", "Front YMCKO, Back KO"},
          {"6", "Front YMCO, Back KO"}, {"7", "Front YMCK, Back KO"}, {"8", "Front KrO, Back KrO"},
          {"9", "Front KdO, Back KdO"}, {"10", "Front K, Back K"}, {"11", "Front KrO"}, {"12", "Front KdO"},
          {"13", "Front K"}, {"14", "Front YMCKO"}, {"15", "Front Wr, Back Kr"}, {"16", "Front Wr"}};
}

RibbonCatalog Filled() {
  RibbonCatalog catalog;
  catalog.Fill(RibbonTexts(), CombinationTexts());
  return catalog;
}

TEST(RibbonCatalogLists, EveryFamilyOnTwoSides) {
  const Strings colour = {"Front YMCO , Back K", "Front YMCKO , Back YMCKO", "Front YMC , Back KO"};
  const Strings ymckok = {"Front YMCKO , Back K", "Front YMC , Back KO", "Front YMCKO , Back YMCKO",
                          "Front YMCK , Back K"};
  const Strings ymckoko = {"Front YMCKO , Back KO", "Front YMCKO , Back K", "Front YMCO , Back KO",
                           "Front YMCO , Back K", "Front YMCK , Back KO", "Front YMCK , Back K",
                           "Front YMC , Back KO", "Front YMCKO , Back YMCKO"};
  const Strings oneThird = {"Front YMCKO , Back K", "Front YMCO , Back K", "Front YMCK , Back K",
                            "Front YMC , Back KO", "Front YMCKO , Back YMCKO", "Front K ,Back K"};
  const std::map<int, Strings> expected = {
      {0, colour}, {1, colour}, {2, colour}, {3, colour}, {4, colour}, {5, ymckok}, {6, ymckok},
      {7, ymckoko}, {8, ymckoko}, {9, oneThird},
      {10, {"Front K ,Back K"}}, {11, {"Front K ,Back K"}}, {12, {"Front K ,Back K"}},
      {13, {"Front K , Back K"}}, {14, {"Front K , Back K"}},
      {15, {"Front KdO , Back KdO"}}, {16, {"Front KdO , Back KdO"}},
      {17, {"Front KrO ,  Back KrO"}}, {18, {"Front KrO ,  Back KrO"}},
      {19, {}}, {-1, {}}, {40, {}}};
  for (const auto& [ribbon, items] : expected) {
    EXPECT_EQ(RibbonCatalog::CombinationsFor(ribbon, true).items, items) << "ribbon " << ribbon;
  }
}

TEST(RibbonCatalogLists, EveryFamilyOnOneSide) {
  const std::map<int, Strings> expected = {
      {0, {"Front YMCKO"}}, {2, {"Front YMCKO"}}, {3, {"Front YMCKO"}}, {4, {"Front YMCKO"}},
      {5, {"Front YMCKO"}}, {6, {"Front YMCKO"}}, {7, {"Front YMCKO"}}, {8, {"Front YMCKO"}},
      {9, {"Front YMCKO", "Front K"}}, {10, {"Front K"}}, {12, {"Front K"}}, {13, {"Front K"}},
      {14, {"Front K"}}, {15, {"Front KdO"}}, {16, {"Front KdO"}}, {17, {"Front KrO"}}, {18, {"Front KrO"}},
      {19, {}}};
  for (const auto& [ribbon, items] : expected) {
    EXPECT_EQ(RibbonCatalog::CombinationsFor(ribbon, false).items, items) << "ribbon " << ribbon;
  }
}

TEST(RibbonCatalogLists, OnlyHalfPanelRibbonsCheckTheHalfPanelBox) {
  for (int ribbon = -1; ribbon <= 20; ++ribbon) {
    const bool half = ribbon == 3 || ribbon == 4 || ribbon == 8 || ribbon == 9;
    EXPECT_EQ(RibbonCatalog::CombinationsFor(ribbon, true).halfPanel, half) << ribbon;
    EXPECT_EQ(RibbonCatalog::CombinationsFor(ribbon, false).halfPanel, half) << ribbon;
  }
}

TEST(RibbonCatalogStoredCombination, EveryListedPairAndNothingElse) {
  // (ribbon, combination) -> position; every other pair of ribbons 0..9 has none.
  std::map<std::pair<int, int>, int> listed;
  for (int ribbon = 0; ribbon <= 4; ++ribbon) {
    listed[{ribbon, 0}] = 0;
    listed[{ribbon, 1}] = 1;
    listed[{ribbon, 2}] = 2;
  }
  for (int ribbon : {5, 6}) {
    listed[{ribbon, 1}] = 2;
    listed[{ribbon, 2}] = 1;
    listed[{ribbon, 3}] = 3;
    listed[{ribbon, 4}] = 0;
  }
  for (int ribbon : {7, 8}) {
    const int positions[] = {3, 7, 6, 5, 1, 0, 2, 4};
    for (int combination = 0; combination < 8; ++combination) listed[{ribbon, combination}] = positions[combination];
  }
  const int oneThird[] = {1, 4, 3, 2, 0};
  for (int combination = 0; combination < 5; ++combination) listed[{9, combination}] = oneThird[combination];

  for (int ribbon = -1; ribbon <= 20; ++ribbon) {
    for (int combination = -1; combination <= 17; ++combination) {
      int expected = -1;
      if (ribbon >= 10 && ribbon <= 18) expected = 0;
      if (auto found = listed.find({ribbon, combination}); found != listed.end()) expected = found->second;
      EXPECT_EQ(RibbonCatalog::GetRibbonCombinationIndex(ribbon, combination), expected)
          << "ribbon " << ribbon << ", combination " << combination;
    }
  }
}

TEST(RibbonCatalogStoredCombination, APositionShowsTheStoredCombination) {
  // The two tables agree: the item at a stored combination's position is that combination.
  RibbonCatalog catalog = Filled();
  for (int ribbon = 0; ribbon <= 9; ++ribbon) {
    const Strings items = RibbonCatalog::CombinationsFor(ribbon, true).items;
    for (int combination = 0; combination <= 16; ++combination) {
      const int position = RibbonCatalog::GetRibbonCombinationIndex(ribbon, combination);
      if (position < 0) continue;
      ASSERT_LT(position, static_cast<int>(items.size()));
      EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex(items[static_cast<size_t>(position)]), combination)
          << "ribbon " << ribbon << ", position " << position;
    }
  }
}

TEST(RibbonCatalogMatches, CombinationTextsIgnoreSpaces) {
  RibbonCatalog catalog = Filled();
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front YMCO , Back K"), 0);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front KrO ,  Back KrO"), 8);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front K ,Back K"), 10);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front K , Back K"), 10);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("FrontYMCKO"), 14);
  // Spaces only: case and punctuation still count.
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("front ymcko"), -1);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front YMCO  Back K"), -1);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("None"), -1);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex(std::nullopt), -1);
}

TEST(RibbonCatalogMatches, RibbonListTextsMatchExactly) {
  RibbonCatalog catalog = Filled();
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex("YMCKO 100 Prints"), 0);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex("White Monochrome (High)"), 14);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex("ymcko 100 prints"), -1);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex("YMCKO100Prints"), -1);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex("Unknown"), -1);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex(std::nullopt), -1);
}

TEST(RibbonCatalogMatches, PrinterRibbonNamesIgnoreCase) {
  RibbonCatalog catalog = Filled();
  EXPECT_EQ(catalog.RibbonStringToPPDIndex("KdO 500"), 15);
  EXPECT_EQ(catalog.RibbonStringToPPDIndex("kdo 700"), 16);
  EXPECT_EQ(catalog.RibbonStringToPPDIndex("KRO"), 17);
  EXPECT_EQ(catalog.RibbonStringToPPDIndex("black resin"), 10);
  // A name no driver text holds is the first colour ribbon.
  EXPECT_EQ(catalog.RibbonStringToPPDIndex("WrKr 600 image"), 0);
  EXPECT_EQ(catalog.RibbonStringToPPDIndex("1/2 YMCKO 400 image"), 0);

  EXPECT_TRUE(RibbonCatalog::Contains("kro", "KrO 500 Prints"));
  EXPECT_TRUE(RibbonCatalog::Contains("YMCKOKO", "ymckoko"));
  EXPECT_FALSE(RibbonCatalog::Contains("KrO 500 Prints", "kro"));  // b must hold a, not the other way
  EXPECT_FALSE(RibbonCatalog::Contains("YMCKOO", "YMCKOKO"));
}

TEST(RibbonCatalogPositions, SortedByPlainComparison) {
  RibbonCatalog catalog;
  catalog.Fill(RibbonCatalog::Table{{"0", "apple"}, {"1", "Zebra"}, {"2", "Banana"}, {"3", "banana"}}, std::nullopt);
  // Upper case sorts before lower case.
  EXPECT_EQ(catalog.ArrayAvailableRibbons, (Strings{"Banana", "Zebra", "apple", "banana"}));
  EXPECT_EQ(catalog.LookupArrayIndex("apple"), 2);
  EXPECT_EQ(catalog.LookupArrayIndex("Apple"), 0);  // absent
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(3), 3);
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(1), 1);
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(7), 0);  // not offered by the PPD
  EXPECT_TRUE(catalog.DictRibbonCombi.empty());
}

TEST(RibbonCatalogPositions, DriverTextsInListOrder) {
  RibbonCatalog catalog = Filled();
  ASSERT_EQ(catalog.ArrayAvailableRibbons.size(), 19u);
  EXPECT_EQ(catalog.ArrayAvailableRibbons.front(), "Black Resin");
  EXPECT_EQ(catalog.ArrayAvailableRibbons.back(), "YMCKOKO");
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(10), 0);
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(15), 4);   // "KdO 500 Prints"
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(0), 13);   // "YMCKO 100 Prints"
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(7), 18);

  catalog.Fill(std::nullopt, std::nullopt);  // a PPD without the options
  EXPECT_TRUE(catalog.ArrayAvailableRibbons.empty());
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(0), 0);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front YMCKO"), -1);
}

TEST(RibbonCatalogOptions, MonochromeConversionsFollowTheCombination) {
  const Strings all = {"Diffusion", "Halftone", "Barcode", "Text"};
  const Strings black = {"Barcode", "Text"};
  EXPECT_EQ(RibbonCatalog::MonoConversionsFor(1, true).items, black);
  EXPECT_EQ(RibbonCatalog::MonoConversionsFor(1, false).items, all);  // only two-sided limits combination 1
  EXPECT_EQ(RibbonCatalog::MonoConversionsFor(14, true).items, black);
  EXPECT_EQ(RibbonCatalog::MonoConversionsFor(14, false).items, black);
  for (int kdo : {9, 12}) {
    for (bool twoSided : {true, false}) {
      RibbonCatalog::MonoConversions list = RibbonCatalog::MonoConversionsFor(kdo, twoSided);
      EXPECT_EQ(list.items, Strings{"None"});
      EXPECT_TRUE(list.selectFirst);
    }
  }
  for (int combination : {-1, 0, 4, 10, 13}) {
    EXPECT_EQ(RibbonCatalog::MonoConversionsFor(combination, true).items, all) << combination;
    EXPECT_FALSE(RibbonCatalog::MonoConversionsFor(combination, true).selectFirst);
  }
}

TEST(RibbonCatalogOptions, MonochromeValueForTheDriver) {
  EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(1, 14), 3);  // "Text" of the two-item list
  EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(0, 1), 2);
  EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(3, 4), 3);
  EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(0, 12), 5);  // no driver line: left as it is
  EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(0, 9), 5);
  EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(-1, 0), -1);
}

TEST(RibbonCatalogOptions, MonochromeRibbonNamesPerModel) {
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(2), (Strings{"Standard Monochrome", "Standard White Monochrome"}));
  const Strings four = {"Standard Monochrome", "High Capacity Monochrome", "Standard White Monochrome",
                        "High Capacity White Monochrome"};
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(0), four);
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(1), four);
}

}  // namespace
