// Start-up of the main window against emulated printers: the printer
// information and the tabs of each model, the order of the questions, the
// offline and failed paths, the log file and the window's buttons.
#include <gmock/gmock.h>

#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QMainWindow>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <filesystem>
#include <fstream>

#include "AppTestSupport.h"

namespace {

namespace fs = std::filesystem;
using Result = AppDelegate::StartupResult;
using app_test::Items;

// A transport that reaches nothing: the printer of an unplugged cable.
class DeadTransport : public VKTS3Communication {
 public:
  int GetDataFromPrinter(ReplyBuffer*) override { return -1; }
  int SendDataToPrinter(const char*, int) override { return -1; }
  void FlushPrinterEndPoint() override {}
  void ClosePrinterHandle() override {}
  int GetPrinterHandle() override { return -1; }
  uint32_t GetDeviceStatus() override { return 0; }
  std::optional<std::string> GetIPAddress() override { return std::nullopt; }
};

class StartupTest : public app_test::WindowTest {
 protected:
  QStringList TabNames() {
    QStringList names;
    for (int i = 0; i < ui().tabview->count(); ++i) names << ui().tabview->widget(i)->objectName();
    return names;
  }
  // The information tab and the model facts on one line.
  std::string Facts() {
    std::string text;
    for (QLabel* label : {ui().modelname, ui().FwVersion, ui().SerialNum, ui().HeadResis, ui().PannelPrinted,
                          ui().RibbonTypes, ui().RemainingCount, ui().MagEncoder, ui().SmartCard})
      text += label->text().toStdString() + "|";
    return text + "type " + std::to_string(app_->PrinterType) + (app_->bDualSide ? " two-sided" : " one-sided") +
           (ui().PrintOnBothside->isEnabled() ? " both-on" : " both-off") + " tabs " +
           TabNames().join(",").toStdString();
  }
  // Start-up without a printer, through `transport` (null: no transport at all).
  Result StartWithout(bool transport = true) {
    AppDelegate::Seams seams = Seams();
    seams.makeSession = [transport](const std::string& queue) {
      return std::make_unique<DeviceCommunication>(
          queue, transport ? std::make_unique<DeadTransport>() : std::unique_ptr<DeadTransport>(), transport ? 1 : 0);
    };
    app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    return app_->applicationDidFinishLaunching();
  }
};

TEST_F(StartupTest, EachModelShowsItsInformationAndTabs) {
  const std::string all = "tabs CardSetupTab,EncodingTab,DeviceSettingTab,ToolsTab,AboutTab";
  const std::string noEncoder = "tabs CardSetupTab,DeviceSettingTab,ToolsTab,AboutTab";
  const struct {
    const char *profile, *ppd, *extra;
    std::string facts;
  } cases[] = {
      // clang-format off
      {"VKTS32", "VKTS32.ppd", "",
       "Orvex VKT Series 32|VKT32-M V1.02.03.016|S32000001\r|2950\r|1234|YMCKO|120|Yes|No|type 0 two-sided both-on " + all},
      {"VKTS1-both-names", "VKTS1.ppd", "",
       "Orvex VKT Series 1|VKT11 VKT31 V1.00.01|S01000002\r|2950\r|1234|Monochrome|500|No|No|type 2 one-sided both-off " + noEncoder},
      {"VKTS31", "VKTS31.ppd", "",
       "Orvex VKT Series 31|VKT31-M V1.02.03.016|S31000001\r|2950\r|1234|KRO|300|Yes|No|type 1 one-sided both-off " + all},
      {"VKTS3C-21", "VKTS32C.ppd", "", "|Yes|PS/SC Contact encoder + Contactless Mifare|"},
      {"VKTS3C-noencoder", "VKTS32C.ppd", "", "|No|No|type 0 two-sided both-on " + noEncoder},
      // Nothing remaining reads N/A only for a monochrome ribbon (that one: tests/cli).
      {"VKTS32", "VKTS32.ppd", "ribbon_remaining = 0", "|YMCKO|0|"},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.profile) + " " + c.extra);
    ASSERT_EQ(Start(c.profile, c.ppd, c.extra), Result::kReady);
    EXPECT_THAT(Facts(), ::testing::HasSubstr(c.facts));
  }
}

