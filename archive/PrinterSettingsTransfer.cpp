// The printer-settings save and restore over the caller's controls.
#include "PrinterSettingsTransfer.h"

#include <optional>
#include <variant>

#include "Log.h"
#include "PlistFile.h"

namespace printer_settings {

namespace {

constexpr const char* kMismatchTitle = "Restore Printer setting ";
constexpr const char* kMismatchQuestion =
    "The target printer does not match the saved printer configuration settings.Proceeding to restore this file "
    "may corrupt the printer rendering it inoperable.Would you like to continue?";

// A list shown an index it does not have selects nothing.
int ListIndex(int index, int choices) { return index < -1 || index >= choices ? -1 : index; }

void ApplyEncoding(const MagneticEncodingEntry& encoding, Controls& controls) {
  for (const auto& item : encoding.Items) {
    if (const auto* track = std::get_if<TrackEntry>(&item)) {
      Track& target = controls.tracks[track->Number - 1];
      if (track->Density) target.Density = ListIndex(*track->Density, kDensityChoices);
      if (track->Mode) target.Mode = ListIndex(*track->Mode, kModeChoices);
    } else if (const auto* coercivity = std::get_if<CoercivityEntry>(&item)) {
      if (coercivity->Text.empty()) continue;
      controls.high = coercivity->Text == "High Coercivity";
      controls.low = coercivity->Text == "Low Coercivity";
    }
  }
}

}  // namespace

PrinterSettings Collect(const Controls& controls) {
  PrinterSettings settings;
  settings.FrontXOffset = controls.offsets[0];
  settings.FrontYOffset = controls.offsets[1];
  settings.BackXOffset = controls.offsets[2];
  settings.BackYOffset = controls.offsets[3];
  settings.SingleFeed = controls.feeder;
  settings.Coercivity = controls.high ? "High Coercivity" : "Low Coercivity";
  settings.Tracks = controls.tracks;
  settings.SerialNo = controls.serialNo;
  return settings;
}

RestoreResult Restore(const std::string& path, Controls& controls, Prompter& prompter, const std::string& icon,
                      const RestoreActions& actions) {
  std::string error;
  std::optional<PrinterSettingsFile> file = Read(path, error);
  if (!file) {
    VktLog("%s", error.c_str());
    return RestoreResult::kUnreadable;
  }
  if (file->Empty || !file->SerialNo) return RestoreResult::kNoSerial;
  // Compared as saved: the printer's terminator after the number is never written.
  if (plist_file::Printable(*file->SerialNo) != plist_file::Printable(controls.serialNo) &&
      prompter.Show(kMismatchTitle, kMismatchQuestion, {"Ok", "Cancel"}, Prompter::Level::kCaution, icon) != 0)
    return RestoreResult::kDeclined;
  for (const ConfigEntry& entry : file->PrinterConfig) {
    if (const auto* offset = std::get_if<OffsetEntry>(&entry)) {
      const std::optional<std::string>* values[] = {&offset->FrontX, &offset->FrontY, &offset->BackX, &offset->BackY};
      for (size_t i = 0; i < controls.offsets.size(); ++i) {
        if (!*values[i]) continue;
        VktLog("value of offset %s", (*values[i])->c_str());
        controls.offsets[i] = **values[i];
      }
      actions.offsetsChanged(controls);
    } else if (const auto* feed = std::get_if<SingleFeedEntry>(&entry)) {
      controls.feeder = ListIndex(feed->Index, kFeederChoices);
      VktLog("Auto feed ... %d", feed->Index);
      actions.feederChanged(controls);
    } else if (const auto* encoding = std::get_if<MagneticEncodingEntry>(&entry)) {
      ApplyEncoding(*encoding, controls);
      actions.encoderChanged(controls);
    }
  }
  return RestoreResult::kApplied;
}

}  // namespace printer_settings
