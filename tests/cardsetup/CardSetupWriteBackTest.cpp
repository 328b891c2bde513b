// What was loaded is what Apply writes back: for every combination a ribbon
// offers on one and on two sides, with every monochrome choice stored, loading
// the stored defaults and pressing Apply without a change changes nothing (no
// request reaches the PPD service). VKTS32 PPDs only: the driver's value
// tables keep the first model of the process.
#include <gtest/gtest.h>

#include "CardSetupModel.h"
#include "FakePpdService.h"
#include "PPDHelper.h"
#include "PpdTestSupport.h"
#include "ScriptedPrompter.h"

namespace {

using Table = PPDHelper::OptionTable;

TEST(CardSetupWriteBack, LoadThenApplyWithoutAChangeWritesNothing) {
  ppd_test::ScratchDir dir;
  ppd_test::ScopedEnv nobodyListens("VKT_PPD_SERVICE_PORT", "1");  // any request would fail the save
  const std::string fixture = ppd_test::ReadFile(ppd_test::FixturePath("VKTS32.ppd"));
  const std::string path = (dir.path() / "Card.ppd").string();
  ScriptedPrompter prompter;
  std::unique_ptr<PPDHelper> helper;
  std::unique_ptr<CardSetupModel> model;
  // Loads the fixture with the given stored defaults, as start-up does for a
  // printer that reports `ribbon`.
  const auto load = [&](int dual, int ribbon, int combination, int mono, const std::string& reported) {
    std::string text = fixture;
    const auto set = [&](Table table, int from, int to) {
      text = ppd_test::ReplaceLine(text, PPDHelper::ValueTable(table)[from], PPDHelper::ValueTable(table)[to]);
    };
    if (helper) {  // the tables hold the model once a PPD was read
      set(Table::kDualSide, 1, dual);
      set(Table::kRibbonType, 0, ribbon);
      set(Table::kRibbonCombination, 4, combination);
      set(Table::kMonoOption, 0, mono);
    }
    ppd_test::WriteFile(path, text);
    helper = std::make_unique<PPDHelper>();
    helper->InitPPD(path);
    model = std::make_unique<CardSetupModel>();
    CardSetupContext context;
    context.driverSettings = helper.get();
    context.prompter = &prompter;
    context.reportedRibbon = reported;
    context.applyExtras = [] { return CardSetupApplyExtras{{0, 0, 0, 0}, "VKT3200001\r"}; };
    model->SetContext(context);
    model->StartUp(true);
  };
  load(1, 0, 4, 0, "YMCKO");
  int cases = 0;
  for (int dual : {1, 0}) {
    for (int ribbon = 0; ribbon <= 18; ++ribbon) {
      load(dual, ribbon, 4, 0, "YMCKO");
      const std::string name = model->TypeOfRibbon.ItemAt(model->PPDIndexToRibbonIndex(ribbon));
      const std::string reported = ribbon >= 11 && ribbon <= 14 ? "Monochrome" : name;
      load(dual, ribbon, 4, 0, reported);
      std::vector<int> combinations;
      for (const std::string& item : model->RibbonCombinatioin.Items())
        combinations.push_back(model->ComboIndexToPPDRibbonCombiIndex(item));
      for (int combination : combinations) {
        for (int mono = 0; mono <= 3; ++mono) {
          load(dual, ribbon, combination, mono, reported);
          prompter.prompts.clear();
          EXPECT_EQ(model->SaveSettings(), 0) << "two-sided " << dual << ", ribbon " << name << ", combination "
                                              << combination << ", monochrome " << mono;
          ++cases;
        }
      }
    }
  }
  EXPECT_GT(cases, 150);

  // Changing only the rotation writes only the rotation: the stored Text of
  // the two-item list of combination 1 stays 3Text.
  load(1, 0, 1, 3, "YMCKO");
  const std::string stored = ppd_test::ReadFile(path);
  FakePpdService service;
  ppd_test::ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  ppd_test::ScopedEnv runtime("XDG_RUNTIME_DIR", dir.path().string());
  model->Rotate.SelectItemAtIndex(2);
  EXPECT_EQ(model->SaveSettings(), 1);
  EXPECT_EQ(ppd_test::ReadFile(path),
            ppd_test::ReplaceLine(stored, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back"));
  EXPECT_TRUE(prompter.prompts.empty());
}

}  // namespace
