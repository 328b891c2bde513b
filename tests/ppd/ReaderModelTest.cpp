// The model decided from the PPD's PC file name and the model-prefixed
// keywords and value tables. The value tables belong to the whole process and
// keep the first model's prefix, so this file is built once per model
// (VKT_MODEL_CASE) and each binary sees its own model first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "PPDHelper.h"
#include "PpdTestSupport.h"

namespace {

using ppd_test::FixturePath;
using Table = PPDHelper::OptionTable;

constexpr struct {
  const char* file;
  int model;
  const char* prefix;
  std::array<int, 7> defaults;  // rotation, mono, printing mode, two-sided, combination, ribbon, half panel
  const char* serial;
  const char* otherFile;  // a PPD of another model, opened second
} kCases[] = {
    {"VKTS32.ppd", 0, "VKTS32", {0, 0, 0, 1, 4, 0, 0}, "VKT3200001", "VKTS31.ppd"},
    {"VKTS31.ppd", 1, "VKTS31", {0, 0, 0, 0, 14, 0, 0}, "VKT3100001", "VKTS32.ppd"},
    {"VKTS1.ppd", 2, "VKTS1", {0, 0, 0, 0, 14, 0, 0}, "VKT1000001", "VKTS32.ppd"},
    // The file is VKTS32C.PPD; its keywords are built with VKTS3C.
    {"VKTS32C.ppd", 3, "VKTS3C", {0, 0, 0, 1, 4, 0, 0}, "VKT3C00001", "VKTS32.ppd"},
    // PC file name "vkts31.ppd": the comparison is case-sensitive, so unknown.
    {"vkts31-lowercase.ppd", -1, "", {0, 0, 0, 0, 0, 0, 0}, "VKT3100002", "VKTS32.ppd"},
};
const auto& Case() { return kCases[VKT_MODEL_CASE]; }

TEST(ReaderModel, ModelKeywordsValueTablesAndDefaultsFollowTheFirstPcFileName) {
  PPDHelper helper;
  helper.InitPPD(FixturePath(Case().file));
  const std::string p = Case().prefix, file = ppd_test::ReadFile(FixturePath(Case().file));
  EXPECT_EQ(helper.GetPPDDefaultValues(), Case().defaults);
  // Model, keyword prefix, model name, serial number, address, ribbon alert.
  EXPECT_EQ(std::to_string(helper.PPD_nPrinterModel) + "|" + helper.PrinterModel + "|" +
                helper.GetPrinterModelString() + "|" + helper.PPD_strPrinterSerialNo + "|" + helper.PPD_strIPAddress +
                "|" + std::to_string(helper.IsRibbonAlertEnabled()),
            std::to_string(Case().model) + "|" + p + "|" + p + "|" + Case().serial + "|203.0.113.10|1");
  // Keyword, table and table size. Each line of a table is the default line
  // of one choice the file offers, in order: that is how the rewriter finds
  // and writes a line.
  const std::tuple<std::string, Table, size_t> options[] = {
      {helper.PPD_DUAL_SIDE, Table::kDualSide, 2},
      {helper.PPD_ORIENTATION, Table::kOrientation, 2},
      {helper.PPD_ROTATION, Table::kRotation, 4},
      {helper.PPD_MONO_OPTION, Table::kMonoOption, 4},
      {helper.PPD_PRINTING_MODE, Table::kPrintingMode, 3},
      {helper.PPD_RIBBON_NAME, Table::kRibbonType, 19},
      {helper.PPD_RIBBON_COMBINATION, Table::kRibbonCombination, 17},
      {helper.PPD_AUTO_HALF, Table::kAutoHalf, 2}};
  // A second helper's own keywords follow its file; the shared tables do not.
  PPDHelper other;
  other.InitPPD(FixturePath(Case().otherFile));
  EXPECT_NE(other.PPD_RIBBON_NAME, helper.PPD_RIBBON_NAME);
  EXPECT_EQ(other.PPD_RIBBON_NAME, other.PrinterModel + "RibbonName");
  for (const auto& [keyword, which, size] : options) {
    SCOPED_TRACE(keyword);
    EXPECT_EQ(keyword.substr(0, p.size()), p);
    const auto& table = PPDHelper::ValueTable(which);
    ASSERT_EQ(table.size(), size);
    for (size_t i = 0; i < table.size(); ++i) {
      std::string head = "*Default" + keyword + ": ", choice = std::to_string(i);
      EXPECT_EQ(table[i].substr(0, head.size() + choice.size()), head + choice);
      choice = "\n*" + keyword + " " + table[i].substr(head.size()) + "/";
      EXPECT_TRUE(Case().model < 0 || file.find(choice) != std::string::npos) << choice;
    }
  }
  const auto ribbons = helper.GetAllSupportedRibbonTypes();
  const auto combinations = helper.GetAllRibbonCombination();
  ASSERT_EQ(ribbons.has_value() && combinations.has_value(), Case().model >= 0);  // bare keywords name no option
  if (Case().model < 0) return;
  EXPECT_EQ(ribbons->size() * 100 + combinations->size(), 1917u);
  EXPECT_EQ(ribbons->at("3") + "|" + ribbons->at("18") + "|" + combinations->at("9"),
            "Half Panel YMCKO 250 Prints|KrO 700 Prints|Front KdO, Back KdO");
}

}  // namespace
