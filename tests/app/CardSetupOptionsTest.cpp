// The card-setup options on the window: the lists that follow the both-sides
// choice and the combination, loading stored defaults, Restore Defaults per
// model, and Apply when the PPD service cannot be reached.
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "CardSetupTestSupport.h"

namespace {

using card_setup_test::CardSetupWindow;
using card_setup_test::Items;

class CardSetupOptions : public CardSetupWindow {};

int IndexOf(const VktComboBox* list, const QString& text) { return Items(list).indexOf(text); }

TEST_F(CardSetupOptions, TheBothSidesChoiceDecidesRotationsAndPrintingModes) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  auto& ui = app->ui();
  EXPECT_EQ(ui.PrintOnBothside->IndexOfSelectedItem(), 1);
  EXPECT_EQ(Items(ui.PrintingMode), (QStringList{"Print", "Encode Only"}));
  EXPECT_EQ(Items(ui.Rotate), (QStringList{"None", "Front", "Back", "Both"}));

  ui.PrintingMode->SelectItemAtIndex(1);
  ui.Rotate->SelectItemAtIndex(3);
  ui.PrintOnBothside->SelectItemAtIndex(0);
  EXPECT_EQ(Items(ui.PrintingMode), (QStringList{"Print", "Encode Only", "Print and Encode on same side"}));
  EXPECT_EQ(ui.PrintingMode->IndexOfSelectedItem(), 0);
  EXPECT_EQ(Items(ui.Rotate), (QStringList{"None", "Front"}));
  EXPECT_EQ(ui.Rotate->IndexOfSelectedItem(), 0);
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front YMCKO"});
  EXPECT_EQ(ui.RibbonCombinatioin->IndexOfSelectedItem(), 0);
  // One-sided colour: the two black-panel conversions, the first chosen.
  EXPECT_EQ(Items(ui.MonoChromeConv), (QStringList{"Barcode", "Text"}));
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());

  ui.PrintOnBothside->SelectItemAtIndex(1);
  EXPECT_EQ(Items(ui.PrintingMode), (QStringList{"Print", "Encode Only"}));
  EXPECT_EQ(ui.RibbonCombinatioin->NumberOfItems(), 3);
}

TEST_F(CardSetupOptions, CombinationsOneAndFourteenOfferTwoConversionsAndKdONone) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  auto& ui = app->ui();
  // Two-sided colour on both sides (combination 1).
  ui.RibbonCombinatioin->SelectItemAtIndex(IndexOf(ui.RibbonCombinatioin, "Front YMCKO , Back YMCKO"));
  EXPECT_EQ(Items(ui.MonoChromeConv), (QStringList{"Barcode", "Text"}));
  // Two-sided YMCO / K (combination 0): all four.
  ui.RibbonCombinatioin->SelectItemAtIndex(0);
  EXPECT_EQ(Items(ui.MonoChromeConv), (QStringList{"Diffusion", "Halftone", "Barcode", "Text"}));
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);

  // A KdO ribbon: combination 9 on two sides, 12 on one, both "None" and chosen.
  ui.TypeOfRibbon->SelectItemAtIndex(IndexOf(ui.TypeOfRibbon, "KdO 700 Prints"));
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front KdO , Back KdO"});
  EXPECT_EQ(Items(ui.MonoChromeConv), QStringList{"None"});
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
  ui.PrintOnBothside->SelectItemAtIndex(0);
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front KdO"});
  EXPECT_EQ(Items(ui.MonoChromeConv), QStringList{"None"});

  // A white monochrome ribbon preselects "Text"; the half-panel box follows the ribbon.
  ui.TypeOfRibbon->SelectItemAtIndex(IndexOf(ui.TypeOfRibbon, "Standard White Monochrome"));
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front K"});
  EXPECT_EQ(ui.MonoChromeConv->ObjectValueOfSelectedItem(), "Text");
  EXPECT_FALSE(ui.chBoxAutoDetect->isEnabled());
  ui.TypeOfRibbon->SelectItemAtIndex(IndexOf(ui.TypeOfRibbon, "Half Panel YMCKOKO 250 Prints"));
  EXPECT_TRUE(ui.chBoxAutoDetect->isEnabled());
  EXPECT_TRUE(ui.chBoxAutoDetect->isChecked());
  ui.PrintOnBothside->SelectItemAtIndex(1);
  EXPECT_EQ(ui.RibbonCombinatioin->NumberOfItems(), 8);
  ui.TypeOfRibbon->SelectItemAtIndex(IndexOf(ui.TypeOfRibbon, "One-Third Panel YMCKOK 310 Prints"));
  EXPECT_EQ(ui.RibbonCombinatioin->ItemAt(5), "Front K ,Back K");
  EXPECT_TRUE(ui.chBoxAutoDetect->isChecked());
}

