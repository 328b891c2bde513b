// AppDelegate: the composition root of the desktop program. Owns the main
// window, the printer session and the driver-settings model, runs start-up
// and shutdown, and hands the tabs to their controllers.
#pragma once

#include <QObject>
#include <QString>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "CardSetupModel.h"
#include "DeviceCommunication.h"
#include "PPDHelper.h"
#include "Prompter.h"

class QDialog;
class QLineEdit;
class QMainWindow;
class QWidget;
class PrinterLauncher;
class RadioPair;
class EncodingController;
class DeviceSettingsController;
class ToolsController;
namespace Ui {
class MainWindow;
}

class AppDelegate : public QObject {
  Q_OBJECT
 public:
  // How start-up ended.
  enum class StartupResult {
    kQuit,     // the chooser was cancelled: the application quits
    kStopped,  // no queue, no transport or no driver settings: no usable window
    kOffline,  // the printer did not answer: only the About tab is left
    kReady,    // every applicable tab is filled
  };

  // Everything start-up would otherwise take from the machine; tests replace
  // what they need.
  struct Seams {
    // A queue name here skips the chooser.
    std::string queue;
    // The printer session of a queue.
    std::function<std::unique_ptr<DeviceCommunication>(const std::string& queue)> makeSession;
    // The chooser; returning null counts as a chooser that cannot be created.
    std::function<std::unique_ptr<PrinterLauncher>(Prompter& prompter)> makeLauncher;
    // The job-log and save/restore windows, already given the PPD path; null
    // when they cannot be created.
    std::function<std::unique_ptr<QDialog>(const std::string& ppdPath, QWidget* parent)> makeJobLogWindow;
    std::function<std::unique_ptr<QDialog>(const std::string& ppdPath, QWidget* parent)> makeSaveRestoreWindow;
    // The user's Documents folder; empty for QStandardPaths' answer.
    std::string documentsFolder;
    // Where the operating system names itself.
    std::string osReleasePath = "/etc/os-release";
    // Reopen standard error on the log file (tests that keep their stderr say no).
    bool redirectLog = true;
    // Ends the application; QCoreApplication::quit by default.
    std::function<void()> quit;
  };

  AppDelegate(Prompter& prompter, Seams seams);
  ~AppDelegate() override;
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  // The start-up sequence (the platform calls it once the loop has started).
  StartupResult applicationDidFinishLaunching();

  // ---- shell operations ----
  std::string GetLogFilePath() const;
  void redirectLogToDocuments();
  void FillPrinterInformation();
  static std::string TrimString(const std::string& text);
  // Ends the session and answers that the application may quit.
  bool applicationShouldTerminateAfterLastWindowClosed();
  void OnClickCloseButton();
  void CancelBtn();
  // The window's close box; during a firmware download it waits for the end.
  bool eventFilter(QObject* watched, QEvent* event) override;
  void JobLogBtn();
  void SaveandRestoreBtn();
  void mnuAboutClick();
  void mnuShowHelp();
  // The user guide that Help opens (next to the program, or $VKT_USER_GUIDE).
  static QString UserGuidePath();

  // ---- steps whose work belongs to the tab controllers ----
  void SetMagUIAdvSettings();
  void GetOffsetFromPrinter();
  // Text-change hook of the track and offset fields (user edits only).
  void controlTextDidChange(QLineEdit* field);

  // ---- list handler registered at start-up (the card setup's are its model's) ----
  void SingleFeedComboBoxAction();

  // ---- what the controllers and tests reach ----
  Ui::MainWindow& ui() { return *ui_; }
  QMainWindow* window() { return window_.get(); }
  Prompter& prompter() { return prompter_; }
  DeviceCommunication* objDev() { return objDev_.get(); }
  PPDHelper* objPPDHelper() { return objPPDHelper_.get(); }
  RadioPair& HiLoCo() { return *hiLoCo_; }
  CardSetupModel& CardSetup() { return *cardSetup_; }
  EncodingController& Encoding() { return *encoding_; }
  DeviceSettingsController& DeviceSettings() { return *deviceSettings_; }
  ToolsController& Tools() { return *tools_; }

  // Main-window state.
  std::string printerName;     // the chosen queue
  std::string printerNameRef;  // the same, header of alerts
  std::string PrinterName;     // model display name
  long PrinterType = 0;        // 0 dual-sided, 1 Series 31, 2 Series 1
  bool bDualSide = false;
  std::string frmVersion;
  std::optional<std::string> strRibbonType;
  std::string PPDFileName;
  std::string IcongPath;  // the alert icon
  std::string urlIcon;    // the icon alerts carry; cleared when the session ends
  std::array<int, 4> pOffset{};  // front X, front Y, back X, back Y
  std::string FirmwareFile;
  std::string PrnFileName;

 private:
  void EndSession();
  void RemoveTab(QWidget* tab);
  void RegisterListHandlers();
  // The card setup's view of start-up's facts, and its controls on the form.
  CardSetupContext MakeCardSetupContext();
  void BindCardSetup();
  void ConnectActions();
  void ShowMainWindow();
  void OpenChildWindow(const std::function<std::unique_ptr<QDialog>(const std::string&, QWidget*)>& make,
                       const char* failure);
  void Quit();
  std::string OperatingSystemVersion() const;

  Prompter& prompter_;
  // True when a firmware download is under way: `close` then runs when it ends.
  bool DeferWhileDownloading(std::function<void()> close);

  Seams seams_;
  std::unique_ptr<QMainWindow> window_;
  std::unique_ptr<Ui::MainWindow> ui_;
  std::unique_ptr<RadioPair> hiLoCo_;
  std::unique_ptr<DeviceCommunication> objDev_;
  std::unique_ptr<PPDHelper> objPPDHelper_;
  std::unique_ptr<PrinterLauncher> PrinterLauncherController;
  std::unique_ptr<CardSetupModel> cardSetup_;
  std::unique_ptr<EncodingController> encoding_;
  std::unique_ptr<DeviceSettingsController> deviceSettings_;
  std::unique_ptr<ToolsController> tools_;
};
