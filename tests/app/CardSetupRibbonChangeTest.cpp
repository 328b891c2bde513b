// The ribbon-change check at start-up against emulated printers: what the
// ribbon and combination lists show, which alert appears and whether Apply
// is offered, for each way the printer's ribbon can differ from the driver's.
#include <QDir>
#include <QMainWindow>
#include <QPixmap>
#include <QPushButton>
#include <QTabWidget>

#include "CardSetupTestSupport.h"

namespace {

using card_setup_test::CardSetupWindow;
using card_setup_test::Items;

constexpr char kHeader[] = "Orvex VKTS3S1 Printer Properties";

class RibbonChange : public CardSetupWindow {};

TEST_F(RibbonChange, NoRibbonShowsUnknownAndNoneBothDisabledWithOneAlert) {
  // Code 0 is "No Ribbon"; a code beyond the table reads "N/A".
  for (const char* code : {"0", "80"}) {
    SCOPED_TRACE(code);
    prompter_.prompts.clear();
    auto app = Start("VKTS32", "VKTS32.ppd", {}, std::string("ribbon_code = ") + code);
    auto& ui = app->ui();
    EXPECT_EQ(Items(ui.TypeOfRibbon), QStringList{"Unknown"});
    EXPECT_EQ(ui.TypeOfRibbon->IndexOfSelectedItem(), 0);
    EXPECT_FALSE(ui.TypeOfRibbon->isEnabled());
    EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"None"});
    EXPECT_EQ(ui.RibbonCombinatioin->IndexOfSelectedItem(), 0);
    EXPECT_FALSE(ui.RibbonCombinatioin->isEnabled());
    EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
    ASSERT_EQ(prompter_.prompts.size(), 1u);
    EXPECT_EQ(prompter_.prompts[0].header, kHeader);
    EXPECT_EQ(prompter_.prompts[0].message, "There is no ribbon or unable to communicate to printer");
    EXPECT_EQ(prompter_.prompts[0].buttons, std::vector<std::string>{"OK"});

    // Choosing "Unknown" again leaves the combination list as it is, and Apply off.
    ui.TypeOfRibbon->SelectItemAtIndex(0);
    EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"None"});
    EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
  }
}

TEST_F(RibbonChange, MonochromeWithAMonochromeDriverDefaultKeepsTheStoredChoice) {
  card_setup_test::Edits edits;
  edits.push_back({"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 12Monochrome2000"});
  edits.push_back({"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 1HalfTone"});
  edits.push_back({"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK",
                   "*DefaultVKTS32RibbonCombination: 10FrontKBackK"});
  auto app = Start("VKTS32", "VKTS32.ppd", edits, "ribbon_code = 1");
  auto& ui = app->ui();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(Items(ui.TypeOfRibbon), (QStringList{"Standard Monochrome", "High Capacity Monochrome",
                                                 "Standard White Monochrome", "High Capacity White Monochrome"}));
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "High Capacity Monochrome");
  EXPECT_TRUE(ui.TypeOfRibbon->isEnabled());
  EXPECT_EQ(app->CardSetup().g_nMonoOption, 1);
  EXPECT_EQ(ui.MonoChromeConv->ObjectValueOfSelectedItem(), "Halftone");
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front K ,Back K"});
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
}

TEST_F(RibbonChange, MonochromeOnTheSeries1ListMapsIndicesStraightOn) {
  // Index 12 lands on the second of two names; 13 falls off the list.
  card_setup_test::Edits edits;
  edits.push_back({"*DefaultVKTS1RibbonName: 0YMCKO100", "*DefaultVKTS1RibbonName: 12Monochrome2000"});
  auto app = Start("VKTS1", "VKTS1.ppd", edits);
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(Items(app->ui().TypeOfRibbon), (QStringList{"Standard Monochrome", "Standard White Monochrome"}));
  EXPECT_EQ(app->ui().TypeOfRibbon->ObjectValueOfSelectedItem(), "Standard White Monochrome");

  edits.back().second = "*DefaultVKTS1RibbonName: 13WhiteMono";
  auto other = Start("VKTS1", "VKTS1.ppd", edits);
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(Items(other->ui().TypeOfRibbon).size(), 2);
  EXPECT_EQ(other->ui().TypeOfRibbon->IndexOfSelectedItem(), -1);
}

TEST_F(RibbonChange, MonochromeWithAColourDriverDefaultAsksForTheKind) {
  auto app = Start("VKTS32", "VKTS32.ppd", {}, "ribbon_code = 1");
  auto& ui = app->ui();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, kHeader);
  EXPECT_EQ(prompter_.prompts[0].message,
            "Ribbon changed to Monochrome Ribbon. Please choose the type of Monochrome ribbon installed in your "
            "printer");
  EXPECT_EQ(ui.TypeOfRibbon->IndexOfSelectedItem(), 0);
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "Standard Monochrome");
  EXPECT_TRUE(ui.TypeOfRibbon->isEnabled());
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
}

TEST_F(RibbonChange, TheSameRibbonInAnotherLetterCaseIsNoChange) {
  // The printer says "KRO"; the driver's default reads "KrO 500 Prints".
  auto app = Start("VKTS32", "VKTS32.ppd",
                   {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 17KrO500"}},
                   "ribbon_code = 47");
  auto& ui = app->ui();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "KrO 500 Prints");
  EXPECT_FALSE(ui.TypeOfRibbon->isEnabled());
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front KrO ,  Back KrO"});
  EXPECT_EQ(ui.RibbonCombinatioin->IndexOfSelectedItem(), 0);
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
}

TEST_F(RibbonChange, AnUnknownPrinterRibbonMovesToTheFirstColourRibbon) {
  auto app = Start("VKTS32", "VKTS32.ppd",
                   {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"}},
                   "ribbon_code = 34");  // "WrKr 600 image": no driver text holds it
  auto& ui = app->ui();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, kHeader);
  EXPECT_EQ(prompter_.prompts[0].message, "Ribbon Changed to WrKr 600 image");
  EXPECT_EQ(ui.TypeOfRibbon->IndexOfSelectedItem(), app->CardSetup().PPDIndexToRibbonIndex(0));
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "YMCKO 100 Prints");
  EXPECT_EQ(Items(ui.RibbonCombinatioin),
            (QStringList{"Front YMCO , Back K", "Front YMCKO , Back YMCKO", "Front YMC , Back KO"}));
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
}

TEST_F(RibbonChange, AChangedRibbonIsShownWithItsCombinations) {
  auto app = Start("VKTS32", "VKTS32.ppd", {}, "ribbon_code = 54");  // "KdO 500"
  auto& ui = app->ui();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].message, "Ribbon Changed to KdO 500");
  EXPECT_EQ(prompter_.prompts[0].icon, app->urlIcon);
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "KdO 500 Prints");
  EXPECT_FALSE(ui.TypeOfRibbon->isEnabled());
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front KdO , Back KdO"});
  EXPECT_EQ(Items(ui.MonoChromeConv), QStringList{"None"});
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
  // Nothing to apply after loading: Close stores the printer's ribbon.
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
  EXPECT_FALSE(app->CardSetup().bSettingSaved);

  ui.tabview->setCurrentWidget(ui.CardSetupTab);
  const QString folder = VKT_SCREENSHOT_DIR;
  ASSERT_TRUE(QDir().mkpath(folder));
  QPixmap picture = app->window()->grab();
  ASSERT_FALSE(picture.isNull());
  EXPECT_TRUE(picture.save(folder + "/card-setup-ribbon-change.png"));
}

}  // namespace
