// The ribbon catalog without widgets: the combination lists of every ribbon
// family, the stored-combination table, and the text matches against the
// choice texts of our own VKTS32 PPD.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "PPDHelper.h"
#include "PpdTestSupport.h"
#include "RibbonCatalog.h"

namespace {

using Strings = std::vector<std::string>;

// Each row: the ribbons, a colon, the combination list they offer joined by "|".
void ExpectLists(bool twoSided, const Strings& rows) {
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

TEST(RibbonCatalogLists, CombinationsHalfPanelBoxMonochromeConversionsAndRibbonNames) {
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
  for (int ribbon = -1; ribbon <= 20; ++ribbon)  // the half-panel ribbons, on either side choice
    EXPECT_EQ(RibbonCatalog::CombinationsFor(ribbon, ribbon % 2).halfPanel,
              ribbon == 3 || ribbon == 4 || ribbon == 8 || ribbon == 9)
        << ribbon;
  const Strings all = {"Diffusion", "Halftone", "Barcode", "Text"}, black = {"Barcode", "Text"}, none = {"None"};
  // combination, two-sided: the items; only two-sided limits combination 1, and "None" is selected first.
  const std::tuple<int, bool, Strings> lists[] = {{1, true, black},   {1, false, all}, {14, true, black},
                                                  {14, false, black}, {9, true, none}, {12, false, none},
                                                  {0, true, all}};
  for (const auto& [combination, twoSided, items] : lists) {
    const RibbonCatalog::MonoConversions list = RibbonCatalog::MonoConversionsFor(combination, twoSided);
    EXPECT_EQ(list.items, items) << combination << twoSided;
    EXPECT_EQ(list.selectFirst, items == none) << combination << twoSided;
  }
  // "Text" of the two-item list is 3; no driver line (KdO): 5, left as it is.
  const std::tuple<int, int, int> values[] = {{1, 14, 3}, {0, 1, 2}, {3, 4, 3}, {0, 12, 5}, {0, 9, 5}, {-1, 0, -1}};
  for (const auto& [index, combination, value] : values)
    EXPECT_EQ(RibbonCatalog::MonoOptionForDriver(index, combination), value) << index << "/" << combination;
  // The Series 1 list of two and the first two names show in the model's tables.
  EXPECT_EQ(RibbonCatalog::MonochromeRibbonNames(1),
            (Strings{"Standard Monochrome", "High Capacity Monochrome", "Standard White Monochrome",
                     "High Capacity White Monochrome"}));
}

TEST(RibbonCatalogMatches, StoredCombinationsAndTheDriverTextsCombinationsIgnoreSpacesPrinterNamesIgnoreCase) {
  PPDHelper helper;  // the choice texts of our own PPD
  helper.InitPPD(ppd_test::FixturePath("VKTS32.ppd"));
  RibbonCatalog catalog;
  catalog.Fill(helper.GetAllSupportedRibbonTypes(), helper.GetAllRibbonCombination());
  // The stored combination shows as its own item of the ribbon's two-sided list.
  for (int ribbon = -1; ribbon <= 20; ++ribbon) {
    const Strings items = RibbonCatalog::CombinationsFor(ribbon, true).items;
    for (int combination = -1; combination <= 17; ++combination) {
      int expected = ribbon >= 10 && ribbon <= 18 ? 0 : -1;  // one item, whatever was stored
      for (size_t at = 0; at < items.size() && expected < 0; ++at)
        if (catalog.ComboIndexToPPDRibbonCombiIndex(items[at]) == combination) expected = static_cast<int>(at);
      if (ribbon == 9 && combination == 10) expected = -1;  // the one-third ribbon's black pair has no position
      EXPECT_EQ(RibbonCatalog::GetRibbonCombinationIndex(ribbon, combination), expected)
          << ribbon << "/" << combination;
    }
  }
  // Spaces only: case and punctuation still count.
  const std::pair<std::optional<std::string>, int> combinations[] = {
      {"Front YMCO , Back K", 0}, {"Front KrO ,  Back KrO", 8}, {"Front K ,Back K", 10},    {"Front K , Back K", 10},
      {"FrontYMCKO", 14},         {"front ymcko", -1},          {"Front YMCO  Back K", -1}, {"None", -1},
      {std::nullopt, -1}};
  for (const auto& [text, index] : combinations)
    EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex(text), index) << text.value_or("-");
  const std::pair<std::optional<std::string>, int> ribbons[] = {
      {"YMCKO 100 Prints", 0},  {"High Capacity White Monochrome", 14},
      {"ymcko 100 prints", -1}, {"YMCKO100Prints", -1},
      {"Unknown", -1},          {std::nullopt, -1}};
  for (const auto& [text, index] : ribbons)
    EXPECT_EQ(catalog.ComboIndexToPPDRibbonIndex(text), index) << text.value_or("-");
  // A printer's name no driver text holds is the first colour ribbon; a driver text holding the name counts.
  const std::pair<std::string, int> names[] = {{"KdO 500", 15},     {"kdo 700", 16},       {"KRO", 17},
                                               {"black resin", 10}, {"WrKr 600 image", 0}, {"1/2 YMCKO 400 image", 0}};
  for (const auto& [name, index] : names) EXPECT_EQ(catalog.RibbonStringToPPDIndex(name), index) << name;

  // The list positions of ribbons 0..18 (texts sorted by plain comparison), and 0 for one the PPD lacks.
  std::string positions;
  for (int ribbon = -1; ribbon <= 19; ++ribbon)
    positions += std::to_string(catalog.PPDIndexToRibbonIndex(ribbon)) + " ";
  EXPECT_EQ(positions, "0 13 14 15 1 2 16 17 18 3 10 0 11 4 12 5 6 7 8 9 0 ");
  catalog.Fill(std::nullopt, std::nullopt);  // a PPD without the options
  EXPECT_TRUE(catalog.ArrayAvailableRibbons.empty());
  EXPECT_EQ(catalog.ComboIndexToPPDRibbonCombiIndex("Front YMCKO"), -1);
}

}  // namespace
