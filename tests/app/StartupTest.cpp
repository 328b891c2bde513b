// Start-up of the main window against emulated printers: printer
// information, model rules, tab removal, the offline path, the log file and
// the window's buttons.
#include <gtest/gtest.h>

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QTabWidget>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "AppTestSupport.h"
#include "CardSetupModel.h"
#include "RadioPair.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "ui_MainWindow.h"

namespace {

namespace fs = std::filesystem;
using Result = AppDelegate::StartupResult;

constexpr char kOffline[] =
    "The Printer is offline. Check the network / USB cable connection to the printer, that is powered on, and "
    "that it is online.";

// A transport that reaches nothing: the printer of an unplugged cable.
class DeadTransport : public VKTS3Communication {
 public:
  int GetDataFromPrinter(ReplyBuffer*) override { return -1; }
  int SendDataToPrinter(const char*, int length) override {
    sent += length;
    return -1;
  }
  void FlushPrinterEndPoint() override {}
  void ClosePrinterHandle() override {}
  int GetPrinterHandle() override { return -1; }
  uint32_t GetDeviceStatus() override { return 0; }
  std::optional<std::string> GetIPAddress() override { return std::nullopt; }
  int sent = 0;
};

class StartupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    ASSERT_TRUE(serverRoot_.isValid() && documents_.isValid());
    fs::create_directories(serverRoot_.path().toStdString() + "/ppd");
    setenv("CUPS_SERVERROOT", serverRoot_.path().toLocal8Bit().constData(), 1);
    osRelease_ = serverRoot_.path().toStdString() + "/os-release";
    std::ofstream(osRelease_) << "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian GNU/Linux\"\n"
                                 "VERSION_ID=\"12\"\nVERSION=\"12 (bookworm)\"\nID=debian\n";
  }

  // Starts an emulator from the profile and installs the model's PPD fixture as the queue's PPD.
  void StartPrinter(const std::string& profile, const std::string& ppd, const std::string& extra = {}) {
    server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile(profile, extra));
    ASSERT_TRUE(server_->Start()) << "the emulator could not start";
    fs::copy_file(app_test::FixturePpd(ppd), serverRoot_.path().toStdString() + "/ppd/" + queue_ + ".ppd",
                  fs::copy_options::overwrite_existing);
  }

  AppDelegate::Seams Seams() {
    AppDelegate::Seams seams;
    seams.queue = queue_;
    seams.documentsFolder = documents_.path().toStdString();
    seams.osReleasePath = osRelease_;
    seams.redirectLog = false;
    seams.quit = [this] { ++quits_; };
    const int port = server_ ? server_->Port() : 0;
    seams.makeSession = [this, port](const std::string& queue) {
      ++sessions_;
      return app_test::SessionTo(queue, port);
    };
    return seams;
  }

  // Runs start-up for the profile and returns the delegate.
  std::unique_ptr<AppDelegate> Start(const std::string& profile, const std::string& ppd, const std::string& extra = {}) {
    StartPrinter(profile, ppd, extra);
    auto app = std::make_unique<AppDelegate>(prompter_, Seams());
    result_ = app->applicationDidFinishLaunching();
    return app;
  }

  static QStringList Items(VktComboBox* list) {
    QStringList items;
    for (int i = 0; i < list->NumberOfItems(); ++i) items << list->ItemAt(i);
    return items;
  }

  static QStringList TabNames(AppDelegate& app) {
    QStringList names;
    for (int i = 0; i < app.ui().tabview->count(); ++i) names << app.ui().tabview->widget(i)->objectName();
    return names;
  }

  QTemporaryDir serverRoot_;
  QTemporaryDir documents_;
  std::string osRelease_;
  std::string queue_ = "Card";
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  Result result_ = Result::kStopped;
  int quits_ = 0;
  int sessions_ = 0;
};

