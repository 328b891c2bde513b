// The printer-settings file: print offsets, card feeder mode and magnetic
// encoder settings of one printer, with the serial number of that printer.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace printer_settings {

// One track's list indices.
struct Track {
  int Mode = 0;
  int Density = 0;
};

// What a save writes: the main window's controls as they stand. Offsets are
// the field texts, as typed.
struct PrinterSettings {
  std::string FrontXOffset;
  std::string FrontYOffset;
  std::string BackXOffset;
  std::string BackYOffset;
  int SingleFeed = 0;
  std::string Coercivity;  // "High Coercivity" or "Low Coercivity"
  std::array<Track, 3> Tracks{};
  std::string SerialNo;
};

// The XML property list of `settings`.
std::string ToXml(const PrinterSettings& settings);
// Writes it atomically; false with a reason on failure.
bool Write(const PrinterSettings& settings, const std::string& path, std::string& error);

// ---- What a restore reads ----
// A file may lack any key or hold it in any order; each entry of
// "PrinterConfig" is applied on its own, in the file's order, so the read
// form keeps which keys were there.

struct OffsetEntry {  // "Offset"; a missing sub-key leaves its field alone
  std::optional<std::string> FrontX, FrontY, BackX, BackY;
};
struct SingleFeedEntry {  // "SingleFeed"
  int Index = 0;
};
struct TrackEntry {  // "Track1".."Track3"
  int Number = 1;    // 1..3
  std::optional<int> Mode, Density;
};
struct CoercivityEntry {  // "Coercivity"
  std::string Text;
};
struct MagneticEncodingEntry {  // "MagneticEncoding"
  std::vector<std::variant<TrackEntry, CoercivityEntry>> Items;
};
using ConfigEntry = std::variant<OffsetEntry, SingleFeedEntry, MagneticEncodingEntry>;

struct PrinterSettingsFile {
  std::optional<std::string> SerialNo;  // "Serial_no"; missing: the file is never applied
  std::vector<ConfigEntry> PrinterConfig;
  bool Empty = false;  // the root dictionary holds no keys
};

// The file at `path`; null with a reason when it is not a readable property
// list with a dictionary at its root (or larger than 1 MiB). Values of the
// wrong type are converted (a text to its leading number, 0 when it has none);
// a container where a value belongs counts as a missing key.
std::optional<PrinterSettingsFile> Read(const std::string& path, std::string& error);

}  // namespace printer_settings
