// Restoring a printer-settings file in a started main window talking to an
// emulated printer: the printer receives exactly what the window's own apply
// buttons send, and the controls show the file's values.
#include <gtest/gtest.h>

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
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
    fs::create_directories(Root() + "/Documents");
    setenv("CUPS_SERVERROOT", Root().c_str(), 1);
    std::ofstream(Root() + "/os-release") << "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n";
    server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile("VKTS32"));
    ASSERT_TRUE(server_->Start()) << "the emulator could not start";
    fs::copy_file(app_test::FixturePpd("VKTS32.ppd"), Root() + "/ppd/Card.ppd", fs::copy_options::overwrite_existing);

    AppDelegate::Seams seams;
    seams.queue = "Card";
    seams.documentsFolder = Root() + "/Documents";
    seams.osReleasePath = Root() + "/os-release";
    seams.redirectLog = false;
    seams.quit = [] {};
    const int port = server_->Port();
    seams.makeSession = [port](const std::string& queue) { return app_test::SessionTo(queue, port); };
    app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    ASSERT_EQ(app_->applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
    serial_ = app_->ui().SerialNum->text().toStdString();
    ASSERT_EQ(serial_.rfind("S32000001", 0), 0u) << serial_;
    prompter_.prompts.clear();
  }

  std::string Root() const { return root_.path().toStdString(); }

  // Everything the printer received so far, over every connection.
  std::string Wire() const {
    std::string all;
    for (const std::string& part : server_->ConnectionTranscripts()) all += part;
    return all;
  }

  // The bytes `action` puts on the wire.
  template <class F>
  std::string Sent(F action) {
    const size_t before = Wire().size();
    action();
    return Wire().substr(before);
  }

  // Puts distinct values into every control a printer-settings file holds.
  void SetControls(const char* frontX, int feed, int trackBase, bool high) {
    Ui::MainWindow& ui = app_->ui();
    ui.leFrontX->setText(frontX);
    ui.leFrontY->setText("3");
    ui.leBackX->setText("0");
    ui.leBackY->setText("-7");
    ui.FeederOption->SelectItemAtIndex(feed);
    ui.BoxT1Mode->SelectItemAtIndex(trackBase % 3);
    ui.BoxT2Mode->SelectItemAtIndex((trackBase + 1) % 3);
    ui.BoxT3Mode->SelectItemAtIndex((trackBase + 2) % 3);
    ui.BoxT1Density->SelectItemAtIndex(trackBase % 2);
    ui.BoxT2Density->SelectItemAtIndex((trackBase + 1) % 2);
    ui.BoxT3Density->SelectItemAtIndex(trackBase % 2);
    app_->HiLoCo().SetStates(high, !high);
  }

  // Saves the controls through the save/restore window.
  std::string SaveThroughWindow(const std::string& name) {
    vkts3saverestore window(app_->PPDFileName, std::make_unique<AppSaveRestoreHost>(*app_), nullptr,
                            Root() + "/Documents");
    prompter_.paths = {Root() + "/Documents/" + name};
    window.PrinterSettingSaveButton();
    return Root() + "/Documents/" + name + ".plist";
  }

  std::string serial_;  // the serial-number field as start-up filled it
  QTemporaryDir root_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<AppDelegate> app_;
};

TEST_F(PrinterSettingsRestoreTest, RestoreSendsWhatTheApplyButtonsSend) {
  SetControls("-12", 1, 1, true);
  const std::string file = SaveThroughWindow("backup");
  ASSERT_TRUE(fs::exists(file));

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
  const std::string restored = Sent([&] { AppSaveRestoreHost(*app_).UpdatePrinterSettingsFromFile(file); });
  EXPECT_EQ(restored, applied);

  Ui::MainWindow& ui = app_->ui();
  EXPECT_EQ(ui.leFrontX->text(), "-12");
  EXPECT_EQ(ui.leBackY->text(), "-7");
  EXPECT_EQ(ui.FeederOption->IndexOfSelectedItem(), 1);
  EXPECT_EQ(ui.BoxT1Mode->IndexOfSelectedItem(), 1);
  EXPECT_EQ(ui.BoxT3Mode->IndexOfSelectedItem(), 0);
  EXPECT_EQ(ui.BoxT2Density->IndexOfSelectedItem(), 0);
  EXPECT_TRUE(ui.rdHighCo->isChecked());
  EXPECT_FALSE(ui.rdLowCo->isChecked());
  // The same serial number: no question, only the apply actions' own notices.
  for (const auto& prompt : prompter_.prompts) EXPECT_NE(prompt.header, "Restore Printer setting ");
}

}  // namespace
