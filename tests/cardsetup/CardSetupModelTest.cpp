// The card-setup model over PPDs of our own, without a window: what loading
// the stored defaults shows for each way the printer's ribbon can differ from
// the driver's, the rules between the lists, Restore Defaults, and an Apply
// the PPD service does not take.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <utility>
#include <vector>

#include "CardSetupModel.h"
#include "PPDHelper.h"
#include "PpdTestSupport.h"
#include "ScriptedPrompter.h"

namespace {

using Edits = std::vector<std::pair<std::string, std::string>>;

std::string Join(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) text += (text.empty() ? "" : "|") + item;
  return text;
}

std::string OnOff(bool on) { return on ? "on" : "off"; }

// A list as "[items]=selected text/enabled"; ribbon lists are long, so they
// show their size instead.
std::string Describe(const ListControl& list, bool withItems = true) {
  const std::string items = withItems ? Join(list.Items()) : std::to_string(list.NumberOfItems()) + " items";
  return "[" + items + "]=" + list.ObjectValueOfSelectedItem().value_or("-") + "/" + OnOff(list.IsEnabled());
}

class CardSetupModelTest : public ::testing::Test {
 protected:
  // Loads `ppd` with `edits` for a printer of `type` (0 two-sided, 1 Series 31,
  // 2 Series 1) that reports `ribbon`.
  void Load(const std::string& ppd, long type, const std::optional<std::string>& ribbon, const Edits& edits = {}) {
    std::string text = ppd_test::ReadFile(std::string(VKT_FIXTURE_PPD_DIR) + "/" + ppd);
    for (const auto& [from, to] : edits) text = ppd_test::ReplaceLine(text, from, to);
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
    context.applyExtras = [] { return CardSetupApplyExtras{}; };
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
  std::unique_ptr<PPDHelper> helper_;
  std::unique_ptr<CardSetupModel> model_;
};

const Edits kMono2000Halftone = {
    {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 12Monochrome2000"},
    {"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 1HalfTone"},
    {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 10FrontKBackK"}};

TEST_F(CardSetupModelTest, LoadingShowsTheStoredDefaultsAndChecksThePrinterRibbon) {
  const std::string colour = "comb [Front YMCO , Back K|Front YMCKO , Back YMCKO|Front YMC , Back KO]";
  const std::string fourMonos = "mono [Diffusion|Halftone|Barcode|Text]";
  struct Case {
    const char* name;
    const char* ppd;
    long type;
    std::optional<std::string> ribbon;
    Edits edits;
    std::string state;
    std::string alerts;
  } cases[] = {
      {"the driver's own ribbon",
       "VKTS32.ppd",
       0,
       "YMCKO",
       {},
       "both [No|Yes]=Yes/on ribbon [19 items]=YMCKO 100 Prints/off " + colour + "=Front YMCO , Back K/on " +
           fourMonos + "=Diffusion/on #0 half off/off apply off",
       ""},
      {"no ribbon",
       "VKTS32.ppd",
       0,
       "No Ribbon",
       {},
       "both [No|Yes]=Yes/on ribbon [1 items]=Unknown/off comb [None]=None/off " + fourMonos +
           "=-/on #0 half off/off apply off",
       "There is no ribbon or unable to communicate to printer;"},
      {"a code beyond the table",
       "VKTS32.ppd",
       0,
       "N/A",
       {},
       "both [No|Yes]=Yes/on ribbon [1 items]=Unknown/off comb [None]=None/off " + fourMonos +
           "=-/on #0 half off/off apply off",
       "There is no ribbon or unable to communicate to printer;"},
      {"a code without a name",
       "VKTS32.ppd",
       0,
       std::nullopt,
       {},
       "both [No|Yes]=Yes/on ribbon [19 items]=YMCKO 100 Prints/off " + colour + "=Front YMCO , Back K/on " +
           fourMonos + "=Diffusion/on #0 half off/off apply on",
       "Ribbon Changed to (null);"},
      {"monochrome stored and reported", "VKTS32.ppd", 0, "Monochrome", kMono2000Halftone,
       "both [No|Yes]=Yes/on ribbon [4 items]=High Capacity Monochrome/on comb [Front K ,Back K]=Front K ,Back K/on " +
           fourMonos + "=Halftone/on #1 half off/off apply on",
       ""},
      {"monochrome reported, colour stored",
       "VKTS32.ppd",
       0,
       "Monochrome",
       {},
       "both [No|Yes]=Yes/on ribbon [4 items]=Standard Monochrome/on comb [Front K ,Back K]=Front K ,Back K/on " +
           fourMonos + "=Diffusion/on #0 half off/off apply on",
       "Ribbon changed to Monochrome Ribbon. Please choose the type of Monochrome ribbon installed in your printer;"},
      {"the same ribbon in another letter case",
       "VKTS32.ppd",
       0,
       "KRO",
       {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 17KrO500"}},
       "both [No|Yes]=Yes/on ribbon [19 items]=KrO 500 Prints/off comb [Front KrO ,  Back KrO]=Front KrO ,  Back "
       "KrO/on " +
           fourMonos + "=Diffusion/on #0 half off/off apply off",
       ""},
      {"a printer ribbon no driver text holds",
       "VKTS32.ppd",
       0,
       "WrKr 600 image",
       {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"}},
       "both [No|Yes]=Yes/on ribbon [19 items]=YMCKO 100 Prints/off " + colour + "=Front YMCO , Back K/on " +
           fourMonos + "=Diffusion/on #0 half off/off apply on",
       "Ribbon Changed to WrKr 600 image;"},
      {"a changed ribbon",
       "VKTS32.ppd",
       0,
       "KdO 500",
       {},
       "both [No|Yes]=Yes/on ribbon [19 items]=KdO 500 Prints/off comb [Front KdO , Back KdO]=Front KdO , Back "
       "KdO/on mono [None]=None/on #0 half off/off apply on",
       "Ribbon Changed to KdO 500;"},
      {"stored KdO with a half panel",
       "VKTS32.ppd",
       0,
       "KdO 700",
       {{"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 2Barcode"},
        {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 16KDO700"},
        {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 9FrontKdOBackKdO"},
        {"*DefaultVKTS32AutoHalfPanel: 0false", "*DefaultVKTS32AutoHalfPanel: 1true"}},
       "both [No|Yes]=Yes/on ribbon [19 items]=KdO 700 Prints/off comb [Front KdO , Back KdO]=Front KdO , Back "
       "KdO/on mono [None]=None/on #0 half on/on apply off",
       ""},
      {"Series 31: stored Text on a KrO ribbon keeps the four conversions",
       "VKTS31.ppd",
       1,
       "KRO",
       {{"*DefaultVKTS31MonoConversion: 0Diffusion", "*DefaultVKTS31MonoConversion: 3Text"},
        {"*DefaultVKTS31RibbonName: 0YMCKO100", "*DefaultVKTS31RibbonName: 17KrO500"}},
       "both [No|Yes]=No/off ribbon [19 items]=KrO 500 Prints/off comb [Front KrO]=Front KrO/on " + fourMonos +
           "=Text/on #3 half off/off apply off",
       ""},
      {"Series 31: stored Text with combination 14 is Text of two",
       "VKTS31.ppd",
       1,
       "YMCKO",
       {{"*DefaultVKTS31MonoConversion: 0Diffusion", "*DefaultVKTS31MonoConversion: 3Text"}},
       "both [No|Yes]=No/off ribbon [19 items]=YMCKO 100 Prints/off comb [Front YMCKO]=Front YMCKO/on mono "
       "[Barcode|Text]=Text/on #1 half off/off apply off",
       ""},
      {"Series 1: monochrome index 12 is the second name",
       "VKTS1.ppd",
       2,
       "Monochrome",
       {{"*DefaultVKTS1RibbonName: 0YMCKO100", "*DefaultVKTS1RibbonName: 12Monochrome2000"}},
       "both [No|Yes]=No/off ribbon [2 items]=Standard White Monochrome/on comb [Front K]=Front K/on " + fourMonos +
           "=Diffusion/on #0 half off/off apply on",
       ""},
      {"Series 1: monochrome index 13 falls off the list",
       "VKTS1.ppd",
       2,
       "Monochrome",
       {{"*DefaultVKTS1RibbonName: 0YMCKO100", "*DefaultVKTS1RibbonName: 13WhiteMono"}},
       "both [No|Yes]=No/off ribbon [2 items]=-/on comb [Front K]=Front K/on " + fourMonos +
           "=Diffusion/on #0 half off/off apply on",
       ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Load(c.ppd, c.type, c.ribbon, c.edits);
    if (HasFatalFailure()) return;
    EXPECT_EQ(State(), c.state);
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
  struct Case {
    const char* ppd;
    long type;
    std::string ribbon;
    std::string state;
  } cases[] = {
      {"VKTS32.ppd", 0, "YMCKO", "both Yes mode Print rotate None mono 0 comb 0 ribbon YMCKO 100 Prints apply on"},
      {"VKTS31.ppd", 1, "YMCKO", "both No mode Print rotate None mono 0 comb 0 ribbon YMCKO 100 Prints apply on"},
      {"VKTS1.ppd", 2, "YMCKO", "both No mode Print rotate None mono 0 comb 0 ribbon YMCKO 100 Prints apply on"},
      // The ribbon list is on for a monochrome ribbon: its first ribbon comes back.
      {"VKTS32.ppd", 0, "Monochrome",
       "both Yes mode Print rotate None mono 0 comb 0 ribbon Standard Monochrome apply on"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.ppd) + " " + c.ribbon);
    Load(c.ppd, c.type, c.ribbon);
    if (HasFatalFailure()) return;
    CardSetupModel& m = *model_;
    m.Rotate.SelectItemAtIndex(1);
    m.PrintingMode.SelectItemAtIndex(1);
    if (m.TypeOfRibbon.IsEnabled()) m.TypeOfRibbon.SelectItemAtIndex(2);  // a user can choose it only when it is on
    m.ApplySettingsBtn.SetEnabled(false);
    m.CardSetupRestoreDefaults();
    EXPECT_EQ("both " + m.PrintOnBothside.ObjectValueOfSelectedItem().value_or("-") + " mode " +
                  m.PrintingMode.ObjectValueOfSelectedItem().value_or("-") + " rotate " +
                  m.Rotate.ObjectValueOfSelectedItem().value_or("-") + " mono " +
                  std::to_string(m.MonoChromeConv.IndexOfSelectedItem()) + " comb " +
                  std::to_string(m.RibbonCombinatioin.IndexOfSelectedItem()) + " ribbon " +
                  m.TypeOfRibbon.ObjectValueOfSelectedItem().value_or("-") + " apply " +
                  OnOff(m.ApplySettingsBtn.IsEnabled()),
              c.state);
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
  EXPECT_TRUE(model_->ApplySettingsBtn.IsEnabled());
  EXPECT_TRUE(model_->bSettingSaved);
  EXPECT_EQ(model_->Rotate.IndexOfSelectedItem(), 3);
  EXPECT_EQ(ppd_test::ReadFile(dir_.path() / "Card.ppd"), before);
}

}  // namespace
