// The card-setup model over PPDs of our own, without a window: what loading
// the stored defaults shows for each way the printer's ribbon can differ from
// the driver's, the rules between the lists, Restore Defaults, and what Apply
// writes (nothing after a load without a change, nothing when the PPD service
// does not take it). VKTS32 is the first model read: the driver's value tables
// keep it for the whole process.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "CardSetupModel.h"
#include "FakePpdService.h"
#include "PPDHelper.h"
#include "PpdTestSupport.h"
#include "ScriptedPrompter.h"

namespace {

// A list as "size:selected text", "/off" when disabled.
std::string Describe(const ListControl& list) {
  return std::to_string(list.NumberOfItems()) + ":" + list.ObjectValueOfSelectedItem().value_or("-") +
         (list.IsEnabled() ? "" : "/off");
}

class CardSetupModelTest : public ::testing::Test {
 protected:
  // Loads the PPD of a printer of `type` (0 two-sided VKTS32, 1 VKTS31, 2 VKTS1)
  // that reports `ribbon`, with stored defaults "Option index ..." replaced.
  void Load(long type, const std::optional<std::string>& ribbon, const std::string& edits = "") {
    const std::string model = type == 0 ? "VKTS32" : type == 1 ? "VKTS31" : "VKTS1";
    std::string text = ppd_test::ReadFile(ppd_test::FixturePath(model + ".ppd")), key, value;
    for (std::istringstream in(edits); in >> key >> value;) {
      const std::string option = "*" + model + key, stored = "\n*Default" + model + key + ": ";
      // The choice line of that index: "1..." comes before "10...".
      const size_t choice = text.find("\n" + option + " " + value) + option.size() + 2, at = text.find(stored);
      ASSERT_TRUE(at != std::string::npos && choice > option.size() + 1) << key << " " << value;
      text.replace(at, text.find('\n', at + 1) - at, stored + text.substr(choice, text.find('/', choice) - choice));
    }
    ppd_test::WriteFile(path_, text);
    helper_ = std::make_unique<PPDHelper>();
    helper_->InitPPD(path_);
    ASSERT_TRUE(helper_->IsLoaded());
    prompter_.prompts.clear();
    model_ = std::make_unique<CardSetupModel>();
    model_->SetContext({helper_.get(), nullptr, &prompter_, "/icon.png", type, ribbon, [this] {
                          return CardSetupApplyExtras{{}, serialLabel_};
                        }});
    model_->PrintOnBothside.SetEnabled(type == 0);
    model_->StartUp(true);
  }

  // Both sides, ribbon, combination and monochrome lists, the stored monochrome choice, the half-panel box ("half:on"
  // when checked, "half:off" when only enabled), "apply" when Apply is enabled, printing mode and rotation.
  std::string State() const {
    const CardSetupModel& m = *model_;
    const bool on = m.chBoxAutoDetect.IsEnabled(), checked = m.chBoxAutoDetect.IsChecked();
    const std::string half = std::string(checked ? " half:on" : on ? " half:off" : "") + (checked && !on ? "/off" : "");
    return Describe(m.PrintOnBothside) + " " + Describe(m.TypeOfRibbon) + " " + Describe(m.RibbonCombinatioin) + " " +
           Describe(m.MonoChromeConv) + " #" + std::to_string(m.g_nMonoOption) + half +
           (m.ApplySettingsBtn.IsEnabled() ? " apply " : " ") + Describe(m.PrintingMode) + " " + Describe(m.Rotate);
  }

