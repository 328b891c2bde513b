// Device-settings tab behaviour.
#include "DeviceSettingsController.h"

#include <QPushButton>

#include "AppDelegate.h"
#include "ui_MainWindow.h"

void DeviceSettingsController::GetOffsetFromPrinter() {
  // Filled in with the print offsets of the device-settings tab.
}

void DeviceSettingsController::SingleFeedComboBoxAction() {
  DeviceCommunication* session = app_.objDev();
  const int printerMode = session ? session->GetFeederStatus() : 0;
  app_.ui().PrinterFeedOptionApplyBtn->setEnabled(app_.ui().FeederOption->IndexOfSelectedItem() != printerMode);
}
