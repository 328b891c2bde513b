// The driver-settings save and restore over PPDHelper.
#include "DriverSettingsTransfer.h"

#include "Log.h"
#include "PpdTextValues.h"

namespace driver_settings {

namespace {
constexpr const char* kArchiveTitle = "Orvex Printer Settings";
}  // namespace

DriverSettings Collect(PPDHelper& helper, const std::array<int, 4>& listPositions) {
  DriverSettings settings;
  settings.JobLog = helper.GetPPDJobLogDefaultValues();
  settings.PrintOnBothSides = listPositions[0];
  settings.Rotate180 = listPositions[1];
  settings.MonoConversion = listPositions[2] == -1 ? 0 : listPositions[2];
  settings.PrintingMode = listPositions[3];
  return settings;
}

int Restore(PPDHelper& helper, const std::string& path, Prompter& prompter) {
  std::string error;
  std::optional<DriverSettingsFile> file = Read(path, error);
  if (!file) {
    VktLog("%s", error.c_str());
    prompter.Show(kArchiveTitle, error + " The driver settings were not changed.", {"OK"}, Prompter::Level::kStop);
    return 0;
  }
  // Every value is checked before anything is written, so the restore
  // applies whole or not at all: a job-log text the PPD service would refuse
  // stops it here, before the four options are rewritten.
  const auto& prefixes = PPDHelper::JobLogLinePrefixes();
  for (int i = JobLog_::kFlagCount; i < JobLog_::kFieldCount; ++i) {
    const std::optional<std::string>& text = file->JobLog.Text(i);
    std::string keyword = prefixes[i];
    std::erase_if(keyword, [](char c) { return c == '*' || c == ':' || c == ' '; });
    if (const auto problem = text ? ppd_text_values::Problem(keyword, *text) : std::nullopt) {
      VktLog("%s: %s; nothing was restored", path.c_str(), problem->c_str());
      return -1;
    }
  }
  // Compared against the job-log values last read, or against an all-zero
  // record when there was none: then only flags that are on in the file and
  // off in the PPD change, and the texts stay.
  const int logResult = helper.SaveJobLogSettings(file->JobLog);
  const int optionResult =
      helper.RestorePPDSettings({file->Rotate180, file->MonoConversion, file->PrintingMode, file->PrintOnBothSides});
  return logResult == 1 && optionResult == 1 ? 1 : -1;
}

}  // namespace driver_settings
