// Apply and Close of the card-setup tab through the sandbox's PPD service, as
// an ordinary user who may not read the installed PPD: the settings come from
// the scheduler's copy, the installed PPD of the queue Card changes in exactly
// the expected lines (or, for a user outside the admin group, not at all) and
// is put back afterwards. Only VKTS32 PPDs are used in this process (the
// driver's value tables keep the first model they see).
#include <unistd.h>

#include <QLineEdit>
#include <QPushButton>
#include <algorithm>
#include <fstream>

#include "AppTestSupport.h"
#include "Paths.h"
#include "SandboxEnv.h"

namespace {

using app_test::Edited;
using app_test::Edits;
using app_test::Items;

constexpr char kQueue[] = "Card";

class CardSetupApply : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(vkt_sandbox::Require());
    ASSERT_FALSE(vkt_sandbox::Var("VKT_PPD_SERVICE_PORT").empty()) << "the sandbox runs no PPD service";
    app_test::EnsureApplication();
    ASSERT_TRUE(runtime_.isValid() && documents_.isValid());
    setenv("XDG_RUNTIME_DIR", runtime_.path().toLocal8Bit().constData(), 1);
    ppdPath_ = vkt_paths::PpdPathForQueue(kQueue);
    ASSERT_EQ(ppdPath_, vkt_sandbox::Base() + "/ppd/Card.ppd");
    original_ = app_test::ReadFile(vkt_sandbox::FixtureDir() + "/VKTS32.ppd");
    ASSERT_EQ(vkt_sandbox::InstalledPpd(kQueue), original_) << "the sandbox PPD was left changed by an earlier test";
  }

  void TearDown() override {
    app_.reset();
    if (ppdPath_.empty() || vkt_sandbox::InstalledPpd(kQueue) == original_) return;
    Install(original_);
    EXPECT_EQ(vkt_sandbox::InstalledPpd(kQueue), original_) << "could not restore " << ppdPath_;
  }

  // Puts `text` in place of the queue's PPD through the service, as the tool would.
  void Install(const std::string& text) {
    const std::string copy = runtime_.path().toStdString() + "/install.ppd";
    std::ofstream(copy, std::ios::binary) << text;
    ASSERT_EQ(SavePPDFileAsRoot(copy.c_str(), ppdPath_.c_str()), 1);
    ASSERT_EQ(vkt_sandbox::InstalledPpd(kQueue), text);
  }

  // Start-up of the main window for the queue; `emulatorPort` 0 takes the
  // queue's own printer through cupsd's device URI.
  void Start(int emulatorPort = 0) {
    AppDelegate::Seams seams;
    seams.queue = kQueue;
    seams.documentsFolder = documents_.path().toStdString();
    seams.redirectLog = false;
    seams.quit = [this] { ++quits_; };
    if (emulatorPort) {
      seams.makeSession = [emulatorPort](const std::string& queue) { return app_test::SessionTo(queue, emulatorPort); };
    }
    app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    ASSERT_EQ(app_->applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
  }

  // An emulated printer of our own for the queue (a ribbon other than the sandbox's).
  int OwnPrinter(const std::string& extra) {
    server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile("VKTS32", extra));
    EXPECT_TRUE(server_->Start());
    return server_->Port();
  }

  // The whole installed PPD against the expected text.
  void ExpectPpd(const std::string& expected) const {
    EXPECT_EQ(vkt_sandbox::InstalledPpd(kQueue), expected);  // a failure shows the lines that differ
  }

  size_t ServiceRequests() const {
    std::string log = app_test::ReadFile(vkt_sandbox::Base() + "/log/ppd-service.log");
    return static_cast<size_t>(std::count(log.begin(), log.end(), '\n'));
  }

  // The identity lines every first Apply writes: the printer's serial number
  // (the label without its terminator) and the address of a network printer.
  static Edits Identity() {
    return {{"*PrinterSerialNo: VKT3200001", "*PrinterSerialNo: S32000001"},
            {"*PrinterIPAddress: 203.0.113.10", "*PrinterIPAddress: 127.0.0.1"}};
  }

  QTemporaryDir runtime_;
  QTemporaryDir documents_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<AppDelegate> app_;
  std::string ppdPath_;
  std::string original_;
  int quits_ = 0;
};

