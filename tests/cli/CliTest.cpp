// vkts3-cli as an ordinary user: the card queues of the scheduler, and the
// printer information of several queues asked at once, as text and JSON.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <string>

#include "SandboxEnv.h"

namespace {

struct CliRun {
  std::string out;
  int status = -1;
};

CliRun Cli(const std::string& arguments) {
  CliRun run;
  FILE* pipe = ::popen((std::string(VKT_CLI_PROGRAM) + " " + arguments).c_str(), "r");
  if (!pipe) return run;
  char buffer[4096];
  size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, got);
  const int status = ::pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

TEST(Cli, ListsTheCardQueuesAndAsksSeveralAtOnce) {
  ASSERT_TRUE(vkt_sandbox::Require());
  // Only card-printer PPDs on schemes the tool speaks, in the scheduler's order.
  CliRun list = Cli("list");
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.out, "Card\nCard2\nVKTS1Socket\nVKTS31Socket\nVKTS32Usb\nVKTS3CSocket\n");
  EXPECT_EQ(Cli("list --json").out, "[\"Card\", \"Card2\", \"VKTS1Socket\", \"VKTS31Socket\", \"VKTS32Usb\", \"VKTS3CSocket\"]\n");

  // A queue the session cannot reach makes the exit status 1; the others
  // still answer, in the order asked.
  CliRun info = Cli("info VKTS1Socket VKTS31Ipp Card");
  EXPECT_EQ(info.status, 1);
  EXPECT_EQ(info.out,
            "VKTS1Socket: online\n"
            "  Model: Orvex VKT Series 1\n"
            "  Firmware version: VKT11-M V1.01.07.002\n"
            "  Serial number: S01000001\n"
            "  Head resistance: 2950\n"
            "  Panels printed: 1234\n"
            "  Ribbon type: Monochrome\n"
            "  Remaining count: N/A\n"
            "  Magnetic encoder: Yes\n"
            "  Smart card: No\n"
            "VKTS31Ipp: unavailable\n"
            "Card: online\n"
            "  Model: Orvex VKT Series 32\n"
            "  Firmware version: VKT32-M V1.02.03.016\n"
            "  Serial number: S32000001\n"
            "  Head resistance: 2950\n"
            "  Panels printed: 1234\n"
            "  Ribbon type: YMCKO\n"
            "  Remaining count: 120\n"
            "  Magnetic encoder: Yes\n"
            "  Smart card: No\n");
  CliRun json = Cli("info Card --json");
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.out,
            "[{\"queue\": \"Card\", \"status\": \"online\", \"Model\": \"Orvex VKT Series 32\", \"Firmware version\": "
            "\"VKT32-M V1.02.03.016\", \"Serial number\": \"S32000001\", \"Head resistance\": \"2950\", \"Panels "
            "printed\": \"1234\", \"Ribbon type\": \"YMCKO\", \"Remaining count\": \"120\", \"Magnetic encoder\": "
            "\"Yes\", \"Smart card\": \"No\"}]\n");
  EXPECT_EQ(Cli("frobnicate").status, 2);
}

}  // namespace
