// Restoring a printer-settings file in a started main window talking to an
// emulated printer: the printer receives exactly what the window's own apply
// buttons send, and the controls show the file's values.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "AppSaveRestoreHost.h"
#include "AppTestSupport.h"
#include "DeviceSettingsController.h"
#include "EncodingController.h"
#include "RadioPair.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"
#include "vkts3saverestore.h"

namespace {

namespace fs = std::filesystem;

class PrinterSettingsRestoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    ASSERT_TRUE(root_.isValid());
    fs::create_directories(Root() + "/ppd");
    setenv("CUPS_SERVERROOT", Root().c_str(), 1);
    std::ofstream(Root() + "/os-release") << "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n";
    server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile("VKTS32"));
    ASSERT_TRUE(server_->Start()) << "the emulator could not start";
    fs::copy_file(app_test::FixturePpd("VKTS32.ppd"), Root() + "/ppd/Card.ppd", fs::copy_options::overwrite_existing);

    AppDelegate::Seams seams;
    seams.queue = "Card";
    seams.documentsFolder = Root();
    seams.osReleasePath = Root() + "/os-release";
    seams.redirectLog = false;
    seams.quit = [] {};
    const int port = server_->Port();
    seams.makeSession = [port](const std::string& queue) { return app_test::SessionTo(queue, port); };
    app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    ASSERT_EQ(app_->applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
    ASSERT_EQ(app_->ui().SerialNum->text().toStdString().rfind("S32000001", 0), 0u);
    prompter_.prompts.clear();
  }

  std::string Root() const { return root_.path().toStdString(); }

  // The bytes `action` puts on the printer's wire, over every connection.
  template <class F>
  std::string Sent(F action) {
    auto wire = [this] {
      std::string all;
      for (const std::string& part : server_->ConnectionTranscripts()) all += part;
      return all;
    };
    const size_t before = wire().size();
    action();
    return wire().substr(before);
  }

  // Puts distinct values into every control a printer-settings file holds.
  void SetControls(const char* frontX, int feed, int base, bool high) {
    Ui::MainWindow& ui = app_->ui();
    ui.leFrontX->setText(frontX);
    ui.leFrontY->setText("3");
    ui.leBackY->setText("-7");
    ui.FeederOption->SelectItemAtIndex(feed);
    VktComboBox* modes[] = {ui.BoxT1Mode, ui.BoxT2Mode, ui.BoxT3Mode};
    VktComboBox* densities[] = {ui.BoxT1Density, ui.BoxT2Density, ui.BoxT3Density};
    for (int i = 0; i < 3; ++i)
      modes[i]->SelectItemAtIndex((base + i) % 3), densities[i]->SelectItemAtIndex((base + i) % 2);
    app_->HiLoCo().SetStates(high, !high);
  }

  QTemporaryDir root_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<AppDelegate> app_;
};

TEST_F(PrinterSettingsRestoreTest, RestoreSendsWhatTheApplyButtonsSend) {
  SetControls("-12", 1, 1, true);
  vkts3saverestore window(app_->PPDFileName, std::make_unique<AppSaveRestoreHost>(*app_), nullptr, Root());
  prompter_.paths = {Root() + "/backup.plist"};
  window.PrinterSettingSaveButton();

  // The reference: a user's clicks with these controls, in the order of the
  // file's keys (Offset, SingleFeed, MagneticEncoding). Choosing a feeder
  // mode asks the printer for its own first.
  const std::string applied = Sent([&] {
    app_->DeviceSettings().SendOffsetToPrinter();
    app_->ui().FeederOption->SelectItemAtIndex(1);
    app_->DeviceSettings().SingleFeedApplyBtn();
    app_->Encoding().EncodeApplyButton();
  });
  ASSERT_NE(applied.find("\x1b+O -12"), std::string::npos);

  SetControls("40", 0, 2, false);
  prompter_.prompts.clear();
  EXPECT_EQ(Sent([&] { AppSaveRestoreHost(*app_).UpdatePrinterSettingsFromFile(Root() + "/backup.plist"); }), applied);
  Ui::MainWindow& ui = app_->ui();
  EXPECT_EQ(ui.leFrontX->text() + ui.leFrontY->text() + ui.leBackY->text(), "-123-7");
  EXPECT_EQ(ui.FeederOption->IndexOfSelectedItem(), 1);
  EXPECT_EQ(ui.BoxT1Mode->IndexOfSelectedItem() * 100 + ui.BoxT3Mode->IndexOfSelectedItem() * 10 +
                ui.BoxT2Density->IndexOfSelectedItem(),
            100);
  EXPECT_TRUE(ui.rdHighCo->isChecked() && !ui.rdLowCo->isChecked());
  // The same serial number: no question, only the apply actions' own notices.
  for (const auto& prompt : prompter_.prompts) EXPECT_NE(prompt.header, "Restore Printer setting ");
}

}  // namespace