TEST_F(CardSetupApply, ApplyWritesExactlyTheChangedLinesAndThenNothing) {
  Start();  // the queue's own printer, found through cupsd
  auto& ui = app_->ui();
  ASSERT_TRUE(prompter_.prompts.empty());
  ASSERT_EQ(ui.SerialNum->text(), "S32000001\r");

  ui.Rotate->SelectItemAtIndex(3);
  ui.RibbonCombinatioin->SelectItemAtIndex(Items(ui.RibbonCombinatioin).indexOf("Front YMCKO , Back YMCKO"));
  ASSERT_EQ(Items(ui.MonoChromeConv), (QStringList{"Barcode", "Text"}));
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
  Edits edits = Identity();
  edits.push_back({"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"});
  edits.push_back({"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 3Text"});
  edits.push_back(
      {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 1FrontYmckoBackYmcko"});
  edits.push_back({"*DefaultVKTS32AutoHalfPanel: 0false", "*DefaultVKTS32AutoHalfPanel: 1true"});
  edits.push_back({"*FrontX: 0", "*FrontX: 12"});
  edits.push_back({"*BackY: 0", "*BackY: -4"});
  const std::string expected = Edited(original_, edits);
  ExpectPpd(expected);

  // Nothing differs from the file any more: no request, no change, no message.
  const size_t requests = ServiceRequests();
  app_->CardSetup().SaveSettings();
  EXPECT_EQ(ServiceRequests(), requests);
  ExpectPpd(expected);
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());

  // Close after Apply does not store the ribbon again.
  app_->OnClickCloseButton();
  EXPECT_EQ(quits_, 1);
  EXPECT_EQ(ServiceRequests(), requests);
}

// What was loaded is written back: Text of the two-item list of combination 14
// as 3, and a KdO combination (no monochrome line) keeps the stored HalfTone.
TEST_F(CardSetupApply, ApplyWithoutAChangeWritesTheStoredValuesBack) {
  const struct {
    Edits stored;
    const char* ribbonCode;  // null: the queue's own printer
  } cases[] = {
      {{{"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 3Text"},
        {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 14FrontYMCKO"}},
       nullptr},
      {{{"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 1HalfTone"},
        {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"},
        {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 12FrontKdO"}},
       "ribbon_code = 54"},  // "KdO 500"
  };
  for (const auto& c : cases) {
    Edits edits = c.stored;
    edits.push_back({"*DefaultVKTS32DualSidePrinting: 1true", "*DefaultVKTS32DualSidePrinting: 0false"});
    const std::string stored = Edited(original_, edits);
    Install(stored);
    Start(c.ribbonCode ? OwnPrinter(c.ribbonCode) : 0);
    prompter_.prompts.clear();
    app_->CardSetup().SaveSettings();
    EXPECT_TRUE(prompter_.prompts.empty());
    ExpectPpd(Edited(stored, Identity()));
  }
}

TEST_F(CardSetupApply, CloseWithoutApplyStoresTheChangedRibbon) {
  Start(OwnPrinter("ribbon_code = 54"));  // "KdO 500" against the driver's YMCKO
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  ASSERT_EQ(prompter_.prompts[0].message, "Ribbon Changed to KdO 500");
  const size_t requests = ServiceRequests();
  app_->ui().CloseBtn->click();
  EXPECT_EQ(quits_, 1);
  EXPECT_EQ(app_->objDev(), nullptr);
  EXPECT_GT(ServiceRequests(), requests);
  ExpectPpd(Edited(original_, {{"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"}}));
}

// A user outside the admin group sees the stored settings, and Apply tells
// that they were not saved: the service refused, the PPD is unchanged.
TEST_F(CardSetupApply, ApplyRefusedForAUserOutsideTheAdminGroup) {
  ASSERT_NE(::access(ppdPath_.c_str(), R_OK), 0) << "run as a user who cannot read the installed PPD";
  Start();
  auto& ui = app_->ui();
  ASSERT_TRUE(prompter_.prompts.empty());
  // The stored 0YMCKO100 and 4FrontYmckoBackK, as the lists name them.
  EXPECT_EQ(ui.TypeOfRibbon->ObjectValueOfSelectedItem().toStdString(), "YMCKO 100 Prints");
  EXPECT_EQ(ui.RibbonCombinatioin->ObjectValueOfSelectedItem().toStdString(), "Front YMCO , Back K");
  EXPECT_EQ(ui.Rotate->ObjectValueOfSelectedItem().toStdString(), "None");
  EXPECT_EQ(ui.MonoChromeConv->ObjectValueOfSelectedItem().toStdString(), "Diffusion");

  ui.Rotate->SelectItemAtIndex(3);
  ASSERT_TRUE(ui.ApplySettingsBtn->isEnabled());
  ui.ApplySettingsBtn->click();
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].message, "Authentication Error. Printer Settings are not saved");
  ExpectPpd(original_);
  std::string log = app_test::ReadFile(vkt_sandbox::Base() + "/log/ppd-service.log");
  EXPECT_NE(log.find("request from uid 65534"), std::string::npos) << log;
}

}  // namespace
