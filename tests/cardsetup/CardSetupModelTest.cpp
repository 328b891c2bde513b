// The card-setup model over PPDs of our own, without a window: what loading
// the stored defaults shows for each way the printer's ribbon can differ from
// the driver's, the rules between the lists, Restore Defaults, and an Apply
// the PPD service does not take.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "CardSetupModel.h"
#include "FakePpdService.h"
#include "PPDHelper.h"
#include "PpdTestSupport.h"
#include "ScriptedPrompter.h"

namespace {

std::string OnOff(bool on) { return on ? "on" : "off"; }

// A list as "[items]=selected text/enabled"; ribbon lists show their size.
std::string Describe(const ListControl& list, bool withItems = true) {
  std::string items;
  for (const std::string& item : list.Items()) items += (items.empty() ? "" : "|") + item;
  if (!withItems) items = std::to_string(list.NumberOfItems()) + " items";
  return "[" + items + "]=" + list.ObjectValueOfSelectedItem().value_or("-") + "/" + OnOff(list.IsEnabled());
}

class CardSetupModelTest : public ::testing::Test {
 protected:
  // Loads `ppd` for a printer of `type` (0 two-sided, 1 Series 31, 2 Series 1)
  // that reports `ribbon`, with stored defaults "Option choice ..." replaced.
  void Load(const std::string& ppd, long type, const std::optional<std::string>& ribbon,
            const std::string& edits = "") {
    std::string text = ppd_test::ReadFile(std::string(VKT_FIXTURE_PPD_DIR) + "/" + ppd), key, value;
    for (std::istringstream in(edits); in >> key >> value;) {
      const size_t at = text.find("*Default" + ppd.substr(0, ppd.find('.')) + key + ": ");
      ASSERT_NE(at, std::string::npos) << key;
      text.replace(at, text.find('\n', at) - at, text.substr(at, text.find(": ", at) + 2 - at) + value);
    }
    ppd_test::WriteFile(dir_.path() / "Card.ppd", text);
    helper_ = std::make_unique<PPDHelper>();
    helper_->InitPPD((dir_.path() / "Card.ppd").string());
    ASSERT_TRUE(helper_->IsLoaded());
    prompter_.prompts.clear();
    model_ = std::make_unique<CardSetupModel>();
    CardSetupContext context;
    context.driverSettings = helper_.get();
    context.prompter = &prompter_;
    context.icon = "/icon.png";
    context.printerType = type;
    context.reportedRibbon = ribbon;
    context.applyExtras = [this] { return CardSetupApplyExtras{{}, serialLabel_}; };
    model_->SetContext(context);
    model_->PrintOnBothside.SetEnabled(type == 0);
    model_->StartUp(true);
  }

  std::string State() const {
    const CardSetupModel& m = *model_;
    return "both " + Describe(m.PrintOnBothside) + " ribbon " + Describe(m.TypeOfRibbon, false) + " comb " +
           Describe(m.RibbonCombinatioin) + " mono " + Describe(m.MonoChromeConv) + " #" +
           std::to_string(m.g_nMonoOption) + " half " + OnOff(m.chBoxAutoDetect.IsEnabled()) + "/" +
           OnOff(m.chBoxAutoDetect.IsChecked()) + " apply " + OnOff(m.ApplySettingsBtn.IsEnabled());
  }

  std::string Alerts() const {
    std::string text;
    for (const auto& prompt : prompter_.prompts) {
      EXPECT_EQ(prompt.header, "Orvex VKTS3S1 Printer Properties");
      EXPECT_EQ(prompt.icon, "/icon.png");
      text += prompt.message + ";";
    }
    return text;
  }

