// A stand-in main window for the save/restore window: fixed control values,
// a scripted prompter, and a record of the printer-settings restores asked for.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "SaveRestoreHost.h"
#include "ScriptedPrompter.h"

namespace archive_test {

class FakeHost : public SaveRestoreHost {
 public:
  FakeHost(ScriptedPrompter& prompter, std::vector<std::string>& restores) : prompter_(prompter), restores_(restores) {}
  Prompter& prompter() override { return prompter_; }
  printer_settings::PrinterSettings CurrentPrinterSettings() override { return printer; }
  std::array<int, 4> DriverListIndices() override { return lists; }
  void UpdatePrinterSettingsFromFile(const std::string& path) override { restores_.push_back(path); }

  printer_settings::PrinterSettings printer;
  std::array<int, 4> lists{0, 0, 0, 0};  // two-sided, rotation, monochrome, printing mode

 private:
  ScriptedPrompter& prompter_;
  std::vector<std::string>& restores_;
};

}  // namespace archive_test
