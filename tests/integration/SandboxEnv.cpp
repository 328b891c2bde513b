// Finds the running sandbox, copies its exports into the environment and
// checks that its scheduler is alive.
#include "SandboxEnv.h"

#include <cups/cups.h>
#include <cups/ppd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

namespace vkt_sandbox {
namespace {

struct State {
  std::string base;
  std::map<std::string, std::string> vars;
  std::string error;  // empty when loaded
};

std::string ReadFirstLine(const std::filesystem::path& path) {
  std::ifstream in(path);
  std::string line;
  std::getline(in, line);
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) line.pop_back();
  return line;
}

std::string FindBase() {
  if (const char* env = std::getenv("VKT_SANDBOX"); env && *env) return env;
  std::error_code ec, missing;  // a missing file is no reason to stop walking up
  for (auto dir = std::filesystem::current_path(ec); !ec && !dir.empty(); dir = dir.parent_path()) {
    if (std::filesystem::is_regular_file(dir / "vkt-sandbox-base", missing))
      return ReadFirstLine(dir / "vkt-sandbox-base");
    if (dir == dir.parent_path()) break;
  }
  return "/tmp/vkt-sb-" + std::to_string(getuid());
}

State Load() {
  const std::string base = FindBase(), hint = " Start it with: scripts/sandbox start --base " + base +
                                              " (ctest starts it through the fixture \"sandbox\").";
  std::ifstream env(base + "/env");
  if (!env) return {base, {}, "The sandbox is not running: " + base + "/env is missing." + hint};
  // A process counts as running when it exists and is no zombie (its state follows the name in parentheses).
  const std::string pid = ReadFirstLine(base + "/pids/cupsd.pid"), stat = ReadFirstLine("/proc/" + pid + "/stat");
  if (pid.empty() || stat.size() < stat.rfind(") ") + 3 || stat[stat.rfind(") ") + 2] == 'Z')
    return {base, {}, "The sandbox's cupsd in " + base + " is not running." + hint};
  State state{base, {}, {}};
  // Lines of the form: export NAME=VALUE or export NAME="VALUE".
  for (std::string line; std::getline(env, line);) {
    const auto eq = line.find('=');
    if (line.rfind("export ", 0) != 0 || eq == std::string::npos) continue;
    std::string value = line.substr(eq + 1);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    setenv(line.substr(7, eq - 7).c_str(), value.c_str(), 1);
    state.vars[line.substr(7, eq - 7)] = value;
  }
  // Client tools and libcups must not fall back to a default queue of the host.
  unsetenv("PRINTER");
  unsetenv("LPDEST");
  cupsSetServer(nullptr);  // forget a server name read before the environment changed
  return state;
}

const State& Loaded() {
  static const State state = Load();
  return state;
}

}  // namespace

::testing::AssertionResult Require() {
  return Loaded().error.empty() ? ::testing::AssertionSuccess() : ::testing::AssertionFailure() << Loaded().error;
}

std::string Base() { return Loaded().base; }

std::string Var(const std::string& name) {
  const auto it = Loaded().vars.find(name);
  return it == Loaded().vars.end() ? std::string() : it->second;
}

std::string InstalledPpd(const std::string& queue) {
  std::string path = Base() + "/ppd/" + queue + ".ppd";
  char fetched[1024] = "";
  time_t modified = 0;
  if (::access(path.c_str(), R_OK) != 0 &&
      cupsGetPPD3(CUPS_HTTP_DEFAULT, queue.c_str(), &modified, fetched, sizeof fetched) != HTTP_STATUS_OK)
    return {};
  std::ifstream in(fetched[0] ? fetched : path.c_str(), std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (fetched[0]) ::unlink(fetched);
  return text;
}

std::string FixtureDir() { return VKT_PPD_FIXTURE_DIR; }

}  // namespace vkt_sandbox
