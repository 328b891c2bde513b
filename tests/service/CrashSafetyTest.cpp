// Killed at any moment while it replaces a PPD, the service leaves the old
// file or the new one, whole, and never a second name on it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <thread>

#include "PpdReplacer.h"
#include "ServiceTestSupport.h"

using namespace service_test;

namespace {

TEST(CrashSafety, KilledAtRandomMomentsWhileReplacingLeavesOldOrNewWhole) {
  TemporaryFolder root(FastFolderBase());
  const std::string folder = root.Path() + "/ppd";
  ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
  const std::string card = folder + "/Card.ppd";
  const std::string a = ReadFile(OwnFixturePpd());
  // B differs from A in many editable lines, so a torn file cannot look whole.
  std::string b = ReplaceOnce(a, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both");
  b = ReplaceOnce(b, "StaticText:Orvex", "StaticText:" + std::string(200, 'B'));
  b = ReplaceOnce(b, "PrinterSerialNo: S32-000123", "PrinterSerialNo: " + std::string(200, 'S'));
  WriteFile(card, a, 0640);
  const std::string sourceA = root.Path() + "/a.ppd", sourceB = root.Path() + "/b.ppd";
  WriteFile(sourceA, a);
  WriteFile(sourceB, b);

  // Kill within about three replacements' time as measured on this machine
  // (fsync and the sanitizers make it vary a lot).
  long replaceMicroseconds = 0;
  {
    PpdReplacer replacer(folder);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(replacer.Replace(sourceB, card, ::getuid()).done);
    ASSERT_TRUE(replacer.Replace(sourceA, card, ::getuid()).done);
    replaceMicroseconds =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count() / 2;
  }
  std::mt19937 random(20261122);
  std::uniform_int_distribution<long> delayMicroseconds(0, std::max(1000L, 3 * replaceMicroseconds));
  int sawA = 0, sawB = 0;
  const auto started = std::chrono::steady_clock::now();
  int rounds = 0;
  // 200 kills, or fewer where fsync or the sanitizers make a round slow:
  // stop after about four seconds once 50 were made.
  for (; rounds < 200 && (rounds < 50 || std::chrono::steady_clock::now() - started < std::chrono::seconds(4));
       ++rounds) {
    const int round = rounds;
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      // Replace back and forth until killed.
      PpdReplacer replacer(folder);
      if (::write(ready[1], "r", 1) != 1) ::_exit(3);
      for (;;) {
        const std::string current = ReadFile(card);
        replacer.Replace(current == a ? sourceB : sourceA, card, ::getuid());
      }
    }
    ::close(ready[1]);
    char byte;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    ::close(ready[0]);
    std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
    ASSERT_EQ(::kill(child, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the replacing child ended by itself";

    const std::string now = ReadFile(card);
    ASSERT_TRUE(now == a || now == b) << "round " << round << ": torn PPD of " << now.size() << " bytes";
    (now == a ? sawA : sawB)++;
    struct stat info {};
    ASSERT_EQ(::lstat(card.c_str(), &info), 0);
    ASSERT_TRUE(S_ISREG(info.st_mode));
    ASSERT_EQ(info.st_nlink, 1u) << "round " << round;
    ASSERT_EQ(info.st_mode & 07777, 0640u);
    if (::access((card + ".O").c_str(), F_OK) == 0) {
      const std::string backup = ReadFile(card + ".O");
      ASSERT_TRUE(backup == a || backup == b) << "round " << round << ": torn backup";
    }
  }
  const auto took = std::chrono::steady_clock::now() - started;
  std::printf("%d kills in %lld ms, one replacement takes about %ld us\n", rounds,
              static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(took).count()),
              replaceMicroseconds);
  // Both files were seen in place: the kills did land among replacements.
  EXPECT_GT(sawA, 0);
  EXPECT_GT(sawB, 0);

  // Left-over temporary files are cleared, and the folder serves again.
  PpdReplacer replacer(folder);
  replacer.RemoveStaleTemporaries();
  for (const std::string& name : FolderEntries(folder)) EXPECT_TRUE(name == "Card.ppd" || name == "Card.ppd.O") << name;
  const std::string before = ReadFile(card);
  PpdReplacer::Outcome outcome = replacer.Replace(before == a ? sourceB : sourceA, card, ::getuid());
  EXPECT_TRUE(outcome.done) << outcome.reason;
  EXPECT_EQ(ReadFile(card), before == a ? b : a);
  EXPECT_EQ(ReadFile(card + ".O"), before);
}

}  // namespace
