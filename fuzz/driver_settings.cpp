// A driver-settings file (XML or binary property list) as a restore reads it.
#include <string>

#include "DriverSettingsArchive.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path =
      fuzz::WriteScratchFile(std::string(reinterpret_cast<const char*>(data), size), "-driver.plist");
  std::string error;
  (void)driver_settings::Read(path, error);
  return 0;
}
