// Job-log rules: what each check box enables, the field lengths, the save and
// the deletion of the log files.
#include "JobLogModel.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "Log.h"
#include "Paths.h"
#include "PpdTextValues.h"

namespace {

constexpr const char* kDeleteHeader = "Delete Job Log File ";

// The state a flag of the PPD gives a check box: its low byte.
bool FlagOn(int32_t flag) { return (flag & 0xFF) != 0; }

}  // namespace

std::array<ToggleControl*, 9> JobLogModel::Outlets::ContentBoxes() {
  return {&JobLogTime,       &JobLogDate, &PrinterSerialNumber, &PrinterIPAddress, &PrinterUserName,
          &SpoolerJobNumber, &Track1Data, &Track2Data,          &Track3Data};
}

JobLogModel::JobLogModel(JobLogContext context) : context_(std::move(context)) {}

void JobLogModel::LoadJobLogSettings(const std::string& ppdPath) {
  oPPDHelper_ = std::make_unique<PPDHelper>();
  oPPDHelper_->InitPPD(ppdPath);
  JobLog_ record = oPPDHelper_->GetPPDJobLogDefaultValues();

  ui.EnableLogging.SetChecked(FlagOn(record.EnableLog));
  EnableLogging();
  // The flags show also while logging is off (then disabled).
  ui.JobLogNewFile.SetChecked(FlagOn(record.EachDayLogFile));
  std::array<ToggleControl*, 9> boxes = ui.ContentBoxes();
  for (int i = 0; i < 9; ++i) boxes[static_cast<size_t>(i)]->SetChecked(FlagOn(record.Flag(i + 2)));
  CheckedCreateNewFile();

  const std::string fileName = record.FileName.value_or("");
  ui.JobLogFileName.SetText(fileName.empty() ? kDefaultLogFileName : fileName);
  if (record.Separator && !record.Separator->empty()) ui.JobLogSeparator.SetText(*record.Separator);
  if (record.StaticText && !record.StaticText->empty()) {
    ui.JobLogStaticTextField.SetText(*record.StaticText);
    ui.JobLogStaticTextField.SetEnabled(true);
    ui.StaticText.SetChecked(true);
  }
}

void JobLogModel::EnableLogging() {
  std::array<ToggleControl*, 9> boxes = ui.ContentBoxes();
  if (ui.EnableLogging.IsChecked()) {
    ui.JobLogNewFile.SetEnabled(true);
    for (ToggleControl* box : boxes) box->SetEnabled(true);
    ui.StaticText.SetEnabled(true);
    ui.JobLogFileName.SetEnabled(true);
    ui.JobLogSeparator.SetEnabled(true);
    ui.DeleteLog.SetEnabled(true);
    return;
  }
  for (ToggleControl* box : {&ui.JobLogNewFile, &ui.StaticText}) {
    box->SetChecked(false);
    box->SetEnabled(false);
  }
  for (ToggleControl* box : boxes) {
    box->SetChecked(false);
    box->SetEnabled(false);
  }
  ui.JobLogStaticTextField.SetEnabled(false);
  ui.JobLogFileName.SetEnabled(false);
  ui.JobLogSeparator.SetEnabled(false);
  ui.DeleteLog.SetEnabled(false);
  ui.JobLogStaticTextField.SetText("");
  ui.JobLogSeparator.SetText("");
  ui.JobLogFileName.SetText("");
}

void JobLogModel::CheckedCreateNewFile() {
  if (!ui.EnableLogging.IsChecked()) return;
  if (ui.JobLogNewFile.IsChecked()) {
    // A new file each day always has the default name.
    ui.JobLogFileName.SetEnabled(false);
    ui.JobLogFileName.SetText(kDefaultLogFileName);
  } else {
    ui.JobLogFileName.SetEnabled(true);
    ui.JobLogSeparator.SetText("");
    ui.JobLogFileName.SetText("");
  }
}

void JobLogModel::StaticTextField() {
  if (ui.StaticText.IsChecked()) {
    ui.JobLogStaticTextField.SetEnabled(true);
  } else {
    ui.JobLogStaticTextField.SetEnabled(false);
    ui.JobLogStaticTextField.SetText("");
  }
}

void JobLogModel::controlTextDidChange(TextControl& field, const std::string& text) {
  // Each field keeps only what the PPD service accepts for its keyword, so a
  // save never fails on a character the user could type.
  const char* keyword = &field == &ui.JobLogFileName          ? "FileName"
                        : &field == &ui.JobLogSeparator       ? "Separator"
                        : &field == &ui.JobLogStaticTextField ? "StaticText"
                                                              : nullptr;
  if (keyword) field.SetText(ppd_text_values::Typed(keyword, text));
}

JobLog_ JobLogModel::Record() {
  JobLog_ record;
  if (!ui.EnableLogging.IsChecked()) {
    record.Separator = "";
    record.FileName = "";
    record.StaticText = "";
    return record;
  }
  record.EnableLog = 1;
  record.EachDayLogFile = ui.JobLogNewFile.IsChecked() ? 1 : 0;
  std::array<ToggleControl*, 9> boxes = ui.ContentBoxes();
  for (int i = 0; i < 9; ++i) record.Flag(i + 2) = boxes[static_cast<size_t>(i)]->IsChecked() ? 1 : 0;
  record.Separator = ui.JobLogSeparator.Text();
  record.FileName = ui.JobLogFileName.Text();
  record.StaticText = ui.JobLogStaticTextField.Text();
  return record;
}

int JobLogModel::SaveJobLog() { return oPPDHelper_ ? oPPDHelper_->SaveJobLogSettings(Record()) : -1; }

int JobLogModel::SaveJobLogClick() {
  const int result = SaveJobLog();
  // The notice does not depend on the result: a failed save is only logged.
  if (context_.prompter) context_.prompter->Show("", kSavedNotice, {"OK"}, Prompter::Level::kNote, context_.icon);
  return result;
}

void JobLogModel::DeleteLogFiles() {
  namespace fs = std::filesystem;
  if (!context_.prompter) return;
  int answer = context_.prompter->Show(kDeleteHeader, "Do you want to delete the log file?", {"Yes", "No"},
                                       Prompter::Level::kCaution, context_.icon);
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
  context_.prompter->Show(kDeleteHeader, "Log files have been deleted successfully.", {"Ok"}, Prompter::Level::kNote,
                          context_.icon);
}