TEST_F(CardSetupOptions, StoredTextOnAKrORibbonStaysOnTheFourItemList) {
  // Combination 14 belongs to colour ribbons; ribbon 17 shows its own single
  // combination, whose list has all four conversions, so a stored 3 stays 3.
  auto app = Start("VKTS31", "VKTS31.ppd",
                   {{"*DefaultVKTS31MonoConversion: 0Diffusion", "*DefaultVKTS31MonoConversion: 3Text"},
                    {"*DefaultVKTS31RibbonName: 0YMCKO100", "*DefaultVKTS31RibbonName: 17KrO500"}});
  auto& ui = app->ui();
  EXPECT_TRUE(prompter_.prompts.empty());  // the printer reports "KRO"
  EXPECT_EQ(ui.PrintOnBothside->IndexOfSelectedItem(), 0);
  EXPECT_FALSE(ui.PrintOnBothside->isEnabled());
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front KrO"});
  EXPECT_EQ(Items(ui.MonoChromeConv), (QStringList{"Diffusion", "Halftone", "Barcode", "Text"}));
  EXPECT_EQ(ui.MonoChromeConv->ObjectValueOfSelectedItem(), "Text");
  EXPECT_EQ(app->CardSetup().g_nMonoOption, 3);
}

TEST_F(CardSetupOptions, StoredCombinationFourteenShowsTextOfTheTwoItemList) {
  auto app = Start("VKTS31", "VKTS31.ppd",
                   {{"*DefaultVKTS31MonoConversion: 0Diffusion", "*DefaultVKTS31MonoConversion: 3Text"}},
                   "ribbon_code = 43");
  auto& ui = app->ui();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(Items(ui.RibbonCombinatioin), QStringList{"Front YMCKO"});
  EXPECT_EQ(ui.RibbonCombinatioin->IndexOfSelectedItem(), 0);
  EXPECT_EQ(Items(ui.MonoChromeConv), (QStringList{"Barcode", "Text"}));
  EXPECT_EQ(ui.MonoChromeConv->ObjectValueOfSelectedItem(), "Text");
  EXPECT_EQ(app->CardSetup().g_nMonoOption, 1);
  EXPECT_EQ(Items(ui.PrintingMode), (QStringList{"Print", "Encode Only", "Print and Encode on same side"}));
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
  EXPECT_FALSE(ui.TypeOfRibbon->isEnabled());
}

TEST_F(CardSetupOptions, StoredKdOCombinationLoadsNone) {
  auto app = Start("VKTS32", "VKTS32.ppd",
                   {{"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 2Barcode"},
                    {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 16KDO700"},
                    {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK",
                     "*DefaultVKTS32RibbonCombination: 9FrontKdOBackKdO"},
                    {"*DefaultVKTS32AutoHalfPanel: 0false", "*DefaultVKTS32AutoHalfPanel: 1true"}},
                   "ribbon_code = 68");  // "KdO 700"
  auto& ui = app->ui();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(Items(ui.MonoChromeConv), QStringList{"None"});
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
  EXPECT_EQ(app->CardSetup().g_nMonoOption, 0);
  // A stored half panel enables and checks the box whatever the ribbon.
  EXPECT_TRUE(ui.chBoxAutoDetect->isEnabled());
  EXPECT_TRUE(ui.chBoxAutoDetect->isChecked());
}

TEST_F(CardSetupOptions, RestoreDefaultsPerModelClass) {
  struct Case {
    const char* profile;
    const char* ppd;
    int bothSides;
  } cases[] = {{"VKTS32", "VKTS32.ppd", 1}, {"VKTS31", "VKTS31.ppd", 0}, {"VKTS1", "VKTS1.ppd", 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.profile);
    // A colour ribbon in every printer, so the ribbon list holds the driver's texts.
    auto app = Start(c.profile, c.ppd, {}, "ribbon_code = 43");
    auto& ui = app->ui();
    ui.Rotate->SelectItemAtIndex(1);
    ui.PrintingMode->SelectItemAtIndex(1);
    ui.ApplySettingsBtn->setEnabled(false);
    ui.CardSetupRestoreDefaultsBtn->click();
    EXPECT_EQ(ui.PrintOnBothside->IndexOfSelectedItem(), c.bothSides);
    EXPECT_EQ(ui.PrintingMode->IndexOfSelectedItem(), 0);
    EXPECT_EQ(ui.Rotate->IndexOfSelectedItem(), 0);
    EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
    EXPECT_EQ(ui.RibbonCombinatioin->IndexOfSelectedItem(), 0);
    // The ribbon list follows the printer and is off: it keeps its ribbon.
    EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "YMCKO 100 Prints");
    EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
  }
}

