// Apply and Close of the card-setup tab through a stand-in for the PPD
// service: the PPD changes in exactly the expected lines, and only when
// something differs. Runs first in its process: the driver's value tables
// keep the first model they see, and this is VKTS32. (A save the real service
// refuses is tested through vkts3-cli in tests/cli.)
#include <QLineEdit>
#include <QPushButton>

#include "AppTestSupport.h"
#include "FakePpdService.h"
#include "PpdTestSupport.h"

namespace {

using app_test::Edited;

class CardSetupTab : public app_test::WindowTest {
 protected:
  std::string Ppd() { return app_test::ReadFile(PpdPath()); }
  std::string Original() { return app_test::ReadFile(VKT_FIXTURE_PPD_DIR "/VKTS32.ppd"); }
  FakePpdService service_;
  ppd_test::ScopedEnv port_{"VKT_PPD_SERVICE_PORT", std::to_string(service_.port())};
};

TEST_F(CardSetupTab, ApplyWritesExactlyTheChangedLinesAndThenNothing) {
  ASSERT_EQ(Start(), AppDelegate::StartupResult::kReady);
  auto& ui = app_->ui();
  ASSERT_TRUE(prompter_.prompts.empty());
  ui.Rotate->SelectItemAtIndex(3);
  ui.PrintingMode->SelectItemAtIndex(1);
  ui.RibbonCombinatioin->SelectItemAtIndex(app_test::Items(ui.RibbonCombinatioin).indexOf("Front YMCKO , Back YMCKO"));
  ASSERT_EQ(app_test::Items(ui.MonoChromeConv), (QStringList{"Barcode", "Text"}));
  ui.MonoChromeConv->SelectItemAtIndex(1);
  ui.leFrontX->setText("12");
  ui.leBackY->setText("-4");
  ui.chBoxAutoDetect->setEnabled(true);
  ui.chBoxAutoDetect->click();
  ASSERT_TRUE(ui.ApplySettingsBtn->isEnabled());
  ui.ApplySettingsBtn->click();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
  EXPECT_TRUE(app_->CardSetup().bSettingSaved);
  // The identity lines every first Apply writes: the printer's serial number
  // (the label without its terminator) and the address of a network printer.
  // clang-format off
  const std::string expected = Edited(Original(), {{"*PrinterSerialNo: VKT3200001", "*PrinterSerialNo: S32000001"},
      {"*PrinterIPAddress: 203.0.113.10", "*PrinterIPAddress: 127.0.0.1"},
      {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
      {"*DefaultVKTS32PrintingMode: 0PrintnEncode", "*DefaultVKTS32PrintingMode: 1EncodeOnly"},
      {"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 3Text"},
      {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 1FrontYmckoBackYmcko"},
      {"*DefaultVKTS32AutoHalfPanel: 0false", "*DefaultVKTS32AutoHalfPanel: 1true"},
      {"*FrontX: 0", "*FrontX: 12"}, {"*BackY: 0", "*BackY: -4"}});
  // clang-format on
  EXPECT_EQ(Ppd(), expected);

  // Nothing differs from the file any more: no request, no change, no message.
  const size_t requests = service_.Requests().size();
  app_->CardSetup().SaveSettings();
  EXPECT_EQ(Ppd(), expected);
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
  // Close after Apply does not store the ribbon again.
  app_->OnClickCloseButton();
  EXPECT_EQ(quits_, 1);
  EXPECT_EQ(service_.Requests().size(), requests);
}

TEST_F(CardSetupTab, CloseWithoutApplyStoresTheChangedRibbon) {
  ASSERT_EQ(Start("VKTS32", "VKTS32.ppd", "ribbon_code = 54"), AppDelegate::StartupResult::kReady);  // "KdO 500"
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ASSERT_EQ(prompter_.prompts[0].message, "Ribbon Changed to KdO 500");
  ui().CloseBtn->click();
  EXPECT_EQ(quits_, 1);
  EXPECT_EQ(app_->objDev(), nullptr);
  EXPECT_EQ(service_.Requests().size(), 1u);
  EXPECT_EQ(Ppd(), Edited(Original(), {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"}}));
}

}  // namespace