TEST_F(StartupTest, Series32FillsTheWindowAskingInTheOrderOfTheInformation) {
  ASSERT_EQ(Start(), Result::kReady);
  EXPECT_EQ(app_->window()->windowTitle(), "Card Printer Properties");
  EXPECT_EQ(app_->PPDFileName, PpdPath());
  EXPECT_EQ(app_->objPPDHelper()->PrinterModel, "VKTS32");
  // Each question with its reply request; the second feeder question comes from the feeder list's own handler.
  std::string want;
  for (const char* question :
       {"%SERIE", "V", "!V 15", "!RIBBON", "!NL", "!RIBLEN", "&V", "ATM 1 1", "ATM 1 1", "+O", "+OY", "+OB", "+OYB"})
    want += std::string("\x1b") + question + "\r\x1b" + "E 2\r";
  EXPECT_EQ(Sent(), want);
  EXPECT_EQ(Items(ui().FeederOption), (QStringList{"Card feeder", "Single feeder slot", "Auto feed"}));
  EXPECT_EQ(ui().FeederOption->IndexOfSelectedItem(), 0);
  for (QWidget* off : std::initializer_list<QWidget*>{ui().leTrack1, ui().leTrack2, ui().leTrack3, ui().FWDownloadBtn,
                                                      ui().prnSendBtn, ui().PrinterFeedOptionApplyBtn})
    EXPECT_FALSE(off->isEnabled()) << off->objectName().toStdString();
  EXPECT_TRUE(ui().rdHighCo->isChecked() && !ui().rdLowCo->isChecked());
  EXPECT_TRUE(app_->CardSetup().bChangeMonoChromeConvIndex && !app_->CardSetup().bSettingSaved);
  EXPECT_FALSE(ui().orveximage->pixmap().isNull());

  // A selection on a widget runs the model's handlers, and the model's items show on the widget.
  ui().FeederOption->SelectItemAtIndex(2);
  EXPECT_TRUE(ui().PrinterFeedOptionApplyBtn->isEnabled());
  const int first = ui().TypeOfRibbon->NumberOfItems();
  app_->CardSetup().TypeOfRibbon.AddItems({"Unknown", "YMCKO 200"});
  ASSERT_EQ(ui().TypeOfRibbon->ItemAt(first + 1), "YMCKO 200");
  ui().TypeOfRibbon->SelectItemAtIndex(first + 1);
  EXPECT_TRUE(ui().ApplySettingsBtn->isEnabled());
  ui().TypeOfRibbon->SelectItemAtIndex(first);
  EXPECT_FALSE(ui().ApplySettingsBtn->isEnabled());
  ui().mnuAbout->trigger();
  EXPECT_EQ(ui().tabview->currentWidget(), ui().AboutTab);
}

