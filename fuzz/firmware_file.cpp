// A firmware file chosen by the user: the header check that tells printer
// from laminator firmware and refuses anything else.
#include <string>

#include "FirmwareDownload.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path =
      fuzz::WriteScratchFile(std::string(reinterpret_cast<const char*>(data), size), "-firmware.bin");
  (void)FirmwareDownload::Inspect(path);
  return 0;
}