TEST_F(StartupTest, Series32FillsEveryTabAndThePrinterInformation) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  ASSERT_EQ(result_, Result::kReady);
  auto& ui = app->ui();
  EXPECT_TRUE(prompter_.prompts.empty());
  EXPECT_EQ(app->window()->windowTitle(), "Card Printer Properties");
  EXPECT_EQ(app->printerNameRef, "Card");
  EXPECT_EQ(TabNames(*app), (QStringList{"CardSetupTab", "EncodingTab", "DeviceSettingTab", "ToolsTab", "AboutTab"}));

  EXPECT_EQ(ui.modelname->text(), "Orvex VKT Series 32");
  EXPECT_EQ(ui.FwVersion->text(), "VKT32-M V1.02.03.016");
  EXPECT_EQ(app->frmVersion, "VKT32-M V1.02.03.016");
  EXPECT_EQ(ui.SerialNum->text(), "S32000001\r");  // the printer's terminator stays, as the session hands it over
  EXPECT_EQ(ui.HeadResis->text(), "2950\r");
  EXPECT_EQ(ui.RibbonTypes->text(), "YMCKO");
  EXPECT_EQ(ui.RemainingCount->text(), "120");
  EXPECT_EQ(ui.MagEncoder->text(), "Yes");
  EXPECT_EQ(ui.SmartCard->text(), "No");
  EXPECT_EQ(app->PrinterType, 0);
  EXPECT_TRUE(app->bDualSide);
  EXPECT_TRUE(ui.PrintOnBothside->isEnabled());
  EXPECT_EQ(app->PPDFileName, serverRoot_.path().toStdString() + "/ppd/Card.ppd");
  ASSERT_NE(app->objPPDHelper(), nullptr);
  EXPECT_EQ(app->objPPDHelper()->PrinterModel, "VKTS32");

  EXPECT_EQ(Items(ui.FeederOption), (QStringList{"Card feeder", "Single feeder slot", "Auto feed"}));
  EXPECT_EQ(ui.FeederOption->IndexOfSelectedItem(), 0);
  EXPECT_FALSE(ui.PrinterFeedOptionApplyBtn->isEnabled());
  // The card-setup lists themselves belong to the card-setup tab's loading.
  EXPECT_FALSE(ui.leTrack1->isEnabled());
  EXPECT_FALSE(ui.leTrack2->isEnabled());
  EXPECT_FALSE(ui.leTrack3->isEnabled());
  EXPECT_FALSE(ui.FWDownloadBtn->isEnabled());
  EXPECT_FALSE(ui.prnSendBtn->isEnabled());
  EXPECT_EQ(ui.PrintTestCardcombo->IndexOfSelectedItem(), 0);
  EXPECT_EQ(ui.cleaningcombobox->IndexOfSelectedItem(), 0);
  EXPECT_TRUE(ui.rdHighCo->isChecked());
  EXPECT_FALSE(ui.rdLowCo->isChecked());
  EXPECT_TRUE(app->CardSetup().bChangeMonoChromeConvIndex);
  EXPECT_FALSE(app->CardSetup().bSettingSaved);
  EXPECT_FALSE(ui.orveximage->pixmap().isNull());
  EXPECT_FALSE(ui.orvexLogo->pixmap().isNull());
}

TEST_F(StartupTest, ThePrinterIsAskedInTheOrderOfThePrinterInformation) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  ASSERT_EQ(result_, Result::kReady);
  auto transcripts = server_->ConnectionTranscripts();
  ASSERT_EQ(transcripts.size(), 1u);
  const std::string request = "\x1b" "E 2\r";
  const std::string expected = std::string("\x1b.\r") + request +  // the transport's flush
                               "\x1b%SERIE\r" + request + "\x1bV\r" + request + "\x1b!V 15\r" + request +
                               "\x1b!RIBBON\r" + request + "\x1b!NL\r" + request + "\x1b!RIBLEN\r" + request +
                               "\x1b&V\r" + request +  // the encoder settings, before the feeder list
                               "\x1b" "ATM 1 1\r" + request;
  EXPECT_EQ(transcripts[0].substr(0, expected.size()), expected);
}

