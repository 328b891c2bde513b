// The ribbon catalog without widgets: the combination lists of every ribbon
// family, the stored-combination table, and the text matches against the
// driver's choice texts.
#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "RibbonCatalog.h"

namespace {

using Strings = std::vector<std::string>;

// Choice texts as a driver PPD gives them (ours: tests/fixtures/ppd), "0=text|1=text|...".
RibbonCatalog::Table Texts(const std::string& list) {
  RibbonCatalog::Table table;
  for (size_t at = 0, end; at < list.size(); at = end + 1) {
    end = std::min(list.find('|', at), list.size());
    const size_t equals = list.find('=', at);
    table[list.substr(at, equals - at)] = list.substr(equals + 1, end - equals - 1);
  }
  return table;
}

RibbonCatalog Filled() {
  RibbonCatalog catalog;
  catalog.Fill(
      Texts("0=YMCKO 100 Prints|1=YMCKO 200 Prints|2=YMCKO 280 Prints|3=Half Panel YMCKO 250 Prints|4=Half "
            "Panel YMCKO 400 Prints|5=YMCKOK 165 Prints|6=YMCKOK 230 Prints|7=YMCKOKO|8=Half Panel YMCKOKO 250 "
            "Prints|9=One-Third Panel YMCKOK 310 Prints|10=Black Resin|11=Monochrome|12=Monochrome 2000 "
            "Prints|13=White Monochrome|14=White Monochrome (High)|15=KdO 500 Prints|16=KdO 700 Prints|17=KrO "
            "500 Prints|18=KrO 700 Prints"),
      Texts("0=Front YMCO, Back K|1=Front YMCKO, Back YMCKO|2=Front YMC, Back KO|3=Front YMCK, Back K|4=Front "
            "YMCKO, Back K|5=Front YMCKO, Back KO|6=Front YMCO, Back KO|7=Front YMCK, Back KO|8=Front KrO, "
            "Back KrO|9=Front KdO, Back KdO|10=Front K, Back K|11=Front KrO|12=Front KdO|13=Front K|14=Front "
            "YMCKO|15=Front Wr, Back Kr|16=Front Wr"));
  return catalog;
}

// Each row: the ribbons, a colon, the combination list they offer joined by "|".
void ExpectLists(bool twoSided, const std::vector<std::string>& rows) {
  for (const std::string& row : rows) {
    std::istringstream ribbons(row.substr(0, row.find(':')));
    for (int ribbon; ribbons >> ribbon;) {
      std::string items;
      for (const std::string& item : RibbonCatalog::CombinationsFor(ribbon, twoSided).items)
        items += (items.empty() ? "" : "|") + item;
      EXPECT_EQ(items, row.substr(row.find(':') + 1)) << "ribbon " << ribbon << (twoSided ? ", two sides" : "");
    }
  }
}

TEST(RibbonCatalogLists, EveryFamilyOnTwoSidesAndOnOneAndTheHalfPanelBox) {
  ExpectLists(true, {"0 1 2 3 4:Front YMCO , Back K|Front YMCKO , Back YMCKO|Front YMC , Back KO",
                     "5 6:Front YMCKO , Back K|Front YMC , Back KO|Front YMCKO , Back YMCKO|Front YMCK , Back K",
                     "7 8:Front YMCKO , Back KO|Front YMCKO , Back K|Front YMCO , Back KO|Front YMCO , Back K|Front "
                     "YMCK , Back KO|Front YMCK , Back K|Front YMC , Back KO|Front YMCKO , Back YMCKO",
                     "9:Front YMCKO , Back K|Front YMCO , Back K|Front YMCK , Back K|Front YMC , Back KO|Front YMCKO "
                     ", Back YMCKO|Front K ,Back K",
                     "10 11 12:Front K ,Back K", "13 14:Front K , Back K", "15 16:Front KdO , Back KdO",
                     "17 18:Front KrO ,  Back KrO", "-1 19 40:"});
  ExpectLists(false, {"0 2 3 4 5 6 7 8:Front YMCKO", "9:Front YMCKO|Front K", "10 12 13 14:Front K", "15 16:Front KdO",
                      "17 18:Front KrO", "19:"});
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

TEST(RibbonCatalogMatches, CombinationsIgnoreSpacesRibbonListTextsMatchExactlyPrinterNamesIgnoreCase) {
  RibbonCatalog catalog = Filled();
  // Spaces only: case and punctuation still count.
  const std::pair<std::optional<std::string>, int> combinations[] = {
      {"Front YMCO , Back K", 0}, {"Front KrO ,  Back KrO", 8}, {"Front K ,Back K", 10},    {"Front K , Back K", 10},
      {"FrontYMCKO", 14},         {"front ymcko", -1},          {"Front YMCO  Back K", -1}, {"None", -1},
      {std::nullopt, -1}};
  for (const auto& [text, index] : combinations)
    EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex(text), index) << text.value_or("-");
  const std::pair<std::optional<std::string>, int> ribbons[] = {
      {"YMCKO 100 Prints", 0},  {"White Monochrome (High)", 14},
      {"ymcko 100 prints", -1}, {"YMCKO100Prints", -1},
      {"Unknown", -1},          {std::nullopt, -1}};
  for (const auto& [text, index] : ribbons)
    EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex(text), index) << text.value_or("-");
  // A printer's name no driver text holds is the first colour ribbon.
  const std::pair<std::string, int> names[] = {{"KdO 500", 15},     {"kdo 700", 16},       {"KRO", 17},
                                               {"black resin", 10}, {"WrKr 600 image", 0}, {"1/2 YMCKO 400 image", 0}};
  for (const auto& [name, index] : names) EXPECT_EQ(catalog.RibbonStringToPPDIndex(name), index) << name;
  EXPECT_TRUE(RibbonCatalog::Contains("kro", "KrO 500 Prints"));
  EXPECT_TRUE(RibbonCatalog::Contains("YMCKOKO", "ymckoko"));
  EXPECT_FALSE(RibbonCatalog::Contains("KrO 500 Prints", "kro"));  // b must hold a, not the other way
  EXPECT_FALSE(RibbonCatalog::Contains("YMCKOO", "YMCKOKO"));
}

