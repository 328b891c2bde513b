// The driver-settings file: the four print options of the card setup and the
// job-log settings of a queue's PPD, under "VKTS3PrinterConfig".
#pragma once

#include <optional>
#include <string>

#include "JobLog_.h"

namespace driver_settings {

// What a save writes. A list index of -1 (nothing selected) is kept as it is:
// a restore reads it as "leave this option alone".
struct DriverSettings {
  int PrintOnBothSides = -1;  // "Print_on_both_sides"
  int Rotate180 = -1;         // "Rotate180"
  int MonoConversion = 0;     // "Mono_Conversion"
  int PrintingMode = -1;      // "Printing_Mode"
  JobLog_ JobLog;             // texts that were never read are written empty
};

std::string ToXml(const DriverSettings& settings);
bool Write(const DriverSettings& settings, const std::string& path, std::string& error);

// What a restore reads. Missing option keys read as -1; the job-log record
// starts all zero with null texts, and only keys present in the file fill it.
struct DriverSettingsFile {
  int PrintOnBothSides = -1;
  int Rotate180 = -1;
  int MonoConversion = -1;
  int PrintingMode = -1;
  JobLog_ JobLog;
};

// Null with a reason when the file is not a readable property list (or is
// larger than 1 MiB), or has no "VKTS3PrinterConfig" dictionary. Numbers
// given as texts are converted (0 for a text without digits); a container,
// data or date where a number or text belongs counts as a missing key.
// Each value is logged as "Value is %@".
std::optional<DriverSettingsFile> Read(const std::string& path, std::string& error);

}  // namespace driver_settings
