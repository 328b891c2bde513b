// Reads and writes the main window's controls for the save/restore window;
// what a printer-settings save and restore do is archive/'s.
#include "AppSaveRestoreHost.h"

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

#include "AppDelegate.h"
#include "DeviceSettingsController.h"
#include "EncodingController.h"
#include "PrinterSettingsTransfer.h"
#include "RadioPair.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"

namespace {

struct Widgets {
  std::array<QLineEdit*, 4> offsets;
  std::array<VktComboBox*, 3> modes;
  std::array<VktComboBox*, 3> densities;
};

Widgets Of(Ui::MainWindow& ui) {
  return {{ui.leFrontX, ui.leFrontY, ui.leBackX, ui.leBackY},
          {ui.BoxT1Mode, ui.BoxT2Mode, ui.BoxT3Mode},
          {ui.BoxT1Density, ui.BoxT2Density, ui.BoxT3Density}};
}

printer_settings::Controls ReadControls(AppDelegate& app) {
  Ui::MainWindow& ui = app.ui();
  const Widgets widgets = Of(ui);
  printer_settings::Controls controls;
  for (size_t i = 0; i < widgets.offsets.size(); ++i) controls.offsets[i] = widgets.offsets[i]->text().toStdString();
  controls.feeder = ui.FeederOption->IndexOfSelectedItem();
  for (size_t track = 0; track < 3; ++track)
    controls.tracks[track] = {widgets.modes[track]->IndexOfSelectedItem(),
                              widgets.densities[track]->IndexOfSelectedItem()};
  controls.high = app.HiLoCo().FirstOn();
  controls.low = app.HiLoCo().SecondOn();
  controls.serialNo = ui.SerialNum->text().toStdString();
  return controls;
}

}  // namespace

Prompter& AppSaveRestoreHost::prompter() { return app_.prompter(); }

printer_settings::PrinterSettings AppSaveRestoreHost::CurrentPrinterSettings() {
  return printer_settings::Collect(ReadControls(app_));
}

std::array<int, 4> AppSaveRestoreHost::DriverListIndices() {
  Ui::MainWindow& ui = app_.ui();
  return {ui.PrintOnBothside->IndexOfSelectedItem(), ui.Rotate->IndexOfSelectedItem(),
          ui.MonoChromeConv->IndexOfSelectedItem(), ui.PrintingMode->IndexOfSelectedItem()};
}

void AppSaveRestoreHost::UpdatePrinterSettingsFromFile(const std::string& path) {
  if (path.empty()) return;
  Ui::MainWindow& ui = app_.ui();
  const Widgets widgets = Of(ui);
  printer_settings::Controls controls = ReadControls(app_);
  // Each group is shown in its widgets, then sent by its own button's action,
  // which reads the widgets; a list's selection notifies its handlers.
  printer_settings::RestoreActions actions;
  actions.offsetsChanged = [&](const printer_settings::Controls& c) {
    for (size_t i = 0; i < widgets.offsets.size(); ++i)
      widgets.offsets[i]->setText(QString::fromStdString(c.offsets[i]));
    app_.DeviceSettings().SendOffsetToPrinter();
  };
  actions.feederChanged = [&](const printer_settings::Controls& c) {
    ui.FeederOption->SelectItemAtIndex(c.feeder);
    app_.DeviceSettings().SingleFeedApplyBtn();
  };
  actions.encoderChanged = [&](const printer_settings::Controls& c) {
    for (size_t track = 0; track < 3; ++track) {
      widgets.densities[track]->SelectItemAtIndex(c.tracks[track].Density);
      widgets.modes[track]->SelectItemAtIndex(c.tracks[track].Mode);
    }
    app_.HiLoCo().SetStates(c.high, c.low);
    app_.Encoding().EncodeApplyButton();
  };
  printer_settings::Restore(path, controls, app_.prompter(), app_.urlIcon, actions);
}
