// The job-log window.
#include "JobLog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QScreen>
#include <array>
#include <filesystem>
#include <system_error>

#include "Log.h"
#include "Paths.h"
#include "Prompter.h"
#include "ui_JobLog.h"

namespace {

constexpr const char* kLogoIcon = ":/images/Orvex_Logo_Stacked_K.png";
constexpr const char* kDeleteHeader = "Delete Job Log File ";

// The nine content check boxes, in job-log index order 2..10.
std::array<QCheckBox*, 9> ContentBoxes(Ui::JobLog& ui) {
  return {ui.JobLogTime,       ui.JobLogDate,      ui.PrinterSerialNumber, ui.PrinterIPAddress, ui.PrinterUserName,
          ui.SpoolerJobNumber, ui.Track1Data,      ui.Track2Data,          ui.Track3Data};
}

// The state a flag of the PPD gives a check box: its low byte, as the
// original read it.
bool FlagOn(int32_t flag) { return (flag & 0xFF) != 0; }

}  // namespace

JobLog::JobLog(const std::string& ppdPath, Prompter& prompter, QWidget* parent)
    : QDialog(parent), ui_(std::make_unique<Ui::JobLog>()), prompter_(prompter) {
  ui_->setupUi(this);
  // The logo is the program's resource; a library test runs without it.
  QPixmap logo(kLogoIcon);
  if (!logo.isNull()) ui_->JobLogImageLogo->setPixmap(logo.scaledToHeight(64, Qt::SmoothTransformation));
  connect(ui_->EnableLogging, &QCheckBox::clicked, this, [this] { EnableLogging(); });
  connect(ui_->JobLogNewFile, &QCheckBox::clicked, this, [this] { CheckedCreateNewFile(); });
  connect(ui_->StaticText, &QCheckBox::clicked, this, [this] { StaticTextField(); });
  connect(ui_->SaveLog, &QPushButton::clicked, this, [this] { SaveJobLogClick(); });
  connect(ui_->DeleteLog, &QPushButton::clicked, this, [this] { DeleteLogFiles(); });
  connect(ui_->CloseJobLogBtn, &QPushButton::clicked, this, [this] { CloseJobLogDlg(); });
  SetPPDFileName(ppdPath);
  windowDidLoad();
}

JobLog::~JobLog() = default;

void JobLog::windowDidLoad() {
  if (QWidget* owner = parentWidget()) {
    move(owner->geometry().center() - rect().center());
  } else if (QScreen* screen = this->screen()) {
    move(screen->availableGeometry().center() - rect().center());
  }
  // User edits only: cutting the text back must not count as an edit.
  for (QLineEdit* field : {ui_->JobLogFileName, ui_->JobLogSeparator, ui_->JobLogStaticTextField}) {
    connect(field, &QLineEdit::textEdited, this, [this, field] { controlTextDidChange(field); });
  }
  ui_->JobLogFileName->setEnabled(true);
  ui_->JobLogSeparator->setEnabled(true);
  ui_->DeleteLog->setEnabled(true);
  LoadJobLogSettings();
}

void JobLog::LoadJobLogSettings() {
  oPPDHelper_ = std::make_unique<PPDHelper>();
  oPPDHelper_->InitPPD(strPPDFileName);
  JobLog_ record = oPPDHelper_->GetPPDJobLogDefaultValues();

  ui_->EnableLogging->setChecked(FlagOn(record.EnableLog));
  EnableLogging();
  // The flags show also while logging is off (then disabled).
  ui_->JobLogNewFile->setChecked(FlagOn(record.EachDayLogFile));
  std::array<QCheckBox*, 9> boxes = ContentBoxes(*ui_);
  for (int i = 0; i < 9; ++i) boxes[i]->setChecked(FlagOn(record.Flag(i + 2)));
  CheckedCreateNewFile();

  const std::string fileName = record.FileName.value_or("");
  ui_->JobLogFileName->setText(QString::fromStdString(fileName.empty() ? kDefaultLogFileName : fileName));
  if (record.Separator && !record.Separator->empty()) ui_->JobLogSeparator->setText(QString::fromStdString(*record.Separator));
  if (record.StaticText && !record.StaticText->empty()) {
    ui_->JobLogStaticTextField->setText(QString::fromStdString(*record.StaticText));
    ui_->JobLogStaticTextField->setEnabled(true);
    ui_->StaticText->setChecked(true);
  }
}

