// JobLog: the window that edits the driver's job-log settings in the queue's
// PPD and deletes the driver's log files.
#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "PPDHelper.h"

class Prompter;
class QLineEdit;
namespace Ui {
class JobLog;
}

class JobLog : public QDialog {
  Q_OBJECT
 public:
  // Ready to run once constructed: the PPD path is given and windowDidLoad
  // has loaded the settings.
  JobLog(const std::string& ppdPath, Prompter& prompter, QWidget* parent = nullptr);
  ~JobLog() override;

  void SetPPDFileName(const std::string& path) { strPPDFileName = path; }
  void windowDidLoad();

  void LoadJobLogSettings();
  void EnableLogging();
  void CheckedCreateNewFile();
  void StaticTextField();
  // The user edited `field`: it is cut to its length (32, 1 or 16).
  void controlTextDidChange(QLineEdit* field);
  // Returns what the PPD save returned; the user is told "saved" regardless.
  int SaveJobLogClick();
  void DeleteLogFiles();
  void CloseJobLogDlg();

  PPDHelper* oPPDHelper() { return oPPDHelper_.get(); }

  static constexpr const char* kDefaultLogFileName = "VKTS3.log";

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  std::unique_ptr<Ui::JobLog> ui_;
  Prompter& prompter_;
  std::unique_ptr<PPDHelper> oPPDHelper_;
  std::string strPPDFileName;
};
