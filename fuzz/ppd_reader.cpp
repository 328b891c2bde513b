// A queue's PPD as the driver-settings model reads it: model, option
// defaults, offsets, job-log settings and the ribbon choice lists. The file
// lies outside the PPD folder, so it is read directly, never through the
// scheduler.
#include <string>

#include "FuzzSupport.h"
#include "PPDHelper.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string path = fuzz::WriteScratchFile(std::string(reinterpret_cast<const char*>(data), size), ".ppd");
  PPDHelper helper;
  helper.InitPPD(path);
  (void)helper.GetPPDDefaultValues();
  (void)helper.GetPPDJobLogDefaultValues();
  (void)helper.GetAllSupportedRibbonTypes();
  (void)helper.GetAllRibbonCombination();
  (void)PPDHelper::GetFileData(path);
  return 0;
}
