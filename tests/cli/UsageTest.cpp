// The command line's own texts: the help of every command as the man page's
// companion (tests/cli/data/help.txt), and wrong usage answered with exit
// status 2 and the help of the command on standard error.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace {

// The exit status and standard output of the program with `arguments`, or
// with `redirect` "2>&1 >/dev/null" its standard error.
std::pair<int, std::string> Cli(const std::string& arguments, const char* redirect = "2>/dev/null") {
  FILE* pipe = ::popen((std::string(VKT_CLI_PROGRAM) + " " + arguments + " " + redirect + " </dev/null").c_str(), "r");
  std::string out;
  char buffer[4096];
  for (size_t got; pipe && (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
  const int status = pipe ? ::pclose(pipe) : -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

std::string Help(const std::string& command) { return Cli(command + " --help").second; }

TEST(CliUsage, EveryCommandHelpsAndWrongUsageExitsTwoWithTheHelp) {
  std::stringstream golden;
  golden << std::ifstream(VKT_CLI_HELP).rdbuf();
  // The commands are those the overall usage lists ("  vkts3-cli COMMAND ...").
  const std::string usage = Help("");
  std::string all = usage, line;
  for (std::istringstream lines(usage); std::getline(lines, line);)
    if (line.rfind("  vkts3-cli ", 0) == 0) all += Help(line.substr(12, line.find(' ', 12) - 12));
  EXPECT_EQ(all, golden.str());
  EXPECT_EQ(Cli("--help").first, 0);

  const std::pair<const char*, std::string> cases[] = {
      {"", usage},
      {"bogus", "vkts3-cli: unknown command bogus\n" + usage},
      {"info", Help("info")},
      {"console Card", Help("console")},
      {"eject Card Card2", Help("eject")},
      {"offsets Card --set", "vkts3-cli offsets: missing value after --set\n" + Help("offsets")},
      {"eject Card --kind printer", "vkts3-cli eject: unknown option --kind\n" + Help("eject")},
  };
  for (const auto& [arguments, errors] : cases)
    EXPECT_EQ(Cli(arguments, "2>&1 >/dev/null"), std::make_pair(2, errors)) << arguments;
}

}  // namespace
