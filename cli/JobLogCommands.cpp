// job-log: the driver's job-log settings of a queue, shown and changed
// through the same model as the job-log window.
#include <array>
#include <string>

#include "Cli.h"
#include "JobLogModel.h"
#include "Paths.h"
#include "PpdTextValues.h"

namespace cli {
namespace {

// The PPD's own keywords, in the order they are set: logging first (it
// enables the rest), then the new-file rule (it decides the file name), the
// content flags, and the texts last.
struct Setting {
  const char* name;
  ToggleControl JobLogModel::Outlets::*box;  // null for the texts
  TextControl JobLogModel::Outlets::*text;
};
constexpr std::array<Setting, 14> kSettings{{
    {"EnableLog", &JobLogModel::Outlets::EnableLogging, nullptr},
    {"EachDayLogFile", &JobLogModel::Outlets::JobLogNewFile, nullptr},
    {"Time", &JobLogModel::Outlets::JobLogTime, nullptr},
    {"Date", &JobLogModel::Outlets::JobLogDate, nullptr},
    {"SerialNumber", &JobLogModel::Outlets::PrinterSerialNumber, nullptr},
    {"IPAddress", &JobLogModel::Outlets::PrinterIPAddress, nullptr},
    {"UserName", &JobLogModel::Outlets::PrinterUserName, nullptr},
    {"JobID", &JobLogModel::Outlets::SpoolerJobNumber, nullptr},
    {"MTrack1", &JobLogModel::Outlets::Track1Data, nullptr},
    {"MTrack2", &JobLogModel::Outlets::Track2Data, nullptr},
    {"MTrack3", &JobLogModel::Outlets::Track3Data, nullptr},
    {"StaticText", nullptr, &JobLogModel::Outlets::JobLogStaticTextField},
    {"FileName", nullptr, &JobLogModel::Outlets::JobLogFileName},
    {"Separator", nullptr, &JobLogModel::Outlets::JobLogSeparator},
}};

std::string Shown(JobLogModel& model, const Setting& setting) {
  if (setting.box) return (model.ui.*setting.box).IsChecked() ? "1" : "0";
  return (model.ui.*setting.text).Text();
}

// Sets one control as a user would; the reason on failure.
std::string Set(JobLogModel& model, const Setting& setting, const std::string& value) {
  const std::string name = setting.name;
  if (setting.box) {
    ToggleControl& box = model.ui.*setting.box;
    if (value != "0" && value != "1") return name + " takes 0 or 1, not " + value;
    if (!box.IsEnabled()) return name + " cannot be changed while logging is off";
    box.SetChecked(value == "1");
    if (setting.box == &JobLogModel::Outlets::EnableLogging) model.EnableLogging();
    if (setting.box == &JobLogModel::Outlets::JobLogNewFile) model.CheckedCreateNewFile();
    return {};
  }
  // A text the job-log window would not keep is refused with its rule, not cut.
  if (const auto problem = ppd_text_values::Problem(name, value)) return *problem;
  if (setting.text == &JobLogModel::Outlets::JobLogStaticTextField) {
    // The static text has its own check box: an empty text turns it off.
    if (!model.ui.StaticText.IsEnabled()) return name + " cannot be changed while logging is off";
    model.ui.StaticText.SetChecked(!value.empty());
    model.StaticTextField();
  }
  TextControl& field = model.ui.*setting.text;
  if (!field.IsEnabled())
    return name + (setting.text == &JobLogModel::Outlets::JobLogFileName && model.ui.JobLogNewFile.IsChecked()
                       ? " is VKTS3.log while a new file is made each day"
                       : " cannot be changed while logging is off");
  model.controlTextDidChange(field, value);
  return {};
}

int JobLogCommand(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  std::vector<std::string> names;
  for (const Setting& setting : kSettings) names.emplace_back(setting.name);
  std::vector<std::optional<std::string>> wanted;
  if (const std::string problem = ParseSettings(args, names, wanted); !problem.empty()) return Fail(io, problem);

  JobLogModel model(JobLogContext{&io.prompter, {}});
  model.LoadJobLogSettings(vkt_paths::PpdPathForQueue(queue));
  if (!model.oPPDHelper() || !model.oPPDHelper()->IsLoaded())
    return Fail(io, queue + ": the queue's PPD cannot be read");

  bool changing = false;
  const std::string problem = ChooseSettings(
      wanted, [&](size_t i, const std::string& value) { return Set(model, kSettings[i], value); }, changing);
  if (!problem.empty()) return Fail(io, problem);
  if (changing) {
    if (model.SaveJobLog() < 0) return Fail(io, "the job-log settings were not saved");
    std::fprintf(io.err, "%s\n", JobLogModel::kSavedNotice);
  }

  std::vector<std::pair<std::string, std::string>> fields;
  for (const Setting& setting : kSettings) fields.emplace_back(setting.name, Shown(model, setting));
  PrintFields(io, args, queue, fields);
  return kDone;
}

}  // namespace

void AddJobLogCommands(std::vector<Command>& commands) {
  commands.push_back({"job-log",
                      "QUEUE [--set NAME=VALUE]... [--json]",
                      "Prints the driver's job-log settings of the queue's PPD as the job-log window shows them, "
                      "under the PPD's own names (EnableLog, EachDayLogFile, Time, Date, SerialNumber, IPAddress, "
                      "UserName, JobID, MTrack1-3: 0 or 1; StaticText: at most 16 characters; FileName: a plain file "
                      "name of at most 32 letters, digits, '.', '_' or '-'; Separator: one printable character). With --set, changes them as a user would, by the window's rules, and saves "
                      "them through the PPD service.",
                      {"set"},
                      JobLogCommand,
                      1,
                      1});
}

}  // namespace cli
