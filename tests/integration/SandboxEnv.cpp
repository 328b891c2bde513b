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
    if (std::filesystem::is_regular_file(dir / "vkt-sandbox-base", missing)) return ReadFirstLine(dir / "vkt-sandbox-base");
    if (dir == dir.parent_path()) break;
  }
  return "/tmp/vkt-sb-" + std::to_string(getuid());
}

// A process counts as running when /proc has it and it is not a zombie.
bool ProcessAlive(const std::string& pid) {
  const std::string text = ReadFirstLine("/proc/" + (pid.empty() ? "none" : pid) + "/stat");
  const auto close = text.rfind(") ");
  return close != std::string::npos && close + 2 < text.size() && text[close + 2] != 'Z';
}

State Load() {
  State state{FindBase(), {}, {}};
  const std::string hint = " Start it with: scripts/sandbox start --base " + state.base +
                           " (ctest starts it through the fixture \"sandbox\").";
  std::ifstream env(state.base + "/env");
  if (!env) return {state.base, {}, "The sandbox is not running: " + state.base + "/env is missing." + hint};
  // Lines of the form: export NAME=VALUE or export NAME="VALUE".
  for (std::string line; std::getline(env, line);) {
    const auto eq = line.find('=');
    if (line.rfind("export ", 0) != 0 || eq == std::string::npos) continue;
    std::string value = line.substr(eq + 1);
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
    state.vars[line.substr(7, eq - 7)] = value;
  }
  if (!ProcessAlive(ReadFirstLine(state.base + "/pids/cupsd.pid")))
    return {state.base, {}, "The sandbox's cupsd in " + state.base + " is not running." + hint};
  for (const auto& [name, value] : state.vars) setenv(name.c_str(), value.c_str(), 1);
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
  if (::access(path.c_str(), R_OK) != 0) {
    time_t modified = 0;
    if (cupsGetPPD3(CUPS_HTTP_DEFAULT, queue.c_str(), &modified, fetched, sizeof fetched) != HTTP_STATUS_OK) return {};
    path = fetched;
  }
  std::ifstream in(path, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (fetched[0]) ::unlink(fetched);
  return text;
}

std::string FixtureDir() { return VKT_PPD_FIXTURE_DIR; }

}  // namespace vkt_sandbox
