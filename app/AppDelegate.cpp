// Start-up, printer information, menus and shutdown of the main window.
#include "AppDelegate.h"

#include <QApplication>
#include <QCoreApplication>
#include <QDesktopServices>
#include <QDialog>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QMainWindow>
#include <QPixmap>
#include <QStandardPaths>
#include <QTabWidget>
#include <QUrl>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <unistd.h>

#include "ControlBinding.h"
#include "DeviceSettingsController.h"
#include "ToolsController.h"
#include "EncodingController.h"
#include "Log.h"
#include "Paths.h"
#include "PrinterLauncher.h"
#include "PrinterInformation.h"
#include "PrinterModelRules.h"
#include "RadioPair.h"
#include "ui_MainWindow.h"

namespace {

constexpr char kAboutProduct[] = "Orvex VKT Series 3/1 CardPrinter";
constexpr char kBuildVersion[] = "QR7HM.1.00.02";
constexpr char kBuildDate[] = "Apr 15 2016";
constexpr char kAboutClosing[] = "Printer Properties for Linux";
constexpr char kLogFileName[] = "VKTS3Properties.log";
constexpr char kIconResource[] = ":/images/Orvex_Logo_Stacked_K.png";
constexpr char kLogoResource[] = ":/images/Orvex_Logo_K.png";
constexpr char kNotAbleToLaunch[] = "Not able to launch printer properties.";
constexpr char kOfflineMessage[] =
    "The Printer is offline. Check the network / USB cable connection to the printer, that is powered on, and "
    "that it is online.";

QString Q(const std::string& text) { return QString::fromStdString(text); }

// The "KEY=value" lines of an os-release file, quotes removed.
std::map<std::string, std::string> ReadOsRelease(const std::string& path) {
  std::map<std::string, std::string> values;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    size_t equals = line.find('=');
    if (equals == std::string::npos || line[0] == '#') continue;
    std::string value = line.substr(equals + 1);
    if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.back() == value.front()) {
      value = value.substr(1, value.size() - 2);
    }
    values[line.substr(0, equals)] = value;
  }
  return values;
}

}  // namespace

// The images are compiled into this static library; their registration must be asked for.
static void InitResources() { Q_INIT_RESOURCE(resources); }

AppDelegate::AppDelegate(Prompter& prompter, Seams seams)
    : prompter_(prompter),
      seams_(std::move(seams)),
      window_(std::make_unique<QMainWindow>()),
      ui_(std::make_unique<Ui::MainWindow>()) {
  InitResources();
  ui_->setupUi(window_.get());
  hiLoCo_ = std::make_unique<RadioPair>(ui_->rdHighCo, ui_->rdLowCo);
  cardSetup_ = std::make_unique<CardSetupModel>();
  BindCardSetup();
  encoding_ = std::make_unique<EncodingController>(*this);
  deviceSettings_ = std::make_unique<DeviceSettingsController>(*this);
  tools_ = std::make_unique<ToolsController>(*this);
  window_->installEventFilter(this);
  if (!seams_.makeSession) {
    seams_.makeSession = [](const std::string& queue) { return std::make_unique<DeviceCommunication>(queue); };
  }
  if (!seams_.makeLauncher) {
    seams_.makeLauncher = [](Prompter& prompter) { return std::make_unique<PrinterLauncher>(prompter); };
  }
  if (!seams_.quit) seams_.quit = [] { QCoreApplication::quit(); };
  ConnectActions();
}

AppDelegate::~AppDelegate() { EndSession(); }