TEST_F(CardSetupOptions, RestoreDefaultsPicksTheFirstMonochromeRibbonWhenTheListIsOn) {
  auto app = Start("VKTS32", "VKTS32.ppd", {}, "ribbon_code = 1");
  auto& ui = app->ui();
  ui.TypeOfRibbon->SelectItemAtIndex(2);
  EXPECT_EQ(ui.MonoChromeConv->ObjectValueOfSelectedItem(), "Text");  // white ribbon
  ui.CardSetupRestoreDefaultsBtn->click();
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem(), "Standard Monochrome");
  EXPECT_EQ(ui.MonoChromeConv->IndexOfSelectedItem(), 0);
}

TEST_F(CardSetupOptions, TheHalfPanelBoxAndEveryListChangeOfferApply) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  auto& ui = app->ui();
  ASSERT_FALSE(ui.ApplySettingsBtn->isEnabled());
  ui.chBoxAutoDetect->setEnabled(true);
  ui.chBoxAutoDetect->click();
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
  for (VktComboBox* list : {ui.Rotate, ui.PrintingMode, ui.MonoChromeConv, ui.TypeOfRibbon}) {
    ui.ApplySettingsBtn->setEnabled(false);
    list->SelectItemAtIndex(1);
    EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled()) << list->objectName().toStdString();
  }
}

TEST_F(CardSetupOptions, CancelWritesNothing) {
  auto app = Start("VKTS32", "VKTS32.ppd", {}, "ribbon_code = 54");  // a changed ribbon waits to be stored
  app->ui().Rotate->SelectItemAtIndex(2);
  app->ui().CancelBtn->click();
  EXPECT_EQ(quits_, 1);
  EXPECT_EQ(app->objDev(), nullptr);
  EXPECT_EQ(app_test::ReadFile(PpdPath()), ppdText_);
  EXPECT_FALSE(std::filesystem::exists(runtime_.path().toStdString() + "/Card.ppd"));
}

TEST_F(CardSetupOptions, ApplyWithTheServiceDownShowsTheAuthenticationMessage) {
  // A port that was free a moment ago: nobody listens there.
  int probe = ::socket(AF_INET, SOCK_STREAM, 0);
  ASSERT_GE(probe, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ASSERT_EQ(::bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  socklen_t length = sizeof address;
  ASSERT_EQ(::getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length), 0);
  const int port = ntohs(address.sin_port);
  ::close(probe);
  setenv("VKT_PPD_SERVICE_PORT", std::to_string(port).c_str(), 1);

  auto app = Start("VKTS32", "VKTS32.ppd");
  auto& ui = app->ui();
  ui.Rotate->SelectItemAtIndex(3);
  ASSERT_TRUE(ui.ApplySettingsBtn->isEnabled());
  ui.ApplySettingsBtn->click();
  unsetenv("VKT_PPD_SERVICE_PORT");

  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "Save Printer Settings");
  EXPECT_EQ(prompter_.prompts[0].message, "Authentication Error. Printer Settings are not saved");
  EXPECT_EQ(prompter_.prompts[0].buttons, std::vector<std::string>{"Ok"});
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
  EXPECT_TRUE(app->CardSetup().bSettingSaved);
  // The user's choices stay for another try; the PPD is untouched.
  EXPECT_EQ(ui.Rotate->IndexOfSelectedItem(), 3);
  EXPECT_EQ(app_test::ReadFile(PpdPath()), ppdText_);
}

}  // namespace