TEST_F(StartupTest, AnOfflinePrinterLeavesOnlyAboutWithTheVersions) {
  ASSERT_EQ(StartWithout(), Result::kOffline);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const auto& alert = prompter_.prompts[0];
  EXPECT_EQ(alert.header + "|" + alert.message + "|" + alert.buttons.at(0) + "|" + alert.icon,
            "Card|The Printer is offline. Check the network / USB cable connection to the printer, that is powered "
            "on, and that it is online.|OK|" +
                app_->urlIcon);
  EXPECT_EQ(alert.level, Prompter::Level::kNote);
  EXPECT_EQ(TabNames(), (QStringList{"AboutTab"}));
  EXPECT_TRUE(app_->window()->isVisible());
  EXPECT_EQ(
      ui().txtVersionInfo->text(),
      "Orvex VKT Series 3/1 CardPrinter\n\nVersion QR7HM.1.00.02 (dt. Apr 15 2016)\n\nPrinter Properties for Linux");
  EXPECT_EQ(ui().lblMacOSXVersionTxt->text(), "Debian GNU/Linux 12 (bookworm)");
  EXPECT_EQ(Facts().substr(0, 9), "|||||||||");
  EXPECT_EQ(app_->objPPDHelper(), nullptr);

  // The operating system's version: its pretty name once, else its name and version.
  for (const auto& [release, shown] : std::initializer_list<std::pair<const char*, const char*>>{
           {"NAME=\"Fedora Linux\"\nVERSION=\"40 (Workstation Edition)\"\n",
            "Fedora Linux Version 40 (Workstation Edition)"},
           {"NAME=Arch\n", "Arch"},
           {"", "Linux"}}) {
    std::ofstream(Root() + "/os-release") << release;
    ASSERT_EQ(StartWithout(), Result::kOffline);
    EXPECT_EQ(ui().lblMacOSXVersionTxt->text().toStdString(), shown);
  }

  // The alert closed without OK: start-up goes on to the lists.
  prompter_.answers = {Prompter::kNoButton};
  ASSERT_EQ(StartWithout(), Result::kReady);
  EXPECT_EQ(ui().tabview->count(), 5);
  EXPECT_EQ(Items(ui().Rotate), (QStringList{"None", "Front", "Back", "Both"}));
  EXPECT_EQ(ui().FeederOption->NumberOfItems(), 0);
}

TEST_F(StartupTest, NoTransportOrNoPpdStopsStartUp) {
  ASSERT_EQ(StartWithout(false), Result::kStopped);
  EXPECT_FALSE(app_->window()->isVisible());
  // A PPD neither readable nor served by a scheduler.
  ASSERT_EQ(Start(), Result::kReady);
  fs::remove(PpdPath());
  setenv("CUPS_SERVER", (Root() + "/no-scheduler.sock").c_str(), 1);
  app_ = std::make_unique<AppDelegate>(prompter_, Seams());
  const Result result = app_->applicationDidFinishLaunching();
  unsetenv("CUPS_SERVER");
  EXPECT_EQ(result, Result::kStopped);
  ASSERT_EQ(prompter_.prompts.size(), 2u);
  for (const auto& alert : prompter_.prompts)
    EXPECT_EQ(alert.header + "|" + alert.message + "|" + alert.buttons.at(0),
              "|Not able to launch printer properties.|OK");
}

TEST_F(StartupTest, TheLogFileIsFreshAtEachStartInADocumentsFolderMadeForIt) {
  const std::string folder = Root() + "/documents/not/yet";
  const std::string log = folder + "/VKTS3Properties.log";
  fs::create_directories(folder);
  std::ofstream(log) << "a line of the previous run\n";
  ASSERT_EQ(Start(), Result::kReady);
  // Standard error is reopened on the log: keep the test's own stream to put back.
  const int savedStderr = dup(fileno(stderr));
  for (int run = 0; run < 2; ++run) {
    AppDelegate::Seams seams = Seams();
    seams.redirectLog = true;
    seams.documentsFolder = folder;
    app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    EXPECT_EQ(app_->applicationDidFinishLaunching(), Result::kReady);
    std::fflush(stderr);
    const std::string text = app_test::ReadFile(log);
    EXPECT_EQ(text.find("a line of the previous run"), std::string::npos);
    EXPECT_NE(text.find("Firmware Version is VKT32-M V1.02.03.016"), std::string::npos) << text;
    EXPECT_EQ(text.find("Firmware Version is"), text.rfind("Firmware Version is")) << text;
  }
  dup2(savedStderr, fileno(stderr));
  close(savedStderr);
  AppDelegate::Seams seams = Seams();
  seams.documentsFolder = Root() + "/documents/new/folder";
  AppDelegate fresh(prompter_, std::move(seams));
  EXPECT_EQ(fresh.GetLogFilePath(), Root() + "/documents/new/folder/VKTS3Properties.log");
  EXPECT_TRUE(fs::is_directory(Root() + "/documents/new/folder"));
}

