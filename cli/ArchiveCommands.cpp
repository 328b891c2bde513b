// save-driver-settings and restore-driver-settings: the driver-settings
// property list of the save/restore window, through the same rules.
#include <unistd.h>

#include <string>

#include "Cli.h"
#include "DriverSettingsTransfer.h"
#include "Paths.h"

namespace cli {
namespace {

int SaveDriverSettings(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::string& path = args.positional[1];
  if (::access(path.c_str(), F_OK) == 0 && io.prompter.Show("", path + " already exists. Do you want to replace it?",
                                                            {"Yes", "No"}, Prompter::Level::kCaution) != 0)
    return Fail(io, path + " left as it is");
  // The list positions the window's card setup shows for this queue.
  std::unique_ptr<CardSetupSession> setup = OpenCardSetup(io, queue);
  if (!setup) return kFailed;
  const CardSetupModel& model = setup->model;
  const driver_settings::DriverSettings settings = driver_settings::Collect(
      setup->driverSettings, {model.PrintOnBothside.IndexOfSelectedItem(), model.Rotate.IndexOfSelectedItem(),
                              model.MonoChromeConv.IndexOfSelectedItem(), model.PrintingMode.IndexOfSelectedItem()});
  std::string error;
  if (!driver_settings::Write(settings, path, error)) return Fail(io, error);
  return kDone;
}

int RestoreDriverSettings(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  PPDHelper helper;
  helper.InitPPD(vkt_paths::PpdPathForQueue(queue));
  if (!helper.IsLoaded()) return Fail(io, queue + ": the queue's PPD cannot be read");
  switch (driver_settings::Restore(helper, args.positional[1], io.prompter)) {
    case 1:
      return kDone;
    case 0:
      return kFailed;  // the alert said why
    default:
      return Fail(io, "the driver settings were not saved");
  }
}

}  // namespace

void AddArchiveCommands(std::vector<Command>& commands) {
  commands.push_back({"save-driver-settings",
                      "QUEUE FILE [--yes]",
                      "Writes the driver-settings property list of the save/restore window: the card setup's "
                      "both-sides, rotation, monochrome and printing-mode positions as the window shows them, and the "
                      "job-log settings of the queue's PPD. Asks before replacing an existing FILE.",
                      {},
                      SaveDriverSettings,
                      2,
                      2});
  commands.push_back({"restore-driver-settings",
                      "QUEUE FILE",
                      "Restores a driver-settings property list into the queue's PPD through the PPD service: the "
                      "job-log settings, then the four card-setup options. A file that is not a driver-settings file "
                      "changes nothing.",
                      {},
                      RestoreDriverSettings,
                      2,
                      2});
}

}  // namespace cli
