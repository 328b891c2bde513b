// The card-queue listing through the sandbox's scheduler, whose PPDs come
// back as links to the installed files.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <thread>

#include "CardQueues.h"
#include "SandboxEnv.h"

namespace {

std::string Listed() {
  std::string text;
  for (const std::string& name : card_queues::List()) text += name + "|";
  return text;
}

TEST(CardQueues, ListsCardPrintersOnDirectSchemesThroughALinkARelativeLinkOrACopy) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string expected = "Card|Card2|VKTS1Socket|VKTS31Socket|VKTS32Usb|VKTS3CSocket|";
  EXPECT_EQ(Listed(), expected);
  // A server root named relative to the working folder makes the scheduler's
  // link relative too: its text is followed from here, not from the folder of
  // the link (libcups reads the variables again in a new thread).
  const std::filesystem::path root = std::getenv("CUPS_SERVERROOT"), cwd = std::filesystem::current_path();
  char links[] = "/tmp/vkt-links-XXXXXX";
  ASSERT_NE(mkdtemp(links), nullptr);
  std::filesystem::current_path(root.parent_path());
  setenv("CUPS_SERVERROOT", root.filename().c_str(), 1);
  setenv("TMPDIR", links, 1);
  std::string relative;
  std::thread([&] { relative = Listed(); }).join();
  std::filesystem::current_path(cwd);
  setenv("CUPS_SERVERROOT", root.c_str(), 1);
  unsetenv("TMPDIR");
  EXPECT_TRUE(std::filesystem::is_empty(links));  // every returned link removed
  std::filesystem::remove_all(links);
  EXPECT_EQ(relative, expected);
  // A user who may not read the installed file gets a downloaded copy, no
  // link (a child process: access() asks with the real user).
  const pid_t child = ::fork();
  if (child == 0) {
    _exit(::setgid(65534) == 0 && ::setuid(65534) == 0 && Listed() == expected ? 0 : 1);
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