TEST_F(StartupTest, Series1WithBothNamesLosesTheEncodingTabAndBothSides) {
  auto app = Start("VKTS1-both-names", "VKTS1.ppd");
  ASSERT_EQ(result_, Result::kReady);
  auto& ui = app->ui();
  EXPECT_EQ(ui.modelname->text(), "Orvex VKT Series 1");
  EXPECT_EQ(app->PrinterType, 2);
  EXPECT_FALSE(app->bDualSide);
  EXPECT_FALSE(ui.PrintOnBothside->isEnabled());
  EXPECT_EQ(ui.MagEncoder->text(), "No");
  EXPECT_EQ(ui.SmartCard->text(), "No");
  EXPECT_EQ(TabNames(*app), (QStringList{"CardSetupTab", "DeviceSettingTab", "ToolsTab", "AboutTab"}));
}

TEST_F(StartupTest, Series31IsSingleSidedWithItsEncoder) {
  auto app = Start("VKTS31", "VKTS31.ppd");
  ASSERT_EQ(result_, Result::kReady);
  EXPECT_EQ(app->ui().modelname->text(), "Orvex VKT Series 31");
  EXPECT_EQ(app->PrinterType, 1);
  EXPECT_FALSE(app->ui().PrintOnBothside->isEnabled());
  EXPECT_EQ(app->ui().MagEncoder->text(), "Yes");
  EXPECT_EQ(app->ui().tabview->indexOf(app->ui().EncodingTab), 1);
}

TEST_F(StartupTest, SmartCardLabelHasThreeOutcomes) {
  struct Case {
    const char* profile;
    const char* label;
  } cases[] = {{"VKTS32-contact", "Contact Station"},
               {"VKTS32-mifare", "PS/SC Contact encoder + Contactless Mifare"},
               {"VKTS32", "No"}};
  for (const auto& c : cases) {
    auto app = Start(c.profile, "VKTS32.ppd");
    ASSERT_EQ(result_, Result::kReady) << c.profile;
    EXPECT_EQ(app->ui().SmartCard->text(), c.label) << c.profile;
    EXPECT_EQ(app->ui().modelname->text(), "Orvex VKT Series 32") << c.profile;
  }
}

TEST_F(StartupTest, NineteenAndTwentyOneCharacterFirmwareUsePositions7And6) {
  auto nineteen = Start("VKTS3C", "VKTS32C.ppd");
  ASSERT_EQ(result_, Result::kReady);
  EXPECT_EQ(nineteen->ui().modelname->text(), "Orvex VKT Series 3");
  EXPECT_EQ(nineteen->ui().SmartCard->text(), "Contact Station");
  EXPECT_EQ(nineteen->ui().MagEncoder->text(), "Yes");
  EXPECT_EQ(nineteen->PrinterType, 0);
  EXPECT_TRUE(nineteen->ui().PrintOnBothside->isEnabled());

  auto twentyOne = Start("VKTS3C-21", "VKTS32C.ppd");
  ASSERT_EQ(result_, Result::kReady);
  EXPECT_EQ(twentyOne->ui().SmartCard->text(), "PS/SC Contact encoder + Contactless Mifare");
  EXPECT_EQ(twentyOne->ui().MagEncoder->text(), "Yes");

  auto withoutEncoder = Start("VKTS3C-noencoder", "VKTS32C.ppd");
  ASSERT_EQ(result_, Result::kReady);
  EXPECT_EQ(withoutEncoder->ui().MagEncoder->text(), "No");
  EXPECT_EQ(withoutEncoder->ui().tabview->indexOf(withoutEncoder->ui().EncodingTab), -1);
}

TEST_F(StartupTest, ZeroRemainingReadsNotAvailableOnlyForAMonochromeRibbon) {
  auto mono = Start("VKTS1", "VKTS1.ppd");
  ASSERT_EQ(result_, Result::kReady);
  EXPECT_EQ(mono->ui().RibbonTypes->text(), "Monochrome");
  EXPECT_EQ(mono->ui().RemainingCount->text(), "N/A");

  auto colour = Start("VKTS32", "VKTS32.ppd", "ribbon_remaining = 0");
  ASSERT_EQ(result_, Result::kReady);
  EXPECT_EQ(colour->ui().RibbonTypes->text(), "YMCKO");
  EXPECT_EQ(colour->ui().RemainingCount->text(), "0");
}