  ppd_test::ScratchDir dir_;
  ScriptedPrompter prompter_;
  std::string serialLabel_;
  std::unique_ptr<PPDHelper> helper_;
  std::unique_ptr<CardSetupModel> model_;
};

TEST_F(CardSetupModelTest, LoadingShowsTheStoredDefaultsAndChecksThePrinterRibbon) {
  const std::string colour =
      "[Front YMCO , Back K|Front YMCKO , Back YMCKO|Front YMC , Back KO]=Front YMCO , Back K/on";
  const std::string monos = " mono [Diffusion|Halftone|Barcode|Text]=";
  const std::string none = "ribbon [1 items]=Unknown/off comb [None]=None/off" + monos + "-/on #0";
  const std::string noRibbon = "There is no ribbon or unable to communicate to printer;";
  const struct {
    const char* ppd;
    long type;
    std::optional<std::string> ribbon;
    std::string edits, state, alerts;
  } cases[] = {
      {"VKTS32.ppd", 0, "YMCKO", "",
       "ribbon [19 items]=YMCKO 100 Prints/off comb " + colour + monos + "Diffusion/on #0 half off/off apply off", ""},
      {"VKTS32.ppd", 0, "No Ribbon", "", none + " half off/off apply off", noRibbon},
      {"VKTS32.ppd", 0, "N/A", "", none + " half off/off apply off", noRibbon},  // a code beyond the table
      {"VKTS32.ppd", 0, std::nullopt, "",
       "ribbon [19 items]=YMCKO 100 Prints/off comb " + colour + monos + "Diffusion/on #0 half off/off apply on",
       "Ribbon Changed to (null);"},
      {"VKTS32.ppd", 0, "Monochrome",
       "RibbonName 12Monochrome2000 MonoConversion 1HalfTone RibbonCombination 10FrontKBackK",
       "ribbon [4 items]=High Capacity Monochrome/on comb [Front K ,Back K]=Front K ,Back K/on" + monos +
           "Halftone/on #1 half off/off apply on",
       ""},
      {"VKTS32.ppd", 0, "Monochrome", "",
       "ribbon [4 items]=Standard Monochrome/on comb [Front K ,Back K]=Front K ,Back K/on" + monos +
           "Diffusion/on #0 half off/off apply on",
       "Ribbon changed to Monochrome Ribbon. Please choose the type of Monochrome ribbon installed in your printer;"},
      // The same ribbon in another letter case.
      {"VKTS32.ppd", 0, "KRO", "RibbonName 17KrO500",
       "ribbon [19 items]=KrO 500 Prints/off comb [Front KrO ,  Back KrO]=Front KrO ,  Back KrO/on" + monos +
           "Diffusion/on #0 half off/off apply off",
       ""},
      // A printer ribbon no driver text holds.
      {"VKTS32.ppd", 0, "WrKr 600 image", "RibbonName 15KDO500",
       "ribbon [19 items]=YMCKO 100 Prints/off comb " + colour + monos + "Diffusion/on #0 half off/off apply on",
       "Ribbon Changed to WrKr 600 image;"},
      {"VKTS32.ppd", 0, "KdO 500", "",
       "ribbon [19 items]=KdO 500 Prints/off comb [Front KdO , Back KdO]=Front KdO , Back KdO/on mono [None]=None/on "
       "#0 half off/off apply on",
       "Ribbon Changed to KdO 500;"},
      {"VKTS32.ppd", 0, "KdO 700",
       "MonoConversion 2Barcode RibbonName 16KDO700 RibbonCombination 9FrontKdOBackKdO AutoHalfPanel 1true",
       "ribbon [19 items]=KdO 700 Prints/off comb [Front KdO , Back KdO]=Front KdO , Back KdO/on mono [None]=None/on "
       "#0 half on/on apply off",
       ""},
      // Series 31: stored Text on a KrO ribbon keeps the four conversions; with combination 14 it is Text of two.
      {"VKTS31.ppd", 1, "KRO", "MonoConversion 3Text RibbonName 17KrO500",
       "ribbon [19 items]=KrO 500 Prints/off comb [Front KrO]=Front KrO/on" + monos +
           "Text/on #3 half off/off apply off",
       ""},
      {"VKTS31.ppd", 1, "YMCKO", "MonoConversion 3Text",
       "ribbon [19 items]=YMCKO 100 Prints/off comb [Front YMCKO]=Front YMCKO/on mono [Barcode|Text]=Text/on #1 half "
       "off/off apply off",
       ""},
      // Series 1: monochrome index 12 is the second name, 13 falls off the list.
      {"VKTS1.ppd", 2, "Monochrome", "RibbonName 12Monochrome2000",
       "ribbon [2 items]=Standard White Monochrome/on comb [Front K]=Front K/on" + monos +
           "Diffusion/on #0 half off/off apply on",
       ""},
      {"VKTS1.ppd", 2, "Monochrome", "RibbonName 13WhiteMono",
       "ribbon [2 items]=-/on comb [Front K]=Front K/on" + monos + "Diffusion/on #0 half off/off apply on", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.ppd) + " " + c.ribbon.value_or("-") + " " + c.edits);
    Load(c.ppd, c.type, c.ribbon, c.edits);
    if (HasFatalFailure()) return;
    EXPECT_EQ(State(), (c.type ? "both [No|Yes]=No/off " : "both [No|Yes]=Yes/on ") + c.state);
    EXPECT_EQ(Alerts(), c.alerts);
  }
}

