// The command line's own texts: the help of every command as the man page's
// companion (tests/cli/data/help.txt), and wrong usage answered with exit
// status 2 and the help of the command on standard error.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

namespace {

struct CliRun {
  std::string out;
  int status = -1;
};

// Runs the program with `arguments` and reads its standard output, or with
// `errors` its standard error.
CliRun Cli(const std::string& arguments, bool errors) {
  CliRun run;
  const std::string redirect = errors ? " 2>&1 >/dev/null" : " 2>/dev/null";
  FILE* pipe = ::popen((std::string(VKT_CLI_PROGRAM) + " " + arguments + redirect + " </dev/null").c_str(), "r");
  char buffer[4096];
  size_t got;
  while (pipe && (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, got);
  const int status = pipe ? ::pclose(pipe) : -1;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

std::string Help(const std::string& command) { return Cli(command + " --help", false).out; }

TEST(CliUsage, EveryCommandHelpsAndWrongUsageExitsTwoWithTheHelp) {
  std::ifstream in(VKT_CLI_HELP);
  const std::string golden((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::string all = Help("");
  for (const char* command :
       {"list", "info", "card-setup", "clean", "eject", "console", "send-prn", "firmware", "offsets", "feeder",
        "encoder", "encode", "read", "test-card", "job-log", "save-printer-settings", "restore-printer-settings",
        "save-driver-settings", "restore-driver-settings"})
    all += Help(command);
  EXPECT_EQ(all, golden);

  const std::string usage = Help("");
  const struct {
    const char* arguments;
    std::string errors;
  } cases[] = {
      {"", usage},
      {"bogus", "vkts3-cli: unknown command bogus\n" + usage},
      {"info", Help("info")},
      {"offsets", Help("offsets")},
      {"console Card", Help("console")},
      {"eject Card Card2", Help("eject")},
      {"offsets Card --set", "vkts3-cli offsets: missing value after --set\n" + Help("offsets")},
      {"eject Card --kind printer", "vkts3-cli eject: unknown option --kind\n" + Help("eject")},
  };
  for (const auto& c : cases) {
    const CliRun run = Cli(c.arguments, true);
    EXPECT_EQ(run.status, 2) << c.arguments;
    EXPECT_EQ(run.out, c.errors) << c.arguments;
  }
  EXPECT_EQ(Cli("--help", false).status, 0);
  // Two arguments are what send-prn takes: past the usage check, a queue the scheduler does not know fails.
  EXPECT_EQ(Cli("send-prn NoSuchQueue /dev/null", true).status, 1);
}

}  // namespace