TEST_F(StartupTest, AnOfflinePrinterLeavesOnlyAboutWithTheVersions) {
  AppDelegate::Seams seams = Seams();
  DeadTransport* dead = nullptr;
  seams.makeSession = [&dead](const std::string& queue) {
    auto transport = std::make_unique<DeadTransport>();
    dead = transport.get();
    return std::make_unique<DeviceCommunication>(queue, std::move(transport), 1);
  };
  AppDelegate app(prompter_, std::move(seams));
  ASSERT_EQ(app.applicationDidFinishLaunching(), Result::kOffline);

  ASSERT_EQ(prompter_.prompts.size(), 1u);
  const auto& alert = prompter_.prompts[0];
  EXPECT_EQ(alert.header, "Card");
  EXPECT_EQ(alert.message, kOffline);
  EXPECT_EQ(alert.buttons, (std::vector<std::string>{"OK"}));
  EXPECT_EQ(alert.level, Prompter::Level::kNote);
  EXPECT_FALSE(alert.icon.empty());

  EXPECT_EQ(TabNames(app), (QStringList{"AboutTab"}));
  EXPECT_TRUE(app.window()->isVisible());
  EXPECT_EQ(app.ui().txtVersionInfo->text(),
            "Orvex VKT Series 3/1 CardPrinter\n\nVersion QR7HM.1.00.02 (dt. Apr 15 2016)\n\nPrinter Properties for Linux");
  EXPECT_EQ(app.ui().lblMacOSXVersionTxt->text(), "Debian GNU/Linux 12 (bookworm) Version 12 (bookworm)");
  for (QLabel* label : {app.ui().modelname, app.ui().FwVersion, app.ui().SerialNum, app.ui().HeadResis,
                        app.ui().PannelPrinted, app.ui().RibbonTypes, app.ui().RemainingCount, app.ui().MagEncoder,
                        app.ui().SmartCard}) {
    EXPECT_TRUE(label->text().isEmpty()) << label->objectName().toStdString();
  }
  EXPECT_EQ(dead->sent, 0);  // nothing was asked of the printer
  EXPECT_EQ(app.objPPDHelper(), nullptr);
}

TEST_F(StartupTest, AnOfflineAlertClosedWithoutOkGoesOnToTheLists) {
  AppDelegate::Seams seams = Seams();
  seams.makeSession = [](const std::string& queue) {
    return std::make_unique<DeviceCommunication>(queue, std::make_unique<DeadTransport>(), 1);
  };
  prompter_.answers = {Prompter::kNoButton};
  AppDelegate app(prompter_, std::move(seams));
  ASSERT_EQ(app.applicationDidFinishLaunching(), Result::kReady);
  EXPECT_EQ(app.ui().tabview->count(), 5);
  EXPECT_EQ(Items(app.ui().Rotate), (QStringList{"None", "Front", "Back", "Both"}));
  EXPECT_EQ(app.ui().FeederOption->NumberOfItems(), 0);
  EXPECT_FALSE(app.ui().PrinterFeedOptionApplyBtn->isEnabled());
}

TEST_F(StartupTest, AQueueWithoutTransportStopsStartUp) {
  AppDelegate::Seams seams = Seams();
  seams.makeSession = [](const std::string& queue) {
    return std::make_unique<DeviceCommunication>(queue, nullptr, 0);
  };
  AppDelegate app(prompter_, std::move(seams));
  ASSERT_EQ(app.applicationDidFinishLaunching(), Result::kStopped);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].header, "");
  EXPECT_EQ(prompter_.prompts[0].message, "Not able to launch printer properties.");
  EXPECT_EQ(prompter_.prompts[0].buttons, (std::vector<std::string>{"OK"}));
  EXPECT_FALSE(app.window()->isVisible());
}

// Only when the PPD can be neither read nor had from the scheduler is there
// nothing to set up.
TEST_F(StartupTest, APpdNeitherReadableNorServedStopsStartUp) {
  StartPrinter("VKTS32", "VKTS32.ppd");
  fs::remove(serverRoot_.path().toStdString() + "/ppd/Card.ppd");
  const char* server = std::getenv("CUPS_SERVER");
  const std::string saved = server ? server : "";
  setenv("CUPS_SERVER", (serverRoot_.path().toStdString() + "/no-scheduler.sock").c_str(), 1);
  AppDelegate app(prompter_, Seams());
  const Result result = app.applicationDidFinishLaunching();
  server ? setenv("CUPS_SERVER", saved.c_str(), 1) : unsetenv("CUPS_SERVER");
  ASSERT_EQ(result, Result::kStopped);
  ASSERT_EQ(prompter_.prompts.size(), 1u);
  EXPECT_EQ(prompter_.prompts[0].message, "Not able to launch printer properties.");
}