  ppd_test::ScratchDir dir_;
  const std::string path_ = (dir_.path() / "Card.ppd").string();
  ScriptedPrompter prompter_;
  std::string serialLabel_;
  std::unique_ptr<PPDHelper> helper_;
  std::unique_ptr<CardSetupModel> model_;
};

// Apply right after a load that changed nothing sends no request, even where a list can only show the stored
// choice approximately.
TEST_F(CardSetupModelTest, LoadingShowsTheStoredDefaultsAndChecksThePrinterRibbon) {
  ppd_test::ScopedEnv nobodyListens("VKT_PPD_SERVICE_PORT", "1");  // any request would fail the save
  serialLabel_ = "VKT3200001\r";
  const std::string ymcko = "19:YMCKO 100 Prints/off 3:Front YMCO , Back K 4:Diffusion #0";
  const std::string none = "1:Unknown/off 1:None/off 4:- #0";
  const std::string noRibbon = "There is no ribbon or unable to communicate to printer;";
  // clang-format off
  const struct { long type; std::optional<std::string> ribbon; std::string edits, state, alerts; } cases[] = {
      {0, "YMCKO", "", ymcko, ""},
      // Diffusion stored for a combination offering Barcode and Text; a stored pair the list has no place for.
      {0, "YMCKO", "RibbonCombination 1", "19:YMCKO 100 Prints/off 3:Front YMCKO , Back YMCKO 2:Barcode #0", ""},
      {0, "YMCKOK 310", "RibbonName 9 RibbonCombination 10",
       "19:One-Third Panel YMCKOK 310 Prints/off 6:Front YMCKO , Back K 4:Diffusion #0 half:off", ""},
      {0, "No Ribbon", "", none, noRibbon},
      {0, "N/A", "", none, noRibbon},  // a code beyond the table
      {0, std::nullopt, "", ymcko + " apply", "Ribbon Changed to (null);"},
      {0, "Monochrome", "RibbonName 12 MonoConversion 1 RibbonCombination 10",
       "4:High Capacity Monochrome 1:Front K ,Back K 4:Halftone #1 apply", ""},
      {0, "Monochrome", "", "4:Standard Monochrome 1:Front K ,Back K 4:Diffusion #0 apply",
       "Ribbon changed to Monochrome Ribbon. Please choose the type of Monochrome ribbon installed in your printer;"},
      // A printer ribbon no driver text holds.
      {0, "WrKr 600 image", "RibbonName 15", ymcko + " apply", "Ribbon Changed to WrKr 600 image;"},
      {0, "KdO 500", "", "19:KdO 500 Prints/off 1:Front KdO , Back KdO 1:None #0 apply", "Ribbon Changed to KdO 500;"},
      {0, "KdO 700", "MonoConversion 2 RibbonName 16 RibbonCombination 9 AutoHalfPanel 1",
       "19:KdO 700 Prints/off 1:Front KdO , Back KdO 1:None #0 half:on", ""},
      // Series 31: the same ribbon in another letter case; stored Text on a KrO ribbon keeps the four conversions;
      // with combination 14 it is Text of two.
      {1, "KRO", "MonoConversion 3 RibbonName 17", "19:KrO 500 Prints/off 1:Front KrO 4:Text #3", ""},
      {1, "YMCKO", "MonoConversion 3", "19:YMCKO 100 Prints/off 1:Front YMCKO 2:Text #1", ""},
      // Series 1: monochrome index 12 is the second name, 13 falls off the list.
      {2, "Monochrome", "RibbonName 12", "2:Standard White Monochrome 1:Front K 4:Diffusion #0 apply", ""},
      {2, "Monochrome", "RibbonName 13", "2:- 1:Front K 4:Diffusion #0 apply", ""},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.type) + " " + c.ribbon.value_or("-") + " " + c.edits);
    Load(c.type, c.ribbon, c.edits);
    if (HasFatalFailure()) return;
    EXPECT_EQ(State(), (c.type ? "2:No/off " : "2:Yes ") + c.state + (c.type ? " 3:Print 2:None" : " 2:Print 4:None"));
    std::string alerts;
    for (const auto& prompt : prompter_.prompts) {
      EXPECT_EQ(prompt.header + prompt.icon, "Orvex VKTS3S1 Printer Properties/icon.png");
      alerts += prompt.message + ";";
    }
    EXPECT_EQ(alerts, c.alerts);
    const bool unchanged = c.type == 0 && c.alerts.empty() && c.state.find("apply") == std::string::npos;
    EXPECT_TRUE(!unchanged || model_->SaveSettings() == 0);
  }
}