AppDelegate::StartupResult AppDelegate::applicationDidFinishLaunching() {
  // Phase "about": the About text and the operating system's name and version.
  ui_->txtVersionInfo->setAlignment(Qt::AlignCenter);
  ui_->txtVersionInfo->setText(Q(StringPrintf("%s\n\nVersion %s (dt. %s)\n\n%s", kAboutProduct, kBuildVersion,
                                              kBuildDate, kAboutClosing)));
  ui_->lblMacOSXVersionTxt->setText(Q(OperatingSystemVersion()));

  // Phase "log": a fresh log for each run.
  PPDHelper::DeleteFile(GetLogFilePath());
  redirectLogToDocuments();

  // Phase "state": nothing applied yet; the alerts' icon.
  cardSetup_->bSettingSaved = false;
  IcongPath = kIconResource;
  urlIcon = IcongPath;

  // Phase "choose": the chooser, unless the queue was given.
  if (seams_.queue.empty()) {
    PrinterLauncherController = seams_.makeLauncher(prompter_);
    if (!PrinterLauncherController) {
      prompter_.Show("", kNotAbleToLaunch, {"OK"}, Prompter::Level::kNote);
      return StartupResult::kStopped;
    }
    PrinterLauncherController->exec();
    PrinterLauncherController->hide();
    if (PrinterLauncherController->getcloseLauncher() == 1) {
      PrinterLauncherController->close();
      Quit();
      return StartupResult::kQuit;
    }
    printerName = PrinterLauncherController->getPrinterName();
  } else {
    printerName = seams_.queue;
  }
  if (printerName.empty()) {
    prompter_.Show("", kOfflineMessage, {"OK"}, Prompter::Level::kStop);
    return StartupResult::kStopped;
  }

  // Phase "window": the About logo, the title, the text hooks.
  ui_->orveximage->setPixmap(
      QPixmap(kLogoResource).scaled(QSize(340, 120), Qt::KeepAspectRatio, Qt::SmoothTransformation));

  window_->setWindowTitle(Q(printerName + " Printer Properties"));
  printerNameRef = printerName;
  for (QLineEdit* field : {ui_->leTrack1, ui_->leTrack2, ui_->leTrack3, ui_->leFrontX, ui_->leFrontY, ui_->leBackX,
                           ui_->leBackY}) {
    // textEdited: only the user's edits reach the hook, not the program's writes.
    connect(field, &QLineEdit::textEdited, this, [this, field] { controlTextDidChange(field); });
  }
  ui_->FWDownloadBtn->setEnabled(false);
  ui_->prnSendBtn->setEnabled(false);

  // Phase "session": the printer session of the queue.
  objDev_ = seams_.makeSession(printerName);
  if (!objDev_ || !objDev_->Transport()) {
    prompter_.Show("", kNotAbleToLaunch, {"OK"}, Prompter::Level::kNote);
    return StartupResult::kStopped;
  }

  // Phase "answer": a printer that does not answer leaves only the About tab.
  bool skipToLists = false;
  if (objDev_->GetDeviceStatusInfo() < 1) {
    int answer = prompter_.Show(printerName, kOfflineMessage, {"OK"}, Prompter::Level::kNote, urlIcon);
    if (answer == 0) {
      RemoveTab(ui_->CardSetupTab);
      RemoveTab(ui_->EncodingTab);
      RemoveTab(ui_->DeviceSettingTab);
      RemoveTab(ui_->ToolsTab);
      ShowMainWindow();
      return StartupResult::kOffline;
    }
    skipToLists = true;
  }

  if (!skipToLists) {
    // Phase "driver settings": the main window shows, the PPD is read.
    ShowMainWindow();
    PPDFileName = vkt_paths::PpdPathForQueue(printerName);
    objPPDHelper_ = std::make_unique<PPDHelper>();

    // The driver settings come from the installed PPD, or for a user who may
    // not read it from the scheduler's copy; with neither there is nothing
    // to set up.
    objPPDHelper_->InitPPD(PPDFileName);
    if (!objPPDHelper_->IsLoaded()) {
      prompter_.Show("", kNotAbleToLaunch, {"OK"}, Prompter::Level::kNote);
      return StartupResult::kStopped;
    }
    FillPrinterInformation();
    hiLoCo_->SelectFirst();

    // Phase "model": the printer model and its options, from the firmware.
    PrinterModelRules rules = PrinterModelRules::Decide(frmVersion, PrinterType);
    PrinterName = rules.PrinterName;
    PrinterType = rules.PrinterType;
    bDualSide = rules.bDualSide;
    cardSetup_->PrintOnBothside.SetEnabled(rules.bDualSide);
    ui_->SmartCard->setText(Q(rules.SmartCard));
    if (!PrinterName.empty()) {
      ui_->modelname->setText(Q(PrinterName));
      ui_->MagEncoder->setText(rules.magEncoder ? "Yes" : "No");
      if (!rules.magEncoder) RemoveTab(ui_->EncodingTab);
    }

    // Phase "tabs": logos, encoder settings, list rules, feeder, offsets.
    QPixmap logo(kLogoResource);
    for (QLabel* view : {ui_->orvexLogo, ui_->OrvexLogo1, ui_->orvexlogo2, ui_->OrvexLogoForTools}) {
      view->setPixmap(logo.scaled(view->maximumSize().boundedTo(QSize(220, 90)), Qt::KeepAspectRatio,
                                  Qt::SmoothTransformation));
    }

    SetMagUIAdvSettings();
    RegisterListHandlers();

    // The feeder list follows the printer's mode.
    ui_->FeederOption->RemoveAllItems();
    ui_->FeederOption->AddItems({"Card feeder", "Single feeder slot", "Auto feed"});
    ui_->FeederOption->SelectItemAtIndex(objDev_->GetFeederStatus());
    ui_->leTrack1->setEnabled(false);
    ui_->leTrack2->setEnabled(false);
    ui_->leTrack3->setEnabled(false);

    GetOffsetFromPrinter();
    ui_->PrintTestCardcombo->SelectItemAtIndex(0);
    ui_->cleaningcombobox->SelectItemAtIndex(0);
    ui_->FWDownloadBtn->setEnabled(false);
    ui_->prnSendBtn->setEnabled(false);
  }

  // Phase "card setup": its lists, the stored driver defaults and the ribbon check
  // (the list rules only when the printer answered).
  cardSetup_->SetContext(MakeCardSetupContext());
  cardSetup_->StartUp(!skipToLists);

  // Phase "ready".
  ui_->PrinterFeedOptionApplyBtn->setEnabled(false);
  return StartupResult::kReady;
}

