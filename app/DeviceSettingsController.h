// The device-settings tab: the print offsets kept in the printer (read at
// start-up, sent after a confirmation) and the card feeder mode, through the
// model in tools/DeviceSettings.
#pragma once

#include "DeviceSettings.h"

class AppDelegate;

class DeviceSettingsController {
 public:
  explicit DeviceSettingsController(AppDelegate& app);

  // Reads front X, front Y, back X, back Y into the fields and pOffset.
  void GetOffsetFromPrinter();
  // Set Offset: asks first, then SendOffsetToPrinter.
  void SetoffsetBtnClicked();
  // Sends the four field values as set commands (also used after a settings
  // file is restored).
  void SendOffsetToPrinter();

  // Feeder Apply is usable only while the chosen mode differs from the printer's.
  void SingleFeedComboBoxAction();
  // Sends the chosen feeder mode, shows the progress notice, disables Apply.
  void SingleFeedApplyBtn();

 private:
  DeviceSettings Model() const;

  AppDelegate& app_;
};