TEST(RibbonCatalogPositions, SortedByPlainComparison) {
  RibbonCatalog catalog;
  catalog.Fill(Texts("0=apple|1=Zebra|2=Banana|3=banana"), std::nullopt);
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
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(15), 4);  // "KdO 500 Prints"
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(0), 13);  // "YMCKO 100 Prints"
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(7), 18);

  catalog.Fill(std::nullopt, std::nullopt);  // a PPD without the options
  EXPECT_TRUE(catalog.ArrayAvailableRibbons.empty());
  EXPECT_EQ(catalog.PPDIndexToRibbonIndex(0), 0);
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front YMCKO"), -1);
}

TEST(RibbonCatalogOptions, MonochromeConversionsValuesAndRibbonNames) {
  const Strings all = {"Diffusion", "Halftone", "Barcode", "Text"}, black = {"Barcode", "Text"}, none = {"None"};
  // combination, two-sided: the items; only two-sided limits combination 1, and "None" is selected first.
  const std::tuple<int, bool, Strings> lists[] = {
      {1, true, black}, {1, false, all},  {14, true, black}, {14, false, black}, {9, true, none},
      {9, false, none}, {12, true, none}, {12, false, none}, {-1, true, all},    {0, true, all},
      {4, true, all},   {10, true, all},  {13, true, all}};
  for (const auto& [combination, twoSided, items] : lists) {
    const RibbonCatalog::MonoConversions list = RibbonCatalog::MonoConversionsFor(combination, twoSided);
    EXPECT_EQ(list.items, items) << combination << twoSided;
    EXPECT_EQ(list.selectFirst, items == none) << combination << twoSided;
  }
  // "Text" of the two-item list is 3; no driver line (KdO): 5, left as it is.
  const std::tuple<int, int, int> values[] = {{1, 14, 3}, {0, 1, 2}, {3, 4, 3}, {0, 12, 5}, {0, 9, 5}, {-1, 0, -1}};
  for (const auto& [index, combination, value] : values)
    EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(index, combination), value) << index << "/" << combination;
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(2), (Strings{"Standard Monochrome", "Standard White Monochrome"}));
  const Strings four = {"Standard Monochrome", "High Capacity Monochrome", "Standard White Monochrome",
                        "High Capacity White Monochrome"};
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(0), four);
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(1), four);
}

}  // namespace