// Each step selects an item by its text and shows the lists it changes.
TEST_F(CardSetupModelTest, TheListsFollowBothSidesTheCombinationAndTheRibbon) {
  Load("VKTS32.ppd", 0, "YMCKO");
  ASSERT_FALSE(HasFatalFailure());
  CardSetupModel& m = *model_;
  const auto select = [](ListControl& list, const std::string& text) {
    const auto& items = list.Items();
    const auto at = std::find(items.begin(), items.end(), text);
    ASSERT_NE(at, items.end()) << text;
    list.SelectItemAtIndex(static_cast<int>(at - items.begin()));
  };
  struct Step {
    ListControl* list;
    const char* choice;
    std::string shown;  // the lists the step changes, after it
  } steps[] = {
      {&m.PrintingMode, "Encode Only", "mode [Print|Encode Only]=Encode Only/on rotate [None|Front|Back|Both]=None/on"},
      {&m.Rotate, "Both", "mode [Print|Encode Only]=Encode Only/on rotate [None|Front|Back|Both]=Both/on"},
      // One side: a third printing mode, two rotations, the one-sided colour combination.
      {&m.PrintOnBothside, "No",
       "mode [Print|Encode Only|Print and Encode on same side]=Print/on rotate [None|Front]=None/on comb [Front "
       "YMCKO]=Front YMCKO/on mono [Barcode|Text]=Barcode/on"},
      {&m.PrintOnBothside, "Yes",
       "mode [Print|Encode Only]=Print/on rotate [None|Front|Back|Both]=None/on comb [Front YMCO , Back K|Front YMCKO "
       ", "
       "Back YMCKO|Front YMC , Back KO]=Front YMCO , Back K/on mono [Diffusion|Halftone|Barcode|Text]=Diffusion/on"},
      {&m.RibbonCombinatioin, "Front YMCKO , Back YMCKO", "mono [Barcode|Text]=Barcode/on"},
      {&m.RibbonCombinatioin, "Front YMCO , Back K", "mono [Diffusion|Halftone|Barcode|Text]=Diffusion/on"},
      {&m.TypeOfRibbon, "KdO 700 Prints", "comb [Front KdO , Back KdO]=Front KdO , Back KdO/on mono [None]=None/on"},
      {&m.PrintOnBothside, "No", "comb [Front KdO]=Front KdO/on mono [None]=None/on"},
      // A white monochrome ribbon preselects Text; the half-panel box follows the ribbon.
      {&m.TypeOfRibbon, "Standard White Monochrome",
       "comb [Front K]=Front K/on mono [Diffusion|Halftone|Barcode|Text]=Text/on half off/off"},
      {&m.TypeOfRibbon, "Half Panel YMCKOKO 250 Prints",
       "comb [Front YMCKO]=Front YMCKO/on mono [Barcode|Text]=Barcode/on half on/on"},
  };
  for (const Step& step : steps) {
    SCOPED_TRACE(step.choice);
    select(*step.list, step.choice);
    const std::string all = "mode " + Describe(m.PrintingMode) + " rotate " + Describe(m.Rotate) + " comb " +
                            Describe(m.RibbonCombinatioin) + " mono " + Describe(m.MonoChromeConv) + " half " +
                            OnOff(m.chBoxAutoDetect.IsEnabled()) + "/" + OnOff(m.chBoxAutoDetect.IsChecked());
    // Every part the step names, as it stands in the whole description.
    EXPECT_NE(all.find(step.shown), std::string::npos) << all;
    EXPECT_TRUE(m.ApplySettingsBtn.IsEnabled());
  }
}

