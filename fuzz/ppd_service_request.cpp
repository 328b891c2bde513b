// One request to the PPD service as Serve hands it to Answer. The PPD folder
// is /tmp/vkt-fuzz-service/ppd holding q.ppd (our VKTS32 fixture); the
// requester's edited copy is /tmp/vkt-fuzz-service/edit.ppd (the fixture
// with one default changed). Both are written afresh for every input. The
// input's first byte picks the requester: root, unknown or nobody.
#include <sys/stat.h>

#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "PpdService.h"

namespace {
constexpr char kBase[] = "/tmp/vkt-fuzz-service";

std::string Fixture() {
  std::ifstream in(VKT_FUZZ_DATA_DIR "/installed.ppd", std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

void Write(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string installed = Fixture();
  static const std::string edited = [] {
    std::string text = installed;
    const std::string from = "*DefaultVKTS32DualSidePrinting: 1true";
    if (size_t at = text.find(from); at != std::string::npos)
      text.replace(at, from.size(), "*DefaultVKTS32DualSidePrinting: 0false");
    return text;
  }();
  static PpdService service([] {
    PpdServiceOptions options;
    options.port = 0;
    options.ppdFolder = std::string(kBase) + "/ppd";
    return options;
  }());
  ::mkdir(kBase, 0755);
  ::mkdir((std::string(kBase) + "/ppd").c_str(), 0755);
  Write(std::string(kBase) + "/ppd/q.ppd", installed);
  Write(std::string(kBase) + "/edit.ppd", edited);

  fuzz::Input input(data, size);
  const uint8_t who = input.Byte() % 3;
  const std::optional<uid_t> requester = who == 0   ? std::optional<uid_t>(0)
                                         : who == 1 ? std::nullopt
                                                    : std::optional<uid_t>(65534);
  const std::string request = input.Rest();
  (void)service.Answer(std::string_view(request).substr(0, PpdService::kMaxRequestBytes), request.size(), requester);
  return 0;
}