TEST_F(StartupTest, TheLogFileIsFreshAtEachStart) {
  const std::string log = documents_.path().toStdString() + "/VKTS3Properties.log";
  std::ofstream(log) << "a line of the previous run\n";
  StartPrinter("VKTS32", "VKTS32.ppd");
  // Standard error is reopened on the log: keep the test's own stream to put back.
  const int savedStderr = dup(fileno(stderr));
  {
    AppDelegate::Seams seams = Seams();
    seams.redirectLog = true;
    AppDelegate first(prompter_, std::move(seams));
    ASSERT_EQ(first.applicationDidFinishLaunching(), Result::kReady);
    std::fflush(stderr);
  }
  std::string firstRun = app_test::ReadFile(log);
  {
    AppDelegate::Seams seams = Seams();
    seams.redirectLog = true;
    AppDelegate second(prompter_, std::move(seams));
    ASSERT_EQ(second.applicationDidFinishLaunching(), Result::kReady);
    std::fflush(stderr);
  }
  std::string secondRun = app_test::ReadFile(log);
  std::fflush(stderr);
  dup2(savedStderr, fileno(stderr));
  close(savedStderr);

  EXPECT_EQ(firstRun.find("a line of the previous run"), std::string::npos);
  EXPECT_NE(firstRun.find("Firmware Version is VKT32-M V1.02.03.016"), std::string::npos) << firstRun;
  // The second start deleted the first run's log before writing its own.
  EXPECT_EQ(secondRun.find("Firmware Version is"), secondRun.rfind("Firmware Version is")) << secondRun;
  EXPECT_NE(secondRun.find("Firmware Version is"), std::string::npos);
}

TEST_F(StartupTest, TheDocumentsFolderIsCreatedWhenMissing) {
  AppDelegate::Seams seams = Seams();
  seams.documentsFolder = documents_.path().toStdString() + "/not/yet/there";
  AppDelegate app(prompter_, std::move(seams));
  EXPECT_EQ(app.GetLogFilePath(), documents_.path().toStdString() + "/not/yet/there/VKTS3Properties.log");
  EXPECT_TRUE(fs::is_directory(documents_.path().toStdString() + "/not/yet/there"));
}

TEST_F(StartupTest, RegisteredListHandlersFollowSelections) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  ASSERT_EQ(result_, Result::kReady);
  auto& ui = app->ui();
  ui.FeederOption->SelectItemAtIndex(2);
  EXPECT_TRUE(ui.PrinterFeedOptionApplyBtn->isEnabled());
  ui.FeederOption->SelectItemAtIndex(0);  // the printer's own mode again
  EXPECT_FALSE(ui.PrinterFeedOptionApplyBtn->isEnabled());

  // Items the model adds show on the widget; a selection on the widget runs
  // the model's handlers.
  const int first = ui.TypeOfRibbon->NumberOfItems();
  app->CardSetup().TypeOfRibbon.AddItems({"Unknown", "YMCKO 200"});
  ASSERT_EQ(ui.TypeOfRibbon->ItemAt(first + 1), "YMCKO 200");
  ui.TypeOfRibbon->SelectItemAtIndex(first + 1);
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
  ui.TypeOfRibbon->SelectItemAtIndex(first);
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
  ui.Rotate->SelectItemAtIndex(2);  // the ribbon still reads "Unknown"
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
}

