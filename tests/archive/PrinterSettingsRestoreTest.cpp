// Restoring a printer-settings file in a started main window talking to an
// emulated printer: the printer receives exactly what the window's own apply
// buttons send, and the controls show the file's values.
#include <gtest/gtest.h>

#include "AppSaveRestoreHost.h"
#include "AppTestSupport.h"
#include "DeviceSettingsController.h"
#include "EncodingController.h"
#include "RadioPair.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"
#include "vkts3saverestore.h"

namespace {

class PrinterSettingsRestoreTest : public app_test::WindowTest {
 protected:
  // Puts distinct values into every control a printer-settings file holds.
  void SetControls(const char* frontX, int feed, int base, bool high) {
    ui().leFrontX->setText(frontX);
    ui().leFrontY->setText("3");
    ui().leBackY->setText("-7");
    ui().FeederOption->SelectItemAtIndex(feed);
    VktComboBox* modes[] = {ui().BoxT1Mode, ui().BoxT2Mode, ui().BoxT3Mode};
    VktComboBox* densities[] = {ui().BoxT1Density, ui().BoxT2Density, ui().BoxT3Density};
    for (int i = 0; i < 3; ++i)
      modes[i]->SelectItemAtIndex((base + i) % 3), densities[i]->SelectItemAtIndex((base + i) % 2);
    app_->HiLoCo().SetStates(high, !high);
  }
};

TEST_F(PrinterSettingsRestoreTest, RestoreSendsWhatTheApplyButtonsSend) {
  ASSERT_EQ(Start(), AppDelegate::StartupResult::kReady);
  SetControls("-12", 1, 1, true);
  const std::string backup = Root() + "/documents/backup.plist";
  vkts3saverestore window(app_->PPDFileName, std::make_unique<AppSaveRestoreHost>(*app_), nullptr, Root());
  prompter_.paths = {backup};
  window.PrinterSettingSaveButton();

  // The reference: a user's clicks with these controls, in the order of the
  // file's keys (Offset, SingleFeed, MagneticEncoding). Choosing a feeder
  // mode asks the printer for its own first.
  Forget();
  app_->DeviceSettings().SendOffsetToPrinter();
  ui().FeederOption->SelectItemAtIndex(1);
  app_->DeviceSettings().SingleFeedApplyBtn();
  app_->Encoding().EncodeApplyButton();
  const std::string applied = Sent();
  ASSERT_NE(applied.find("\x1b+O -12"), std::string::npos);

  SetControls("40", 0, 2, false);
  Forget();
  AppSaveRestoreHost(*app_).UpdatePrinterSettingsFromFile(backup);
  // The apply actions read the widgets: the same bytes mean the file's values
  // are shown.
  EXPECT_EQ(Sent(), applied);
  // The same serial number: no question, only the apply actions' own notices.
  for (const auto& prompt : prompter_.prompts) EXPECT_NE(prompt.header, "Restore Printer setting ");
}

}  // namespace
