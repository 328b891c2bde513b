// Writes and reads the printer-settings property list.
#include "PrinterSettingsArchive.h"

#include <cstdint>

#include "PlistFile.h"

namespace printer_settings {

namespace {

PList::Integer IntegerNode(int value) { return PList::Integer(static_cast<uint64_t>(static_cast<int64_t>(value))); }

OffsetEntry ReadOffset(plist_t offset) {
  OffsetEntry entry;
  entry.FrontX = plist_file::TextValue(plist_file::Find(offset, "Front_X_Offset"));
  entry.FrontY = plist_file::TextValue(plist_file::Find(offset, "Front_Y_Offset"));
  entry.BackX = plist_file::TextValue(plist_file::Find(offset, "Back_X_Offset"));
  entry.BackY = plist_file::TextValue(plist_file::Find(offset, "Back_Y_Offset"));
  return entry;
}

MagneticEncodingEntry ReadMagneticEncoding(plist_t encoding) {
  MagneticEncodingEntry entry;
  plist_file::ForEach(encoding, [&](const std::string& key, plist_t value) {
    if (key == "Track1" || key == "Track2" || key == "Track3") {
      if (!plist_file::IsDictionary(value)) return;
      TrackEntry item;
      item.Number = key.back() - '0';
      item.Mode = plist_file::IntegerValue(plist_file::Find(value, "Mode"));
      item.Density = plist_file::IntegerValue(plist_file::Find(value, "Density"));
      entry.Items.emplace_back(item);
    } else if (key == "Coercivity") {
      std::optional<std::string> text = plist_file::TextValue(value);
      if (text) entry.Items.emplace_back(CoercivityEntry{*text});
    }
  });
  return entry;
}

}  // namespace

std::string ToXml(const PrinterSettings& settings) {
  PList::Dictionary offset;
  offset.Set("Front_X_Offset", plist_file::TextNode(settings.FrontXOffset));
  offset.Set("Front_Y_Offset", plist_file::TextNode(settings.FrontYOffset));
  offset.Set("Back_X_Offset", plist_file::TextNode(settings.BackXOffset));
  offset.Set("Back_Y_Offset", plist_file::TextNode(settings.BackYOffset));

  PList::Dictionary encoding;
  encoding.Set("Coercivity", plist_file::TextNode(settings.Coercivity));
  for (int i = 0; i < 3; ++i) {
    PList::Dictionary track;
    track.Set("Mode", IntegerNode(settings.Tracks[i].Mode));
    track.Set("Density", IntegerNode(settings.Tracks[i].Density));
    encoding.Set("Track" + std::to_string(i + 1), track);
  }

  PList::Dictionary config;
  config.Set("Offset", offset);
  config.Set("SingleFeed", IntegerNode(settings.SingleFeed));
  config.Set("MagneticEncoding", encoding);

  PList::Dictionary root;
  root.Set("PrinterConfig", config);
  root.Set("Serial_no", plist_file::TextNode(settings.SerialNo));
  return plist_file::ToXml(root);
}

bool Write(const PrinterSettings& settings, const std::string& path, std::string& error) {
  std::string xml = ToXml(settings);
  if (xml.empty()) {
    error = "The printer settings could not be serialised.";
    return false;
  }
  return plist_file::WriteAtomically(path, xml, error);
}

std::optional<PrinterSettingsFile> Read(const std::string& path, std::string& error) {
  plist_file::PlistTree root = plist_file::ReadDictionary(path, error);
  if (!root) return std::nullopt;
  PrinterSettingsFile file;
  file.Empty = plist_file::Size(root.get()) == 0;
  file.SerialNo = plist_file::TextValue(plist_file::Find(root.get(), "Serial_no"));
  // The entries are applied in the file's own order.
  plist_file::ForEach(plist_file::Find(root.get(), "PrinterConfig"), [&](const std::string& key, plist_t value) {
    if (key == "Offset") {
      if (plist_file::IsDictionary(value)) file.PrinterConfig.emplace_back(ReadOffset(value));
    } else if (key == "SingleFeed") {
      if (std::optional<int> index = plist_file::IntegerValue(value)) file.PrinterConfig.emplace_back(SingleFeedEntry{*index});
    } else if (key == "MagneticEncoding") {
      if (plist_file::IsDictionary(value)) file.PrinterConfig.emplace_back(ReadMagneticEncoding(value));
    }
  });
  return file;
}

}  // namespace printer_settings
