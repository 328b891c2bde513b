// Firmware files: what kind a file is (from its header bytes) and sending it
// to the printer, which then resets.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "ToolsContext.h"

class FirmwareDownload {
 public:
  static constexpr const char* kFirmwareDownloading = "Firmware downloading please wait...";
  static constexpr const char* kFirmwareDownloaded = "Firmware downloaded successfully...";
  static constexpr const char* kFirmwareFailed =
      "Firmware download failed: the printer did not take the whole file. Please download it again.";
  static constexpr const char* kIncorrectFirmware =
      "Incorrect firmware file.\nPlease select the correct firmware file.";

  // The window's labels for a file: its kind ("Printer F/W" or "Laminator
  // F/W") and its checksum text ("0x%XFF" of the marker byte).
  struct Details {
    std::string type;
    std::string checksum;
  };

  // Called after each block with the bytes sent so far and the body's size.
  using Progress = std::function<void(long long sent, long long total)>;
  // Shows a status line ("Firmware downloading please wait...", then
  // "Firmware downloaded successfully...").
  using Status = std::function<void(const std::string& text)>;

  explicit FirmwareDownload(ToolsContext context) : context_(std::move(context)) {}

  // The details of a firmware file; nullopt for a file that is none (or
  // cannot be read).
  static std::optional<Details> Inspect(const std::string& path);
  enum class Check { kUnreadable, kRejected, kFirmware };
  // Inspect, and tell the user when the file opens but is no firmware file.
  // `details` is set for kFirmware.
  Check Choose(const std::string& path, Details* details);

  // Sends the file framed as ESC "DC " + 4-byte big-endian length + body +
  // FF CR, waits for the printer to reset, tells the user, and connects
  // again. False when nothing was sent (no file, no session, a size that
  // does not fit the length field) or when the printer did not take the
  // whole stream (the status line then says so).
  bool Download(const std::string& path, const Status& status = {}, const Progress& progress = {});

 private:
  ToolsContext context_;
};
