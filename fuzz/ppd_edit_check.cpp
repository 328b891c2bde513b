// The PPD service's content rule. The input's first byte chooses the pair:
// even, the installed text is our VKTS32 fixture and the rest is the
// proposed PPD; odd, the rest is split at its first NUL into installed and
// proposed texts.
#include <fstream>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "PpdEditCheck.h"

namespace {
const std::string& InstalledFixture() {
  static const std::string text = [] {
    std::ifstream in(VKT_FUZZ_DATA_DIR "/installed.ppd", std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
  }();
  return text;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const bool split = input.Byte() & 1;
  const std::string rest = input.Rest();
  if (!split) {
    (void)PpdEditCheck::FindForbiddenChange(InstalledFixture(), rest);
    return 0;
  }
  const size_t nul = rest.find('\0');
  const std::string installed = rest.substr(0, nul);
  const std::string proposed = nul == std::string::npos ? std::string() : rest.substr(nul + 1);
  (void)PpdEditCheck::FindForbiddenChange(installed, proposed);
  return 0;
}