TEST_F(CardSetupModelTest, RestoreDefaultsPerModelClass) {
  // The ribbon list is on for a monochrome ribbon only: then its first ribbon comes back.
  const std::tuple<const char*, long, const char*, const char*> cases[] = {
      {"VKTS32.ppd", 0, "YMCKO", "Yes YMCKO 100 Prints"},
      {"VKTS31.ppd", 1, "YMCKO", "No YMCKO 100 Prints"},
      {"VKTS1.ppd", 2, "YMCKO", "No YMCKO 100 Prints"},
      {"VKTS32.ppd", 0, "Monochrome", "Yes Standard Monochrome"}};
  for (const auto& [ppd, type, ribbon, shown] : cases) {
    SCOPED_TRACE(std::string(ppd) + ribbon);
    Load(ppd, type, ribbon);
    if (HasFatalFailure()) return;
    CardSetupModel& m = *model_;
    m.Rotate.SelectItemAtIndex(1);
    m.PrintingMode.SelectItemAtIndex(1);
    if (m.TypeOfRibbon.IsEnabled()) m.TypeOfRibbon.SelectItemAtIndex(2);
    m.ApplySettingsBtn.SetEnabled(false);
    m.CardSetupRestoreDefaults();
    const auto text = [](const ListControl& list) { return list.ObjectValueOfSelectedItem().value_or("-"); };
    EXPECT_EQ(text(m.PrintOnBothside) + " " + text(m.TypeOfRibbon), shown);
    EXPECT_EQ(text(m.PrintingMode) + text(m.Rotate) + std::to_string(m.MonoChromeConv.IndexOfSelectedItem()) +
                  std::to_string(m.RibbonCombinatioin.IndexOfSelectedItem()),
              "PrintNone00");
    EXPECT_TRUE(m.ApplySettingsBtn.IsEnabled());
  }
}

TEST_F(CardSetupModelTest, ApplyTheServiceDoesNotTakeKeepsTheChoicesAndThePpd) {
  // A port nobody listens on.
  ppd_test::ScopedEnv port("VKT_PPD_SERVICE_PORT", "1");
  Load("VKTS32.ppd", 0, "YMCKO");
  ASSERT_FALSE(HasFatalFailure());
  const std::string before = ppd_test::ReadFile(dir_.path() / "Card.ppd");
  model_->Rotate.SelectItemAtIndex(3);
  EXPECT_EQ(model_->SaveSettings(), -1);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "Save Printer Settings");
  EXPECT_EQ(prompter_.prompts[0].message, "Authentication Error. Printer Settings are not saved");
  EXPECT_EQ(prompter_.prompts[0].buttons, std::vector<std::string>{"Ok"});
  EXPECT_EQ(prompter_.prompts[0].level, Prompter::Level::kStop);
  EXPECT_TRUE(model_->ApplySettingsBtn.IsEnabled() && model_->bSettingSaved);
  EXPECT_EQ(model_->Rotate.IndexOfSelectedItem(), 3);
  EXPECT_EQ(ppd_test::ReadFile(dir_.path() / "Card.ppd"), before);
}

TEST_F(CardSetupModelTest, ASerialNumberReplyOutsideItsRuleKeepsTheStoredOneAndTheRestIsSaved) {
  FakePpdService service;
  ppd_test::ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  const std::pair<std::string, std::string> cases[] = {
      {"S32-77\r", "*PrinterSerialNo: S32-77"},
      {"S32/../x\r", "*PrinterSerialNo: VKT3200001"},  // the PPD service would refuse the whole save
      {"S32 \"1\r", "*PrinterSerialNo: VKT3200001"},
  };
  for (const auto& [label, line] : cases) {
    SCOPED_TRACE(label);
    serialLabel_ = label;
    Load("VKTS32.ppd", 0, "YMCKO");
    ASSERT_FALSE(HasFatalFailure());
    model_->Rotate.SelectItemAtIndex(3);
    EXPECT_EQ(model_->SaveSettings(), 1);
    EXPECT_TRUE(prompter_.prompts.empty());
    const std::string saved = ppd_test::ReadFile(dir_.path() / "Card.ppd");
    EXPECT_NE(saved.find("\n" + line + "\n"), std::string::npos);
    EXPECT_NE(saved.find("\n*DefaultVKTS32Rotation: 3Both\n"), std::string::npos);
  }
}

}  // namespace
