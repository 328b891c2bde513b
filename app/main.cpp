// vkts3-properties: the desktop program. Parses the command line, installs
// the Qt waits, and hands control to AppDelegate.
#include <QApplication>
#include <QCommandLineParser>
#include <QMainWindow>
#include <QScreen>
#include <QTimer>
#include <cstdio>

#include "AppDelegate.h"
#include "AppSaveRestoreHost.h"
#include "CupsPasswordPolicy.h"
#include "JobLog.h"
#include "QtPrompter.h"
#include "QtWaits.h"
#include "UnattendedPrompter.h"
#include "vkts3saverestore.h"

namespace {

// Saves a picture of the main window once everything queued so far is drawn.
bool SaveScreenshot(QMainWindow* window, const QString& path) {
  for (int i = 0; i < 5; ++i) {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents();
  }
  QPixmap picture = window->grab();
  return picture.save(path);
}

}  // namespace

int main(int argc, char** argv) {
  NeverAskForCupsPassword();
  QApplication app(argc, argv);
  // No display name: Qt would append it to every title bar ("Card Printer
  // Properties — ..."), and the titles are the tool's own. The desktop file names the program.
  QApplication::setApplicationName("vkts3-properties");
  QApplication::setWindowIcon(QIcon(":/images/Orvex_Logo_Stacked_K.png"));

  QCommandLineParser parser;
  parser.setApplicationDescription("Printer properties of Orvex VKT Series 1 and Series 3 card printers.");
  parser.addHelpOption();
  QCommandLineOption queue("queue", "Open the CUPS queue NAME without showing the printer chooser.", "NAME");
  QCommandLineOption screenshot("screenshot", "Save a picture of the main window to FILE once start-up is done, then quit.",
                                "FILE");
  parser.addOption(queue);
  parser.addOption(screenshot);
  parser.process(app);

  QtWaits waits;
  Waits::Install(&waits);
  QtPrompter qtPrompter;
  // A picture taken by a script must not wait for a person to answer an alert.
  UnattendedPrompter unattended;
  Prompter& prompter = parser.isSet(screenshot) ? static_cast<Prompter&>(unattended) : qtPrompter;

  AppDelegate::Seams seams;
  seams.queue = parser.value(queue).toStdString();
  // The child windows, opened from the main window once start-up is done.
  AppDelegate* mainWindow = nullptr;
  seams.makeJobLogWindow = [&prompter](const std::string& ppdPath, QWidget* parent) -> std::unique_ptr<QDialog> {
    return std::make_unique<JobLog>(ppdPath, prompter, parent);
  };
  seams.makeSaveRestoreWindow = [&mainWindow](const std::string& ppdPath, QWidget* parent) -> std::unique_ptr<QDialog> {
    if (!mainWindow) return nullptr;
    return std::make_unique<vkts3saverestore>(ppdPath, std::make_unique<AppSaveRestoreHost>(*mainWindow), parent);
  };
  AppDelegate delegate(prompter, std::move(seams));
  mainWindow = &delegate;
  qtPrompter.SetParent(delegate.window());

  int status = 0;
  bool started = false;
  // The chooser and the start-up notices close before the main window shows:
  // their closing must not count as the last window going away.
  QApplication::setQuitOnLastWindowClosed(false);
  // Start-up runs once the loop has started, as the platform's launch notice would.
  QTimer::singleShot(0, &app, [&] {
    AppDelegate::StartupResult result = delegate.applicationDidFinishLaunching();
    started = true;
    if (result == AppDelegate::StartupResult::kQuit || result == AppDelegate::StartupResult::kStopped) {
      // Nothing usable is on the screen: there is nothing left to quit from.
      QCoreApplication::exit(result == AppDelegate::StartupResult::kStopped ? 1 : 0);
      return;
    }
    QApplication::setQuitOnLastWindowClosed(true);
    if (parser.isSet(screenshot)) {
      QString path = parser.value(screenshot);
      bool saved = SaveScreenshot(delegate.window(), path);
      std::fprintf(stdout, "%s %s\n", saved ? "screenshot saved to" : "could not save screenshot to", qPrintable(path));
      std::fflush(stdout);
      QCoreApplication::exit(saved ? 0 : 1);
    }
  });
  status = app.exec();
  Waits::Install(nullptr);
  return started ? status : 1;
}
