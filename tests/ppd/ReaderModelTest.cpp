// The model decided from the PPD's PC file name and the model-prefixed
// keywords and value tables. The value tables belong to the whole process and
// keep the first model's prefix, so this file is built once per model
// (VKT_MODEL_CASE) and each binary sees its own model first.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <string>

#include "PPDHelper.h"
#include "PpdTestSupport.h"

namespace {

using ppd_test::FixturePath;
using ppd_test::ReadFile;
using Table = PPDHelper::OptionTable;

struct ModelCase {
  const char* file;
  int model;
  const char* prefix;
  std::array<int, 7> defaults;  // rotation, mono, printing mode, two-sided, combination, ribbon, half panel
  const char* serial;
  const char* otherFile;  // a PPD of another model, opened second
  const char* otherPrefix;
};

constexpr ModelCase kCases[] = {
    {"VKTS32.ppd", 0, "VKTS32", {0, 0, 0, 1, 4, 0, 0}, "VKT3200001", "VKTS31.ppd", "VKTS31"},
    {"VKTS31.ppd", 1, "VKTS31", {0, 0, 0, 0, 14, 0, 0}, "VKT3100001", "VKTS32.ppd", "VKTS32"},
    {"VKTS1.ppd", 2, "VKTS1", {0, 0, 0, 0, 14, 0, 0}, "VKT1000001", "VKTS32.ppd", "VKTS32"},
    // The file is VKTS32C.PPD; its keywords are built with VKTS3C.
    {"VKTS32C.ppd", 3, "VKTS3C", {0, 0, 0, 1, 4, 0, 0}, "VKT3C00001", "VKTS32.ppd", "VKTS32"},
    // PC file name "vkts31.ppd": the comparison is case-sensitive, so unknown.
    {"vkts31-lowercase.ppd", -1, "", {0, 0, 0, 0, 0, 0, 0}, "VKT3100002", "VKTS32.ppd", "VKTS32"},
};
const ModelCase& Case() { return kCases[VKT_MODEL_CASE]; }

struct TableShape {
  Table table;
  const char* option;
  size_t size;
};
constexpr TableShape kShapes[] = {
    {Table::kDualSide, "DualSidePrinting", 2}, {Table::kOrientation, "Orientation", 2},
    {Table::kRotation, "Rotation", 4},         {Table::kMonoOption, "MonoConversion", 4},
    {Table::kPrintingMode, "PrintingMode", 3}, {Table::kRibbonType, "RibbonName", 19},
    {Table::kRibbonCombination, "RibbonCombination", 17}, {Table::kAutoHalf, "AutoHalfPanel", 2},
};

class ReaderModel : public ::testing::Test {
 protected:
  void SetUp() override { helper.InitPPD(FixturePath(Case().file)); }
  std::string Prefixed(const char* suffix) const { return std::string(Case().prefix) + suffix; }
  PPDHelper helper;
};

TEST_F(ReaderModel, ModelNumberStringAndKeywordsFollowThePcFileName) {
  EXPECT_EQ(helper.PPD_nPrinterModel, Case().model);
  EXPECT_EQ(helper.PrinterModel, Case().prefix);
  EXPECT_EQ(helper.GetPrinterModelString(), Case().prefix);
  EXPECT_EQ(helper.PPDFileName, FixturePath(Case().file));
  EXPECT_EQ(helper.PPD_DUAL_SIDE, Prefixed("DualSidePrinting"));
  EXPECT_EQ(helper.PPD_ORIENTATION, Prefixed("Orientation"));
  EXPECT_EQ(helper.PPD_MONO_OPTION, Prefixed("MonoConversion"));
  EXPECT_EQ(helper.PPD_PRINTING_MODE, Prefixed("PrintingMode"));
  EXPECT_EQ(helper.PPD_RIBBON_NAME, Prefixed("RibbonName"));
  EXPECT_EQ(helper.PPD_RIBBON_COMBINATION, Prefixed("RibbonCombination"));
  EXPECT_EQ(helper.PPD_AUTO_HALF, Prefixed("AutoHalfPanel"));
  EXPECT_EQ(helper.PPD_ROTATION, Prefixed("Rotation"));
  // The job-log names carry no model.
  EXPECT_EQ(helper.PPD_JL_ENABLE_LOG, "EnableLog");
  EXPECT_EQ(helper.PPD_JL_TRACK3, "MTrack3");
  EXPECT_EQ(helper.PPD_JL_FILENAME, "FileName");
  EXPECT_EQ(helper.IsRibbonAlertEnabled(), 1);
}

TEST_F(ReaderModel, DefaultsAndAttributes) {
  EXPECT_EQ(helper.GetPPDDefaultValues(), Case().defaults);
  EXPECT_EQ(helper.PPD_nOrientation, 0);
  EXPECT_EQ(helper.PPD_strIPAddress, "203.0.113.10");
  EXPECT_EQ(helper.PPD_strPrinterSerialNo, Case().serial);
  EXPECT_EQ(helper.PPD_nFrontX, 0);
  EXPECT_EQ(helper.PPD_nBackY, 0);
  JobLog_ expected;
  expected.Separator = ",";
  expected.FileName = "VKTS3.log";
  expected.StaticText = "Orvex";
  EXPECT_EQ(helper.GetPPDJobLogDefaultValues(), expected);
  EXPECT_EQ(helper.oldLogvalues, expected);
}

TEST_F(ReaderModel, ValueTablesHoldThisModelsDefaultLines) {
  const std::string file = ReadFile(FixturePath(Case().file));
  for (const auto& shape : kShapes) {
    SCOPED_TRACE(shape.option);
    const auto& table = PPDHelper::ValueTable(shape.table);
    ASSERT_EQ(table.size(), shape.size);
    for (const std::string& line : table)
      EXPECT_THAT(line, ::testing::StartsWith("*Default" + Prefixed(shape.option) + ": "));
  }
  EXPECT_EQ(PPDHelper::ValueTable(Table::kRibbonType)[14], "*Default" + Prefixed("RibbonName") + ": 14hWhiteMonochrome");
  EXPECT_EQ(PPDHelper::ValueTable(Table::kRibbonCombination)[16],
            "*Default" + Prefixed("RibbonCombination") + ": 16FrontWr");
  if (Case().model < 0) return;
  // The current values name the default lines the file holds: that is how the
  // rewriter finds a line without parsing the file.
  const int current[] = {helper.PPD_nDualSettings, helper.PPD_nOrientation, helper.PPD_nRotation,
                         helper.PPD_nMonoOption,   helper.PPD_nPrintingMode, helper.PPD_nRibbonType,
                         helper.PPD_nRibbonComb,   helper.PPD_nAutoHalf};
  for (size_t i = 0; i < std::size(kShapes); ++i) {
    const std::string& line = PPDHelper::ValueTable(kShapes[i].table)[static_cast<size_t>(current[i])];
    EXPECT_NE(file.find("\n" + line + "\n"), std::string::npos) << line;
  }
}

TEST_F(ReaderModel, TheFirstModelKeepsTheTablesForTheProcess) {
  PPDHelper other;
  other.InitPPD(FixturePath(Case().otherFile));
  // The second helper's own keywords follow its file ...
  EXPECT_EQ(other.PrinterModel, Case().otherPrefix);
  EXPECT_EQ(other.PPD_RIBBON_NAME, std::string(Case().otherPrefix) + "RibbonName");
  // ... the shared value tables do not.
  EXPECT_EQ(PPDHelper::ValueTable(Table::kRotation)[3], "*Default" + Prefixed("Rotation") + ": 3Both");
  EXPECT_EQ(PPDHelper::ValueTable(Table::kRibbonType)[0], "*Default" + Prefixed("RibbonName") + ": 0YMCKO100");
}

TEST_F(ReaderModel, RibbonDictionaries) {
  testing::internal::CaptureStderr();
  const auto ribbons = helper.GetAllSupportedRibbonTypes();
  const auto combinations = helper.GetAllRibbonCombination();
  const std::string log = testing::internal::GetCapturedStderr();
  if (Case().model < 0) {
    // Bare keywords name no option of the file.
    EXPECT_FALSE(ribbons.has_value());
    EXPECT_FALSE(combinations.has_value());
    EXPECT_THAT(log, ::testing::HasSubstr("No such a option name found\n"));
    return;
  }
  ASSERT_TRUE(ribbons.has_value());
  ASSERT_TRUE(combinations.has_value());
  EXPECT_EQ(ribbons->size(), 19u);
  EXPECT_EQ(combinations->size(), 17u);
  EXPECT_EQ(ribbons->at("3"), "Half Panel YMCKO 250 Prints");
  EXPECT_EQ(ribbons->at("18"), "KrO 700 Prints");
  EXPECT_EQ(combinations->at("9"), "Front KdO, Back KdO");
}

}  // namespace