// Each step selects an item by its text, as the user would.
TEST_F(CardSetupModelTest, TheListsFollowBothSidesTheCombinationAndTheRibbonAndRestoreDefaults) {
  Load(0, "YMCKO");
  ASSERT_FALSE(HasFatalFailure());
  CardSetupModel& m = *model_;
  const std::string yes = "2:Yes 19:YMCKO 100 Prints/off ", encoding = " apply 2:Encode Only 4:Both";
  // clang-format off
  const struct { ListControl* list; const char* choice; std::string state; } steps[] = {
      {&m.PrintingMode, "Encode Only", yes + "3:Front YMCO , Back K 4:Diffusion #0 apply 2:Encode Only 4:None"},
      {&m.Rotate, "Both", yes + "3:Front YMCO , Back K 4:Diffusion #0" + encoding},
      {&m.RibbonCombinatioin, "Front YMCKO , Back YMCKO", yes + "3:Front YMCKO , Back YMCKO 2:Barcode #0" + encoding},
      {&m.TypeOfRibbon, "KdO 700 Prints", "2:Yes 19:KdO 700 Prints/off 1:Front KdO , Back KdO 1:None #0" + encoding},
      // One side: a third printing mode, two rotations, the one-sided combination.
      {&m.PrintOnBothside, "No", "2:No 19:KdO 700 Prints/off 1:Front KdO 1:None #0 apply 3:Print 2:None"},
      // A white monochrome ribbon preselects Text; the half-panel box follows the ribbon.
      {&m.TypeOfRibbon, "Standard White Monochrome",
       "2:No 19:Standard White Monochrome/off 1:Front K 4:Text #0 apply 3:Print 2:None"},
      {&m.TypeOfRibbon, "Half Panel YMCKO 250 Prints",
       "2:No 19:Half Panel YMCKO 250 Prints/off 1:Front YMCKO 2:Barcode #0 half:on apply 3:Print 2:None"},
      {&m.PrintingMode, "Print and Encode on same side",
       "2:No 19:Half Panel YMCKO 250 Prints/off 1:Front YMCKO 2:Barcode #0 half:on apply 3:Print and Encode on same side "
       "2:None"},
  };
  // clang-format on
  for (const auto& step : steps) {
    const auto& items = step.list->Items();
    step.list->SelectItemAtIndex(static_cast<int>(std::find(items.begin(), items.end(), step.choice) - items.begin()));
    EXPECT_EQ(State(), step.state) << step.choice;
  }

  // Restore Defaults, per model class.
  // The ribbon list is on for a monochrome ribbon only: then its first ribbon comes back.
  const std::tuple<long, const char*, std::string> cases[] = {
      {1, "YMCKO", "2:No/off 19:YMCKO 100 Prints/off 1:Front YMCKO 2:Barcode #0 apply 3:Print 2:None"},
      {0, "Monochrome", "2:Yes 4:Standard Monochrome 1:Front K ,Back K 4:Diffusion #0 apply 2:Print 4:None"}};
  for (const auto& [type, ribbon, state] : cases) {
    Load(type, ribbon);
    ASSERT_FALSE(HasFatalFailure());
    model_->Rotate.SelectItemAtIndex(1);
    model_->PrintingMode.SelectItemAtIndex(1);
    model_->MonoChromeConv.SelectItemAtIndex(1);
    if (model_->TypeOfRibbon.IsEnabled()) model_->TypeOfRibbon.SelectItemAtIndex(2);
    model_->ApplySettingsBtn.SetEnabled(false);
    model_->CardSetupRestoreDefaults();
    EXPECT_EQ(State(), state) << ribbon;
  }
}

TEST_F(CardSetupModelTest, ApplyWritesTheChangedLineAndASerialNumberWithinItsRule) {
  FakePpdService service;
  ppd_test::ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  const std::pair<std::string, std::string> cases[] = {
      {"S32-77\r", "S32-77"},
      {"S32/../x\r", "VKT3200001"},  // the PPD service would refuse the whole save
      {"S32 \"1\r", "VKT3200001"},
  };
  for (const auto& [label, serial] : cases) {
    SCOPED_TRACE(label);
    serialLabel_ = label;
    // The stored Text of the two-item list of combination 1 stays 3Text.
    Load(0, "YMCKO", "RibbonCombination 1 MonoConversion 3");
    ASSERT_FALSE(HasFatalFailure());
    const std::string stored = ppd_test::ReadFile(path_);
    model_->Rotate.SelectItemAtIndex(2);
    EXPECT_EQ(model_->SaveSettings(), 1);
    EXPECT_TRUE(prompter_.prompts.empty());
    EXPECT_EQ(ppd_test::ReadFile(path_),
              ppd_test::ReplaceLine(
                  ppd_test::ReplaceLine(stored, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back"),
                  "*PrinterSerialNo: VKT3200001", "*PrinterSerialNo: " + serial));
  }

  // A port nobody listens on: the choices and the PPD stay, Apply stays on.
  ppd_test::ScopedEnv nobodyListens("VKT_PPD_SERVICE_PORT", "1");
  const std::string before = ppd_test::ReadFile(path_);
  model_->Rotate.SelectItemAtIndex(3);
  EXPECT_EQ(model_->SaveSettings(), -1);
  // clang-format off
  EXPECT_EQ(prompter_.prompts, (std::vector<Prompter::Prompt>{{"Save Printer Settings",
      "Authentication Error. Printer Settings are not saved", {"Ok"}, Prompter::Level::kStop, "/icon.png"}}));
  // clang-format on
  EXPECT_TRUE(model_->ApplySettingsBtn.IsEnabled() && model_->bSettingSaved);
  EXPECT_EQ(model_->Rotate.IndexOfSelectedItem(), 3);
  EXPECT_EQ(ppd_test::ReadFile(path_), before);
}

}  // namespace