TEST_F(StartupTest, CloseCancelAndTheLastWindowEndTheSessionAndQuit) {
  for (int way = 0; way < 3; ++way) {
    SCOPED_TRACE(way);
    ASSERT_EQ(Start(), Result::kReady);
    ASSERT_NE(app_->objDev(), nullptr);
    const bool ends = way == 0   ? (ui().CloseBtn->click(), true)
                      : way == 1 ? (ui().CancelBtn->click(), true)
                                 : app_->applicationShouldTerminateAfterLastWindowClosed();
    EXPECT_TRUE(ends);
    EXPECT_EQ(app_->objDev(), nullptr);
    EXPECT_TRUE(app_->printerNameRef.empty());
    EXPECT_EQ(quits_, way < 2 ? way + 1 : 2);
  }
}

TEST_F(StartupTest, ChildWindowsGetThePpdPathOrReportThatTheyCannotOpen) {
  ASSERT_EQ(Start(), Result::kReady);
  ui().JobLogBtn->click();
  ui().SaveRestoreBtn->click();
  ASSERT_EQ(prompter_.prompts.size(), 2u);
  EXPECT_EQ(prompter_.prompts[0].message, "Not able to display Job log dialouge.");
  EXPECT_EQ(prompter_.prompts[1].message, "Not able to display Save/Restore dialouge.");

  // With a window to open: it gets the PPD path and runs modally until it is closed.
  AppDelegate::Seams seams = Seams();
  std::string handedPath;
  bool ran = false;
  seams.makeJobLogWindow = [&](const std::string& ppdPath, QWidget* parent) {
    handedPath = ppdPath;
    auto dialog = std::make_unique<QDialog>(parent);
    QTimer::singleShot(0, dialog.get(), [&ran, d = dialog.get()] { ran = d->isVisible(), d->done(0); });
    return dialog;
  };
  app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
  ASSERT_EQ(app_->applicationDidFinishLaunching(), Result::kReady);
  app_->JobLogBtn();
  EXPECT_EQ(handedPath, PpdPath());
  EXPECT_TRUE(ran);
  EXPECT_EQ(prompter_.prompts.size(), 2u);
}

// Every tab, shown in turn, fits a 1024x768 screen with every control inside
// the window; the pictures land in <build>/screenshots/tabs/ for a person to look at.
TEST_F(StartupTest, EveryTabFitsTheScreenWithAllItsControlsVisible) {
  ASSERT_EQ(Start("VKTS32", "VKTS32.ppd", "ribbon_code = 54"), Result::kReady);  // with a ribbon-change alert
  QMainWindow* window = app_->window();
  EXPECT_EQ(window->size(), QSize(940, 640));
  EXPECT_LE(window->minimumSizeHint().width(), 1024);
  EXPECT_LE(window->minimumSizeHint().height(), 740);  // room for a panel and the title bar
  const QString folder = QStringLiteral(VKT_SCREENSHOT_DIR "/tabs");
  QDir().mkpath(folder);
  for (int i = 0; i < ui().tabview->count(); ++i) {
    QWidget* tab = ui().tabview->widget(i);
    ui().tabview->setCurrentIndex(i);
    QCoreApplication::processEvents();
    EXPECT_TRUE(window->grab().save(folder + "/" + tab->objectName() + ".png"));
    for (QWidget* control : tab->findChildren<QWidget*>()) {
      if (control->objectName().isEmpty() || control->objectName().startsWith("qt_") || !control->isVisibleTo(tab))
        continue;
      const QRect where(control->mapTo(window, QPoint(0, 0)), control->size());
      EXPECT_TRUE(window->rect().contains(where) && where.width() > 0)
          << tab->objectName().toStdString() << ": " << control->objectName().toStdString() << " lies outside";
    }
  }
}

}  // namespace
