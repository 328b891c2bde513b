// JobLog: the window of the job-log settings: its widgets bound to the
// controls of JobLogModel, which holds the rules, the save and the deletion.
#pragma once

#include <QDialog>
#include <memory>
#include <string>

#include "JobLogModel.h"
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

  PPDHelper* oPPDHelper() { return model_.oPPDHelper(); }
  JobLogModel& Model() { return model_; }

  static constexpr const char* kDefaultLogFileName = JobLogModel::kDefaultLogFileName;

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void Bind();

  std::unique_ptr<Ui::JobLog> ui_;
  JobLogModel model_;
  std::string strPPDFileName;
};
