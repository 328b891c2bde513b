// Writes and reads the driver-settings property list.
#include "DriverSettingsArchive.h"

#include <cstdint>
#include <utility>

#include "Log.h"
#include "PlistFile.h"

namespace driver_settings {

namespace {

// File keys of the eleven job-log flags, by job-log index.
constexpr std::pair<const char*, int> kFlagKeys[] = {
    {"LogEnabled", 0}, {"Create_Each_Day_Log", 1}, {"Time", 2}, {"Date", 3},
    {"Printer_SerialNumber", 4}, {"IPAddress", 5}, {"User_Name", 6}, {"JobID", 7},
    {"Mdata1", 8}, {"Mdata2", 9}, {"Mdata3", 10},
};
// File keys of the three texts, by job-log index.
constexpr std::pair<const char*, int> kTextKeys[] = {{"Separator", 11}, {"FileName", 12}, {"StaticText", 13}};

PList::Integer IntegerNode(int value) { return PList::Integer(static_cast<uint64_t>(static_cast<int64_t>(value))); }

bool HasControlCharacter(const std::string& text) {
  for (unsigned char c : text) {
    if (c < 0x20 || c == 0x7F) return true;
  }
  return false;
}

std::string Describe(plist_t node) {
  if (std::optional<std::string> text = plist_file::TextValue(node)) return *text;
  return "(not a value)";
}

}  // namespace

std::string ToXml(const DriverSettings& settings) {
  PList::Dictionary config;
  config.Set("Print_on_both_sides", IntegerNode(settings.PrintOnBothSides));
  config.Set("Rotate180", IntegerNode(settings.Rotate180));
  config.Set("Mono_Conversion", IntegerNode(settings.MonoConversion));
  config.Set("Printing_Mode", IntegerNode(settings.PrintingMode));
  for (const auto& [key, index] : kFlagKeys) config.Set(key, IntegerNode(settings.JobLog.Flag(index)));
  for (const auto& [key, index] : kTextKeys) config.Set(key, plist_file::TextNode(settings.JobLog.Text(index).value_or("")));
  PList::Dictionary root;
  root.Set("VKTS3PrinterConfig", config);
  return plist_file::ToXml(root);
}

bool Write(const DriverSettings& settings, const std::string& path, std::string& error) {
  std::string xml = ToXml(settings);
  if (xml.empty()) {
    error = "The driver settings could not be serialised.";
    return false;
  }
  return plist_file::WriteAtomically(path, xml, error);
}

std::optional<DriverSettingsFile> Read(const std::string& path, std::string& error) {
  plist_file::PlistTree root = plist_file::ReadDictionary(path, error);
  if (!root) return std::nullopt;
  plist_t config = plist_file::Find(root.get(), "VKTS3PrinterConfig");
  if (!plist_file::IsDictionary(config)) {
    error = config ? "The file " + path + " holds \"VKTS3PrinterConfig\", but not as a dictionary of settings."
                   : "The file " + path + " holds no driver settings (\"VKTS3PrinterConfig\" is missing).";
    return std::nullopt;
  }
  DriverSettingsFile file;
  plist_file::ForEach(config, [&](const std::string& key, plist_t value) {
    VktLog("Value is %s", Describe(value).c_str());
    std::optional<int> number = plist_file::IntegerValue(value);
    for (const auto& [flagKey, index] : kFlagKeys) {
      if (key != flagKey) continue;
      if (number) file.JobLog.Flag(index) = *number;
      return;
    }
    for (const auto& [textKey, index] : kTextKeys) {
      if (key != textKey) continue;
      // Only real texts, and only one line of them: the text becomes part of
      // a PPD line, and a line break would smuggle in lines of its own.
      if (!plist_file::IsString(value)) return;
      std::optional<std::string> text = plist_file::TextValue(value);
      if (HasControlCharacter(*text)) {
        VktLog("Ignoring %s: it holds a control character", key.c_str());
        return;
      }
      file.JobLog.Text(index) = std::move(text);
      return;
    }
    if (!number) return;
    if (key == "Rotate180") file.Rotate180 = *number;
    else if (key == "Mono_Conversion") file.MonoConversion = *number;
    else if (key == "Printing_Mode") file.PrintingMode = *number;
    else if (key == "Print_on_both_sides") file.PrintOnBothSides = *number;
  });
  return file;
}

}  // namespace driver_settings