std::string AppDelegate::GetLogFilePath() const {
  QString folder = seams_.documentsFolder.empty()
                       ? QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
                       : Q(seams_.documentsFolder);
  QDir().mkpath(folder);
  return QDir(folder).filePath(kLogFileName).toStdString();
}

void AppDelegate::redirectLogToDocuments() {
  if (!seams_.redirectLog) return;
  if (!std::freopen(GetLogFilePath().c_str(), "a+", stderr)) {
    std::fprintf(stdout, "Cannot open the log file %s\n", GetLogFilePath().c_str());
  }
}

std::string AppDelegate::OperatingSystemVersion() const {
  auto release = ReadOsRelease(seams_.osReleasePath);
  // The pretty name already holds the version ("Debian GNU/Linux 12 (bookworm)").
  if (!release["PRETTY_NAME"].empty()) return release["PRETTY_NAME"];
  const std::string name = release["NAME"].empty() ? "Linux" : release["NAME"];
  const std::string version = release["VERSION"];
  return version.empty() ? name : name + " Version " + version;
}

void AppDelegate::FillPrinterInformation() {
  ui_->RemainingCount->clear();
  const PrinterInformation info = PrinterInformation::Read(*objDev_);
  ui_->SerialNum->setText(Q(info.SerialNum));
  frmVersion = info.FwVersion;
  ui_->FwVersion->setText(Q(frmVersion));
  ui_->HeadResis->setText(Q(info.HeadResis));
  strRibbonType = info.RibbonType;
  ui_->PannelPrinted->setText(Q(info.PannelPrinted));
  ui_->RibbonTypes->setText(strRibbonType ? Q(*strRibbonType) : QString());
  ui_->RemainingCount->setText(Q(info.RemainingCount));
}

std::string AppDelegate::TrimString(const std::string& text) { return DeviceCommunication::TrimString(text); }

