// card-setup: the driver defaults of the card-setup tab, shown and applied
// through the same model as the window.
#include <array>
#include <cstdlib>
#include <string>

#include "CardSetupModel.h"
#include "Cli.h"
#include "DeviceCommunication.h"
#include "DeviceSettings.h"
#include "PPDHelper.h"
#include "Paths.h"
#include "PrinterInformation.h"

namespace cli {
namespace {

// The --set names, in the order they are applied: a ribbon rebuilds the
// combinations, a combination the monochrome list, both sides the rotations
// and modes, so the lists further down are set last.
struct Setting {
  const char* name;
  ListControl CardSetupModel::*list;  // null for the half-panel check box
};
constexpr std::array<Setting, 7> kSettings{{
    {"both-sides", &CardSetupModel::PrintOnBothside},
    {"ribbon", &CardSetupModel::TypeOfRibbon},
    {"combination", &CardSetupModel::RibbonCombinatioin},
    {"mono", &CardSetupModel::MonoChromeConv},
    {"rotate", &CardSetupModel::Rotate},
    {"mode", &CardSetupModel::PrintingMode},
    {"half-panel", nullptr},
}};

std::string Shown(const CardSetupModel& model, const Setting& setting) {
  if (!setting.list) return model.chBoxAutoDetect.IsChecked() ? "1" : "0";
  return (model.*setting.list).ObjectValueOfSelectedItem().value_or("");
}

// Sets one control as the user would; the reason on failure.
std::string Set(CardSetupModel& model, const Setting& setting, const std::string& value) {
  if (!setting.list) {
    if (value != "0" && value != "1") return std::string(setting.name) + " takes 0 or 1, not " + value;
    if (!model.chBoxAutoDetect.IsEnabled()) return std::string(setting.name) + " cannot be changed for this ribbon";
    model.chBoxAutoDetect.SetChecked(value == "1");
    model.chBoxAutoDetectClicked();
    return {};
  }
  ListControl& list = model.*setting.list;
  std::string valid;
  for (int i = 0; i < list.NumberOfItems(); ++i) {
    if (list.ItemAt(i) == value) {
      if (!list.IsEnabled()) return std::string(setting.name) + " cannot be changed now (it follows the printer)";
      list.SelectItemAtIndex(i);
      return {};
    }
    valid += (valid.empty() ? "" : ", ") + list.ItemAt(i);
  }
  return std::string(setting.name) + "=" + value + " is not offered; valid: " + valid;
}

int CardSetup(Io& io, const Args& args) {
  const std::string& queue = args.positional[0];
  // NAME=VALUE pairs, checked for known names before anything is asked.
  std::vector<std::string> names;
  for (const Setting& setting : kSettings) names.emplace_back(setting.name);
  std::vector<std::optional<std::string>> wanted;
  if (const std::string problem = ParseSettings(args, names, wanted); !problem.empty()) return Fail(io, problem);

  std::unique_ptr<CardSetupSession> setup = OpenCardSetup(io, queue);
  if (!setup) return kFailed;
  CardSetupModel& model = setup->model;

  bool changing = false;
  const std::string problem = ChooseSettings(
      wanted, [&](size_t i, const std::string& value) { return Set(model, kSettings[i], value); }, changing);
  if (!problem.empty()) return Fail(io, problem);
  if (changing) {
    const int saved = model.SaveSettings();
    if (saved < 0) return kFailed;  // the alert said why
    if (saved == 0) std::fprintf(io.err, "The driver defaults already hold these settings.\n");
  }

  std::vector<std::pair<std::string, std::string>> fields;
  for (const Setting& setting : kSettings) fields.emplace_back(setting.name, Shown(model, setting));
  PrintFields(io, args, queue, fields);
  return kDone;
}

}  // namespace

std::unique_ptr<CardSetupSession> OpenCardSetup(Io& io, const std::string& queue) {
  auto setup = std::make_unique<CardSetupSession>();
  setup->session = OpenSession(io, queue);
  if (!setup->session) return nullptr;
  setup->driverSettings.InitPPD(vkt_paths::PpdPathForQueue(queue));
  if (!setup->driverSettings.IsLoaded()) {
    Fail(io, queue + ": Not able to launch printer properties.");
    return nullptr;
  }
  // What the window's start-up asks before it shows the card setup.
  DeviceCommunication& session = *setup->session;
  setup->info = PrinterInformation::Read(session);
  const PrinterModelRules rules = setup->info.Model();
  DeviceSettings device({&session, io.prompter, {}});
  setup->offsets = device.ReadOffsets();

  CardSetupContext context;
  context.driverSettings = &setup->driverSettings;
  context.session = &session;
  context.prompter = &io.prompter;
  context.printerType = rules.PrinterType;
  context.reportedRibbon = setup->info.RibbonType;
  CardSetupSession* raw = setup.get();
  context.applyExtras = [raw] {
    CardSetupApplyExtras extras;
    for (size_t i = 0; i < 4; ++i) extras.offsets[i] = std::atoi(raw->offsets[i].c_str());
    extras.serialLabel = raw->info.SerialNum;
    return extras;
  };
  setup->model.SetContext(context);
  setup->model.PrintOnBothside.SetEnabled(rules.bDualSide);
  setup->model.StartUp(true);
  return setup;
}

void AddCardSetupCommands(std::vector<Command>& commands) {
  commands.push_back({"card-setup",
                      "QUEUE [--set NAME=VALUE]... [--json]",
                      "Prints the driver defaults of the card-setup tab as the window shows them (both-sides, ribbon, "
                      "combination, mono, rotate, mode, half-panel). With --set, chooses values as a user would, in "
                      "that order, and applies them to the queue's PPD through the PPD service. Values are the texts "
                      "of the window's lists (half-panel takes 0 or 1); a value a list does not offer is refused "
                      "with the ones it does.",
                      {"set"},
                      CardSetup,
                      1,
                      1});
}

}  // namespace cli