void JobLog::EnableLogging() {
  const bool on = ui_->EnableLogging->isChecked();
  std::array<QCheckBox*, 9> boxes = ContentBoxes(*ui_);
  if (on) {
    ui_->JobLogNewFile->setEnabled(true);
    for (QCheckBox* box : boxes) box->setEnabled(true);
    ui_->StaticText->setEnabled(true);
    ui_->JobLogFileName->setEnabled(true);
    ui_->JobLogSeparator->setEnabled(true);
    ui_->DeleteLog->setEnabled(true);
    return;
  }
  for (QCheckBox* box : {ui_->JobLogNewFile, ui_->StaticText}) {
    box->setChecked(false);
    box->setEnabled(false);
  }
  for (QCheckBox* box : boxes) {
    box->setChecked(false);
    box->setEnabled(false);
  }
  ui_->JobLogStaticTextField->setEnabled(false);
  ui_->JobLogFileName->setEnabled(false);
  ui_->JobLogSeparator->setEnabled(false);
  ui_->DeleteLog->setEnabled(false);
  ui_->JobLogStaticTextField->clear();
  ui_->JobLogSeparator->clear();
  ui_->JobLogFileName->clear();
}

void JobLog::CheckedCreateNewFile() {
  if (!ui_->EnableLogging->isChecked()) return;
  if (ui_->JobLogNewFile->isChecked()) {
    // A new file each day always has the default name.
    ui_->JobLogFileName->setEnabled(false);
    ui_->JobLogFileName->setText(kDefaultLogFileName);
  } else {
    ui_->JobLogFileName->setEnabled(true);
    ui_->JobLogSeparator->clear();
    ui_->JobLogFileName->clear();
  }
}

void JobLog::StaticTextField() {
  if (ui_->StaticText->isChecked()) {
    ui_->JobLogStaticTextField->setEnabled(true);
  } else {
    ui_->JobLogStaticTextField->setEnabled(false);
    ui_->JobLogStaticTextField->clear();
  }
}

void JobLog::controlTextDidChange(QLineEdit* field) {
  int limit = 0;
  if (field == ui_->JobLogFileName) limit = 32;
  else if (field == ui_->JobLogSeparator) limit = 1;
  else if (field == ui_->JobLogStaticTextField) limit = 16;
  else return;
  if (field->text().size() > limit) field->setText(field->text().left(limit));
}

int JobLog::SaveJobLogClick() {
  JobLog_ record;
  if (!ui_->EnableLogging->isChecked()) {
    record.Separator = "";
    record.FileName = "";
    record.StaticText = "";
  } else {
    record.EnableLog = 1;
    record.EachDayLogFile = ui_->JobLogNewFile->isChecked() ? 1 : 0;
    std::array<QCheckBox*, 9> boxes = ContentBoxes(*ui_);
    for (int i = 0; i < 9; ++i) record.Flag(i + 2) = boxes[i]->isChecked() ? 1 : 0;
    record.Separator = ui_->JobLogSeparator->text().toStdString();
    record.FileName = ui_->JobLogFileName->text().toStdString();
    record.StaticText = ui_->JobLogStaticTextField->text().toStdString();
  }
  int result = oPPDHelper_ ? oPPDHelper_->SaveJobLogSettings(record) : -1;
  // The notice does not depend on the result: a failed save is only logged.
  prompter_.Show("", "Job log settings are saved successfully.", {"OK"}, Prompter::Level::kNote, kLogoIcon);
  return result;
}

void JobLog::DeleteLogFiles() {
  namespace fs = std::filesystem;
  int answer = prompter_.Show(kDeleteHeader, "Do you want to delete the log file?", {"Yes", "No"},
                              Prompter::Level::kCaution, kLogoIcon);
  if (answer != 0) return;
  const std::string folder = vkt_paths::JobLogFolder();
  std::error_code ec;
  if (!fs::is_directory(folder, ec)) return;
  VktLog("Folder already exists...");
  std::vector<std::string> names;
  for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
    names.push_back(it->path().filename().string());
  }
  if (ec) VktLog("%s", ec.message().c_str());
  for (const std::string& name : names) {
    std::error_code removeError;
    // The folder path ends in "/": the entry's name is appended to it.
    fs::remove_all(folder + name, removeError);
    if (removeError) VktLog("%s", removeError.message().c_str());
  }
  prompter_.Show(kDeleteHeader, "Log files have been deleted successfully.", {"Ok"}, Prompter::Level::kNote, kLogoIcon);
}

void JobLog::CloseJobLogDlg() { done(QDialog::Rejected); }

void JobLog::closeEvent(QCloseEvent* event) {
  CloseJobLogDlg();
  event->accept();
}