void AppDelegate::EndSession() {
  if (!objDev_) return;
  printerNameRef.clear();
  urlIcon.clear();
  objDev_.reset();
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed() {
  EndSession();
  return true;
}

bool AppDelegate::DeferWhileDownloading(std::function<void()> close) {
  if (!tools_ || !tools_->Busy()) return false;
  tools_->WhenIdle(std::move(close));
  return true;
}

bool AppDelegate::eventFilter(QObject* watched, QEvent* event) {
  // The window's close box during a firmware download closes once it ends.
  if (watched == window_.get() && event->type() == QEvent::Close &&
      DeferWhileDownloading([this] { window_->close(); })) {
    event->ignore();
    return true;
  }
  return QObject::eventFilter(watched, event);
}

void AppDelegate::OnClickCloseButton() {
  if (DeferWhileDownloading([this] { OnClickCloseButton(); })) return;
  // A ribbon confirmed in the ribbon-change alert reaches the driver even without Apply.
  if (!cardSetup_->bSettingSaved) cardSetup_->StoreRibbonOnClose();
  EndSession();
  Quit();
}

void AppDelegate::CancelBtn() {
  if (DeferWhileDownloading([this] { CancelBtn(); })) return;
  EndSession();
  Quit();
}

void AppDelegate::JobLogBtn() { OpenChildWindow(seams_.makeJobLogWindow, "Not able to display Job log dialouge."); }

void AppDelegate::SaveandRestoreBtn() {
  OpenChildWindow(seams_.makeSaveRestoreWindow, "Not able to display Save/Restore dialouge.");
}

void AppDelegate::OpenChildWindow(
    const std::function<std::unique_ptr<QDialog>(const std::string&, QWidget*)>& make, const char* failure) {
  std::unique_ptr<QDialog> child = make ? make(PPDFileName, window_.get()) : nullptr;
  if (!child) {
    prompter_.Show("", failure, {"OK"}, Prompter::Level::kNote);
    return;
  }
  child->exec();
  child->hide();
  child->close();
}

void AppDelegate::mnuAboutClick() { ui_->tabview->setCurrentWidget(ui_->AboutTab); }

QString AppDelegate::UserGuidePath() {
  QByteArray overridden = qgetenv("VKT_USER_GUIDE");
  if (!overridden.isEmpty()) return QString::fromLocal8Bit(overridden);
  // Beside the program in a build tree; under share/doc once installed.
  const QString dir = QCoreApplication::applicationDirPath();
  const QString besideProgram = dir + "/VKTS3PropertiesUserGuide.pdf";
  const QString installed = dir + "/../share/doc/vkts3-properties/VKTS3PropertiesUserGuide.pdf";
  return QFileInfo::exists(besideProgram) || !QFileInfo::exists(installed) ? besideProgram : installed;
}

void AppDelegate::mnuShowHelp() {
  QString path = UserGuidePath();
  if (!QFileInfo::exists(path)) return;
  QDesktopServices::openUrl(QUrl::fromLocalFile(path));
}

void AppDelegate::SetMagUIAdvSettings() { encoding_->SetMagUIAdvSettings(); }
void AppDelegate::GetOffsetFromPrinter() { deviceSettings_->GetOffsetFromPrinter(); }
void AppDelegate::controlTextDidChange(QLineEdit* field) { encoding_->SetValidationToTrack(field); }
void AppDelegate::SingleFeedComboBoxAction() { deviceSettings_->SingleFeedComboBoxAction(); }

void AppDelegate::RegisterListHandlers() {
  connect(ui_->FeederOption, &VktComboBox::SelectionDidChange, this, [this] { SingleFeedComboBoxAction(); });
}

CardSetupContext AppDelegate::MakeCardSetupContext() {
  CardSetupContext context;
  context.driverSettings = objPPDHelper_.get();
  context.session = objDev_.get();
  context.prompter = &prompter_;
  context.icon = urlIcon;
  context.printerType = PrinterType;
  context.reportedRibbon = strRibbonType;
  // Apply also writes the offsets of the device-settings tab and the serial
  // number as its label shows it.
  context.applyExtras = [this] {
    CardSetupApplyExtras extras;
    const QLineEdit* fields[] = {ui_->leFrontX, ui_->leFrontY, ui_->leBackX, ui_->leBackY};
    for (size_t i = 0; i < 4; ++i) extras.offsets[i] = std::atoi(fields[i]->text().toUtf8().constData());
    extras.serialLabel = ui_->SerialNum->text().toStdString();
    return extras;
  };
  return context;
}

void AppDelegate::BindCardSetup() {
  using namespace control_binding;
  CardSetupModel& model = *cardSetup_;
  BindList(model.PrintOnBothside, ui_->PrintOnBothside);
  BindList(model.TypeOfRibbon, ui_->TypeOfRibbon);
  BindList(model.RibbonCombinatioin, ui_->RibbonCombinatioin);
  BindList(model.MonoChromeConv, ui_->MonoChromeConv);
  BindList(model.Rotate, ui_->Rotate);
  BindList(model.PrintingMode, ui_->PrintingMode);
  BindCheckBox(model.chBoxAutoDetect, ui_->chBoxAutoDetect, [&model] { model.chBoxAutoDetectClicked(); });
  BindButton(model.ApplySettingsBtn, ui_->ApplySettingsBtn, [&model] { model.SaveSettings(); });
  connect(ui_->CardSetupRestoreDefaultsBtn, &QPushButton::clicked, this,
          [&model] { model.CardSetupRestoreDefaults(); });
}

void AppDelegate::ConnectActions() {
  connect(ui_->mnuAbout, &QAction::triggered, this, [this] { mnuAboutClick(); });
  connect(ui_->mnuShowHelp, &QAction::triggered, this, [this] { mnuShowHelp(); });
  connect(ui_->mnuQuit, &QAction::triggered, this, [this] { OnClickCloseButton(); });
  connect(ui_->CloseBtn, &QPushButton::clicked, this, [this] { OnClickCloseButton(); });
  connect(ui_->CancelBtn, &QPushButton::clicked, this, [this] { CancelBtn(); });
  connect(ui_->JobLogBtn, &QPushButton::clicked, this, [this] { JobLogBtn(); });
  connect(ui_->SaveRestoreBtn, &QPushButton::clicked, this, [this] { SaveandRestoreBtn(); });
  if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
    connect(app, &QGuiApplication::lastWindowClosed, this, [this] { applicationShouldTerminateAfterLastWindowClosed(); });
  }
}

void AppDelegate::RemoveTab(QWidget* tab) {
  int index = ui_->tabview->indexOf(tab);
  if (index >= 0) ui_->tabview->removeTab(index);
}

void AppDelegate::ShowMainWindow() {
  window_->show();
  window_->raise();
  window_->activateWindow();
}

void AppDelegate::Quit() { seams_.quit(); }
