// The ribbon code names and the ribbon capability flags.
#include <gtest/gtest.h>

#include "DeviceCommunication.h"

namespace {

TEST(RibbonNameTest, KnownCodesHaveTheirNames) {
  const std::pair<int, const char*> table[] = {
      {0, "No Ribbon"},
      {1, "Monochrome"},
      {31, "YMCKOKO"},
      {32, "1/2 YMCKOKO 250 image"},
      {33, "1/3 YMCKOK 310 image"},
      {34, "WrKr 600 image"},
      {43, "YMCKO"},
      {44, "1/2 YMCKO 400"},
      {47, "KRO"},
      {50, "YMCKO 200"},
      {51, "YMCKOK 165"},
      {52, "1/2 YMCKO 250 image"},
      {53, "KrO 500"},
      {54, "KdO 500"},
      {57, "Black Monochrome 2000"},
      {58, "Black Monochrome 1000"},
      {62, "YMCKOO"},
      {63, "White Mono 1400 image"},
      {64, "1/2 YMCKO 400 image"},
      {65, "YMCKO 280 image"},
      {66, "YMCKOK 230 image"},
      {67, "KrO 700"},
      {68, "KdO 700"},
      {70, "YMCKO 100"},
      {71, "1/2 YMCKO 400 image"},
  };
  int named = 0;
  for (int code = -5; code <= 200; ++code) {
    if (GetRibbonName(code)) ++named;
  }
  EXPECT_EQ(named, 25);
  for (const auto& [code, name] : table) EXPECT_EQ(GetRibbonName(code), name) << code;
}

TEST(RibbonNameTest, UnknownCodesHaveNoName) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(GetRibbonName(20), std::nullopt);
  EXPECT_EQ(GetRibbonName(43), "YMCKO");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "!!!value: (null)\n!!!value: YMCKO\n");
  EXPECT_EQ(GetRibbonName(72), std::nullopt);
  EXPECT_EQ(GetRibbonName(-1), std::nullopt);
}

TEST(RibbonDetailsTest, FlagsPerRibbonIndex) {
  auto flags = [](int index) {
    int first = -7, second = -7;
    GetRibbonDetails(index, &first, &second);
    return std::make_pair(first, second);
  };
  for (int index : {0, 2, 3, 4, 5, 6, 7}) EXPECT_EQ(flags(index), std::make_pair(1, 0)) << index;
  for (int index : {1, 14}) EXPECT_EQ(flags(index), std::make_pair(1, 1)) << index;
  for (int index : {8, 9, 10, 11, 12, 13, 15, 100, -1}) EXPECT_EQ(flags(index), std::make_pair(0, 0)) << index;
}

}  // namespace
