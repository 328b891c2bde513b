// The two property lists of the save/restore window, through the same
// rules: save- and restore-printer-settings (offsets, card feeder, magnetic
// encoder, kept in the printer) and save- and restore-driver-settings (the
// queue's PPD).
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "Cli.h"
#include "DeviceSettings.h"
#include "DriverSettingsTransfer.h"
#include "EncoderSettings.h"
#include "Paths.h"
#include "PrinterSettingsTransfer.h"

namespace cli {
namespace {

// False (after telling why) when `path` exists and the user keeps it.
bool MayReplace(Io& io, const std::string& path) {
  if (::access(path.c_str(), F_OK) != 0 || io.prompter.Show("", path + " already exists. Do you want to replace it?",
                                                            {"Yes", "No"}, Prompter::Level::kCaution) == 0)
    return true;
  Fail(io, path + " left as it is");
  return false;
}

EncoderSettings::State EncoderStateOf(const printer_settings::Controls& controls) {
  EncoderSettings::State state;
  for (size_t track = 0; track < 3; ++track) {
    state.modes[track] = controls.tracks[track].Mode;
    state.densities[track] = controls.tracks[track].Density;
  }
  state.high = controls.high;
  state.low = controls.low;
  return state;
}

// The controls as the window's start-up fills them from the printer.
printer_settings::Controls ReadPrinterControls(DeviceCommunication& session, const ToolsContext& tools,
                                               const EncoderContext& encoder) {
  printer_settings::Controls controls;
  controls.serialNo = session.GetSerialNumber();
  EncoderSettings::State state = EncoderSettings::Factory();
  EncoderSettings(encoder).SetMagUIAdvSettings(state);
  for (size_t track = 0; track < 3; ++track) controls.tracks[track] = {state.modes[track], state.densities[track]};
  controls.high = state.high;
  controls.low = state.low;
  DeviceSettings device(tools);
  controls.offsets = device.ReadOffsets();
  const int feeder = device.FeederStatus();
  controls.feeder = feeder < -1 || feeder >= printer_settings::kFeederChoices ? -1 : feeder;
  return controls;
}

int SavePrinterSettings(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::string& path = args.positional[1];
  if (!MayReplace(io, path)) return kFailed;
  auto session = OpenSession(io, queue);
  if (!session) return kFailed;
  const printer_settings::Controls controls =
      ReadPrinterControls(*session, {session.get(), io.prompter, {}}, {session.get(), io.prompter, {}, queue});
  std::string error;
  if (!printer_settings::Write(printer_settings::Collect(controls), path, error)) return Fail(io, error);
  return kDone;
}

int RestorePrinterSettings(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::string& path = args.positional[1];
  auto session = OpenSession(io, queue);
  if (!session) return kFailed;
  const ToolsContext tools{session.get(), io.prompter, {}};
  const EncoderContext encoder{session.get(), io.prompter, {}, queue};
  printer_settings::Controls controls = ReadPrinterControls(*session, tools, encoder);
  // What the window's buttons send for each group: choosing a feeder mode
  // asks the printer for its own first.
  printer_settings::RestoreActions actions;
  actions.offsetsChanged = [&](const printer_settings::Controls& c) {
    std::array<int, 4> values{};
    for (size_t i = 0; i < values.size(); ++i) values[i] = std::atoi(c.offsets[i].c_str());
    DeviceSettings(tools).SendOffsets(values);
  };
  actions.feederChanged = [&](const printer_settings::Controls& c) {
    DeviceSettings device(tools);
    (void)device.FeederStatus();
    device.SetFeeder(c.feeder);
  };
  actions.encoderChanged = [&](const printer_settings::Controls& c) {
    EncoderSettings(encoder).EncodeApplyButton(EncoderStateOf(c));
  };
  switch (printer_settings::Restore(path, controls, io.prompter, {}, actions)) {
    case printer_settings::RestoreResult::kApplied:
      return kDone;
    case printer_settings::RestoreResult::kUnreadable:
      return Fail(io, path + " is not a printer-settings property list; nothing was restored");
    case printer_settings::RestoreResult::kNoSerial:
      return Fail(io, path + " names no printer (no serial number); nothing was restored");
    case printer_settings::RestoreResult::kDeclined:
      break;
  }
  return Fail(io, path + " was saved from another printer; nothing was restored");
}

int SaveDriverSettings(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  const std::string& path = args.positional[1];
  if (!MayReplace(io, path)) return kFailed;
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
  commands.push_back({"save-printer-settings",
                      "QUEUE FILE [--yes]",
                      "Writes the printer-settings property list of the save/restore window: the print offsets, the "
                      "card feeder mode and the magnetic encoder settings the printer reports, with its serial "
                      "number. Asks before replacing an existing FILE.",
                      {},
                      SavePrinterSettings,
                      2,
                      2});
  commands.push_back({"restore-printer-settings",
                      "QUEUE FILE [--yes]",
                      "Sends a printer-settings property list to the printer, group by group in the file's order, "
                      "as the window's Set and Apply buttons send them. A file saved from another printer asks "
                      "first; one without a serial number changes nothing.",
                      {},
                      RestorePrinterSettings,
                      2,
                      2});
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
