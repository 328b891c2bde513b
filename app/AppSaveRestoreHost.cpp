// Reads the main window's controls for the save/restore window.
#include "AppSaveRestoreHost.h"

#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

#include "AppDelegate.h"
#include "RadioPair.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"

Prompter& AppSaveRestoreHost::prompter() { return app_.prompter(); }

printer_settings::PrinterSettings AppSaveRestoreHost::CurrentPrinterSettings() {
  Ui::MainWindow& ui = app_.ui();
  printer_settings::PrinterSettings settings;
  settings.Coercivity = ui.rdHighCo->isChecked() ? "High Coercivity" : "Low Coercivity";
  settings.Tracks[0] = {ui.BoxT1Mode->IndexOfSelectedItem(), ui.BoxT1Density->IndexOfSelectedItem()};
  settings.Tracks[1] = {ui.BoxT2Mode->IndexOfSelectedItem(), ui.BoxT2Density->IndexOfSelectedItem()};
  settings.Tracks[2] = {ui.BoxT3Mode->IndexOfSelectedItem(), ui.BoxT3Density->IndexOfSelectedItem()};
  settings.SingleFeed = ui.FeederOption->IndexOfSelectedItem();
  settings.FrontXOffset = ui.leFrontX->text().toStdString();
  settings.FrontYOffset = ui.leFrontY->text().toStdString();
  settings.BackXOffset = ui.leBackX->text().toStdString();
  settings.BackYOffset = ui.leBackY->text().toStdString();
  settings.SerialNo = ui.SerialNum->text().toStdString();
  return settings;
}

std::array<int, 4> AppSaveRestoreHost::DriverListIndices() {
  Ui::MainWindow& ui = app_.ui();
  return {ui.PrintOnBothside->IndexOfSelectedItem(), ui.Rotate->IndexOfSelectedItem(),
          ui.MonoChromeConv->IndexOfSelectedItem(), ui.PrintingMode->IndexOfSelectedItem()};
}

void AppSaveRestoreHost::UpdatePrinterSettingsFromFile(const std::string& path) {
  app_.UpdatePrinterSettingsFromFile(path);
}
