// What the save/restore window needs from the main window: its prompter, the
// controls whose values a save stores, and the printer-settings restore,
// which belongs to the main window because it drives that window's own apply
// actions.
#pragma once

#include <array>
#include <string>

#include "PrinterSettingsArchive.h"

class Prompter;

class SaveRestoreHost {
 public:
  virtual ~SaveRestoreHost() = default;

  virtual Prompter& prompter() = 0;
  // The offsets, feeder, encoder settings and serial number as shown.
  virtual printer_settings::PrinterSettings CurrentPrinterSettings() = 0;
  // Selected indices of PrintOnBothside, Rotate, MonoChromeConv and
  // PrintingMode, in that order (-1 when nothing is selected).
  virtual std::array<int, 4> DriverListIndices() = 0;
  virtual void UpdatePrinterSettingsFromFile(const std::string& path) = 0;
};
