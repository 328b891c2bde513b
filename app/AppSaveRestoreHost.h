// The main window (AppDelegate) as the host of the save/restore window.
#pragma once

#include "SaveRestoreHost.h"

class AppDelegate;

class AppSaveRestoreHost : public SaveRestoreHost {
 public:
  explicit AppSaveRestoreHost(AppDelegate& app) : app_(app) {}

  Prompter& prompter() override;
  printer_settings::PrinterSettings CurrentPrinterSettings() override;
  std::array<int, 4> DriverListIndices() override;
  void UpdatePrinterSettingsFromFile(const std::string& path) override;

 private:
  AppDelegate& app_;
};
