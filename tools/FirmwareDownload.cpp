// The firmware file check and the download stream.
#include "FirmwareDownload.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "DeviceCommunication.h"
#include "Log.h"
#include "Maintenance.h"
#include "Waits.h"

namespace {

constexpr char kFirmwareResetNotice[] = "\nPlease wait until printer resets and initializes.";
// Offsets of the firmware file header.
constexpr long kMarker1Offset = 14;
constexpr long kMarker2Offset = 15;
constexpr long kUnusedByteOffset = 275;
constexpr long kModelTagOffset = 277;

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileCloser>;

// Reads `size` bytes at `offset`; bytes past the end of a short file read as 0.
void ReadAt(std::FILE* file, long offset, unsigned char* out, size_t size) {
  std::memset(out, 0, size);
  if (std::fseek(file, offset, SEEK_SET) == 0) (void)std::fread(out, 1, size, file);
}

}  // namespace

std::optional<FirmwareDownload::Details> FirmwareDownload::Inspect(const std::string& path) {
  FilePtr file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    VktLog("fopen failed %s", std::strerror(errno));
    return std::nullopt;
  }
  unsigned char marker1 = 0, marker2 = 0, unused = 0;
  unsigned char modelTag[4];
  ReadAt(file.get(), kMarker1Offset, &marker1, 1);
  ReadAt(file.get(), kMarker2Offset, &marker2, 1);
  ReadAt(file.get(), kUnusedByteOffset, &unused, 1);
  ReadAt(file.get(), kModelTagOffset, modelTag, sizeof modelTag);
  const bool laminatorTag = std::memcmp(modelTag, "L720", 4) == 0;
  if (marker1 != 0xFF && marker2 == 0xFF) return Details{"Printer F/W", StringPrintf("0x%XFF", marker1)};
  if ((marker1 == 0xFF && marker2 != 0xFF) || laminatorTag)
    return Details{"Laminator F/W", StringPrintf("0x%XFF", marker2)};
  return std::nullopt;
}

FirmwareDownload::Check FirmwareDownload::Choose(const std::string& path, Details* details) {
  // A file that cannot be opened says nothing; one that opens but is no
  // firmware file is refused aloud.
  if (FilePtr probe{std::fopen(path.c_str(), "rb")}; !probe) {
    VktLog("fopen failed %s", std::strerror(errno));
    return Check::kUnreadable;
  }
  std::optional<Details> found = Inspect(path);
  if (!found) {
    context_.prompter.Show(Maintenance::kHeader, kIncorrectFirmware, {"Ok"}, Prompter::Level::kCaution, context_.icon);
    return Check::kRejected;
  }
  if (details) *details = *found;
  return Check::kFirmware;
}

bool FirmwareDownload::Download(const std::string& path, const Status& status, const Progress& progress) {
  FilePtr file(std::fopen(path.c_str(), "rb"));
  if (!file) return false;
  std::error_code error;
  const uintmax_t fileSize = std::filesystem::file_size(path, error);
  if (error) return false;
  // The length field holds 32 bits: a longer file cannot be described to the printer.
  if (fileSize >= 0xFFFFFFFFu) return false;
  const uint32_t size = static_cast<uint32_t>(fileSize);
  DeviceCommunication* session = context_.session;
  if (!session) return false;

  if (status) status(kFirmwareDownloading);
  Waits::Current().RunEventLoop(std::chrono::milliseconds(1000));

  const char header[8] = {0x1B,
                          'D',
                          'C',
                          ' ',
                          static_cast<char>(size >> 24),
                          static_cast<char>(size >> 16),
                          static_cast<char>(size >> 8),
                          static_cast<char>(size)};
  // A part the printer did not take ends the download with the failure
  // message: a half-flashed printer must never be reported as fine.
  const auto failed = [&] {
    VktLog("Firmware download stopped: the printer did not take the stream");
    if (status) status(kFirmwareFailed);
    session->ResetHandle();
    return false;
  };
  if (!session->WriteStreamPart(header, sizeof header)) return failed();

  if (progress) progress(0, size);
  std::array<char, Maintenance::kBlockSize> block;
  unsigned char checksum = 0;  // kept for the log; the trailer is fixed
  long long sent = 0;
  while (true) {
    const size_t count = std::fread(block.data(), 1, block.size(), file.get());
    if (count == 0) break;
    for (size_t i = 0; i < count; ++i) checksum ^= static_cast<unsigned char>(block[i]);
    if (!session->WriteStreamPart(block.data(), static_cast<int>(count))) return failed();
    sent += static_cast<long long>(count);
    if (progress) progress(sent, size);
  }
  const char trailer[2] = {static_cast<char>(0xFF), 0x0D};
  if (!session->WriteStreamPart(trailer, sizeof trailer)) return failed();
  VktLog("Firmware of %u bytes sent, exclusive-or of the body 0x%02X", size, checksum);

  Waits::Current().Sleep(std::chrono::seconds(7));
  context_.prompter.Show(Maintenance::kHeader, kFirmwareResetNotice, {}, Prompter::Level::kNote, {}, 20);
  if (status) status(kFirmwareDownloaded);
  file.reset();
  // The printer dropped the connection while it reset.
  session->ResetHandle();
  return true;
}
