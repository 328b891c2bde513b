// The device-settings tab: print offsets and the card feeder.
#pragma once

class AppDelegate;

class DeviceSettingsController {
 public:
  explicit DeviceSettingsController(AppDelegate& app) : app_(app) {}

  void GetOffsetFromPrinter();
  // Feeder Apply is usable only while the chosen mode differs from the printer's.
  void SingleFeedComboBoxAction();

 private:
  AppDelegate& app_;
};
