// The ribbon code names and the ribbon capability flags.
#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "DeviceCommunication.h"

namespace {

TEST(RibbonTableTest, NamesOfTheKnownCodesOnly) {
  std::istringstream table(
      "0=No Ribbon|1=Monochrome|31=YMCKOKO|32=1/2 YMCKOKO 250 image|33=1/3 YMCKOK 310 image|34=WrKr 600 image|"
      "43=YMCKO|44=1/2 YMCKO 400|47=KRO|50=YMCKO 200|51=YMCKOK 165|52=1/2 YMCKO 250 image|53=KrO 500|54=KdO 500|"
      "57=Black Monochrome 2000|58=Black Monochrome 1000|62=YMCKOO|63=White Mono 1400 image|64=1/2 YMCKO 400 image|"
      "65=YMCKO 280 image|66=YMCKOK 230 image|67=KrO 700|68=KdO 700|70=YMCKO 100|71=1/2 YMCKO 400 image");
  std::map<int, std::string> names;
  for (std::string entry; std::getline(table, entry, '|');) names[std::stoi(entry)] = entry.substr(entry.find('=') + 1);
  ASSERT_EQ(names.size(), 25u);
  for (int code = -5; code <= 200; ++code) {
    const auto it = names.find(code);
    EXPECT_EQ(GetRibbonName(code), it == names.end() ? std::nullopt : std::optional(it->second)) << code;
  }
  testing::internal::CaptureStderr();
  GetRibbonName(20);
  GetRibbonName(43);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "!!!value: (null)\n!!!value: YMCKO\n");
}

TEST(RibbonTableTest, FlagsPerRibbonIndex) {
  for (int index = -1; index <= 100; ++index) {
    int first = -7, second = -7;
    GetRibbonDetails(index, &first, &second);
    const bool both = index == 1 || index == 14, firstOnly = index == 0 || (index >= 2 && index <= 7);
    EXPECT_EQ(std::make_pair(first, second), std::make_pair(both || firstOnly ? 1 : 0, both ? 1 : 0)) << index;
  }
}

}  // namespace
