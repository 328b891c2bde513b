// The sandbox itself: every queue exists with our PPD installed byte for byte,
// and libcups hands the PPD out as a link into the sandbox's server root.
#include <cups/cups.h>
#include <cups/ppd.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "SandboxEnv.h"

namespace {

std::string ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

const std::map<std::string, std::string> kQueuePpds = {
    {"Card", "VKTS32.ppd"},        {"Card2", "VKTS32.ppd"},     {"VKTS31Socket", "VKTS31.ppd"},
    {"VKTS1Socket", "VKTS1.ppd"},  {"VKTS3CSocket", "VKTS32C.ppd"}, {"VKTS32Usb", "VKTS32.ppd"},
    {"VKTS31Ipp", "VKTS31.ppd"},   {"VKTS31Dnssd", "VKTS31.ppd"}, {"VKTS31Lower", "vkts31-lowercase.ppd"},
};

class SandboxTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vkt_sandbox::Require()); }
};

TEST_F(SandboxTest, EveryQueueExistsAndIsListedInTheEnvironment) {
  cups_dest_t* dests = nullptr;
  const int count = cupsGetDests(&dests);
  for (const auto& [queue, ppd] : kQueuePpds) {
    EXPECT_NE(cupsGetDest(queue.c_str(), nullptr, count, dests), nullptr) << queue;
    EXPECT_NE(vkt_sandbox::Var("VKT_SANDBOX_QUEUES").find(queue), std::string::npos) << queue;
  }
  cupsFreeDests(count, dests);
}

TEST_F(SandboxTest, InstalledPpdsAreTheFixturesByteForByte) {
  for (const auto& [queue, ppd] : kQueuePpds) {
    const std::string fixture = ReadAll(vkt_sandbox::FixtureDir() + "/" + ppd);
    ASSERT_FALSE(fixture.empty()) << ppd;
    EXPECT_EQ(ReadAll(vkt_sandbox::Base() + "/ppd/" + queue + ".ppd"), fixture) << queue;
  }
}

TEST_F(SandboxTest, GetPpdReturnsALinkIntoTheServerRoot) {
  char path[1024] = "";
  time_t modtime = 0;
  ASSERT_EQ(cupsGetPPD3(CUPS_HTTP_DEFAULT, "VKTS3CSocket", &modtime, path, sizeof path), HTTP_STATUS_OK)
      << cupsLastErrorString();
  std::error_code ec;
  ASSERT_TRUE(std::filesystem::is_symlink(path, ec)) << path;
  EXPECT_EQ(std::filesystem::read_symlink(path, ec), vkt_sandbox::Base() + "/ppd/VKTS3CSocket.ppd");
  unlink(path);
}

TEST_F(SandboxTest, LowerCaseQueueCarriesTheLowerCasePcFileName) {
  ppd_file_t* ppd = ppdOpenFile((vkt_sandbox::Base() + "/ppd/VKTS31Lower.ppd").c_str());
  ASSERT_NE(ppd, nullptr);
  EXPECT_STREQ(ppd->pcfilename, "vkts31.ppd");
  ppdClose(ppd);
}

}  // namespace
