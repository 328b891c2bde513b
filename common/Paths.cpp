// Default paths with their environment overrides.
#include "Paths.h"

#include <cstdlib>

namespace vkt_paths {
namespace {
std::string EnvOr(const char* name, const char* fallback) {
  const char* value = std::getenv(name);
  return (value && *value) ? std::string(value) : std::string(fallback);
}
std::string WithSlash(std::string path) {
  if (path.empty() || path.back() != '/') path.push_back('/');
  return path;
}
}  // namespace

std::string CupsServerRoot() { return EnvOr("CUPS_SERVERROOT", "/etc/cups"); }

std::string PpdFolder() { return CupsServerRoot() + "/ppd"; }

std::string PpdPathForQueue(const std::string& queue) { return PpdFolder() + "/" + queue + ".ppd"; }

std::string TemporaryDirectory() {
  for (const char* name : {"XDG_RUNTIME_DIR", "TMPDIR"}) {
    const char* value = std::getenv(name);
    if (value && *value) return WithSlash(value);
  }
  return "/tmp/";
}

int PpdServicePort() {
  const char* value = std::getenv("VKT_PPD_SERVICE_PORT");
  if (value && *value) {
    char* end = nullptr;
    long port = std::strtol(value, &end, 10);
    if (end && *end == '\0' && port > 0 && port < 65536) return static_cast<int>(port);
  }
  return 24671;
}

std::string JobLogFolder() { return WithSlash(EnvOr("VKT_JOBLOG_DIR", "/var/log/VKTS3S1Log/")); }

}  // namespace vkt_paths