TEST_F(StartupTest, CloseAndCancelEndTheSessionAndQuit) {
  auto closing = Start("VKTS32", "VKTS32.ppd");
  ASSERT_NE(closing->objDev(), nullptr);
  closing->ui().CloseBtn->click();
  EXPECT_EQ(closing->objDev(), nullptr);
  EXPECT_TRUE(closing->printerNameRef.empty());
  EXPECT_TRUE(closing->urlIcon.empty());
  EXPECT_EQ(quits_, 1);

  auto cancelling = Start("VKTS32", "VKTS32.ppd");
  cancelling->ui().CancelBtn->click();
  EXPECT_EQ(cancelling->objDev(), nullptr);
  EXPECT_EQ(quits_, 2);

  auto lastWindow = Start("VKTS32", "VKTS32.ppd");
  EXPECT_TRUE(lastWindow->applicationShouldTerminateAfterLastWindowClosed());
  EXPECT_EQ(lastWindow->objDev(), nullptr);
}

TEST_F(StartupTest, AboutMenuSelectsTheAboutTab) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  app->ui().tabview->setCurrentWidget(app->ui().ToolsTab);
  app->ui().mnuAbout->trigger();
  EXPECT_EQ(app->ui().tabview->currentWidget(), app->ui().AboutTab);
}

TEST_F(StartupTest, ChildWindowsGetThePpdPathOrReportThatTheyCannotOpen) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  app->ui().JobLogBtn->click();
  app->ui().SaveRestoreBtn->click();
  ASSERT_EQ(prompter_.prompts.size(), 2u);
  EXPECT_EQ(prompter_.prompts[0].message, "Not able to display Job log dialouge.");
  EXPECT_EQ(prompter_.prompts[1].message, "Not able to display Save/Restore dialouge.");
  EXPECT_EQ(prompter_.prompts[1].buttons, (std::vector<std::string>{"OK"}));

  // With a window to open: it gets the PPD path and runs modally until it is closed.
  AppDelegate::Seams seams = Seams();
  std::string handedPath;
  bool ran = false;
  seams.makeJobLogWindow = [&](const std::string& ppdPath, QWidget* parent) {
    handedPath = ppdPath;
    auto dialog = std::make_unique<QDialog>(parent);
    QTimer::singleShot(0, dialog.get(), [&ran, d = dialog.get()] {
      ran = d->isVisible();
      d->done(0);
    });
    return dialog;
  };
  AppDelegate withWindow(prompter_, std::move(seams));
  ASSERT_EQ(withWindow.applicationDidFinishLaunching(), Result::kReady);
  withWindow.JobLogBtn();
  EXPECT_EQ(handedPath, withWindow.PPDFileName);
  EXPECT_TRUE(ran);
  EXPECT_EQ(prompter_.prompts.size(), 2u);
}

}  // namespace

namespace {

// Every tab, shown in turn, fits a 1024x768 screen with every control inside
// the window; the pictures land in <build>/screenshots/tabs/ for a person to look at.
TEST_F(StartupTest, EveryTabFitsTheScreenWithAllItsControlsVisible) {
  auto app = Start("VKTS32", "VKTS32.ppd");
  ASSERT_EQ(result_, Result::kReady);
  QMainWindow* window = app->window();
  // The form's own size; the smallest the layouts allow must fit the screen too.
  EXPECT_EQ(window->size(), QSize(940, 640));
  EXPECT_LE(window->minimumSizeHint().width(), 1024);
  EXPECT_LE(window->minimumSizeHint().height(), 740);  // room for a panel and the title bar
  const QString folder = QStringLiteral(VKT_SCREENSHOT_DIR "/tabs");
  QDir().mkpath(folder);
  for (int i = 0; i < app->ui().tabview->count(); ++i) {
    QWidget* tab = app->ui().tabview->widget(i);
    app->ui().tabview->setCurrentIndex(i);
    QCoreApplication::processEvents();
    QPixmap picture = window->grab();
    EXPECT_TRUE(picture.save(folder + "/" + tab->objectName() + ".png"));
    const QRect visible = window->rect();
    for (QWidget* control : tab->findChildren<QWidget*>()) {
      if (control->objectName().isEmpty() || control->objectName().startsWith("qt_") || !control->isVisibleTo(tab)) continue;
      QRect where(control->mapTo(window, QPoint(0, 0)), control->size());
      EXPECT_TRUE(visible.contains(where)) << tab->objectName().toStdString() << ": "
                                           << control->objectName().toStdString() << " lies outside the window";
      EXPECT_GT(where.width(), 0) << control->objectName().toStdString();
    }
  }
}

}  // namespace
