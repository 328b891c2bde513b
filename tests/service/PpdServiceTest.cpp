// The PPD service end to end over TCP: what it puts in place, and every
// request it refuses leaves the installed PPD byte for byte as it was.
#include <sched.h>
#include <sys/mount.h>

#include "ServiceTestSupport.h"

using namespace service_test;

namespace {

TEST_F(ServiceFixture, EachKindOfLineIsReplacedAndTheOldFileKept) {
  AskOk(Source(original) + "|" + card);  // an unchanged copy: OK, nothing written
  EXPECT_EQ(State(), kUnchanged);
  const std::pair<std::string, std::string> edits[] = {
      {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
      {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 14hWhiteMonochrome"},
      {"*FileName:VKTS3.log", "*FileName:Cards.log"},
  };
  for (size_t i = 0; i < std::size(edits); ++i) {
    SCOPED_TRACE(edits[i].second);
    const std::string before = Installed(), after = Edited(edits[i].first, edits[i].second);
    // A request of exactly 256 bytes, and one in the client's zero-filled buffer.
    std::string request = Source(after, ::getuid(), i == 0 ? 256 : 0) + "|" + card;
    if (i == 1) request.resize(256, '\0');
    AskOk(request);
    EXPECT_EQ(State(after), "new 640 1 root:lp Card.ppd.O");
    EXPECT_EQ(ReadFile(card + ".O"), before);
  }
}

TEST_F(ServiceFixture, RefusedRequestsChangeNothing) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));  // edit1.ppd
  const std::string &p = ppdFolder, &u = userFolder, r = root, kSource = PpdReplacer::kSourceRefusal;
  ASSERT_EQ(::symlink(source.c_str(), (u + "/link.ppd").c_str()) | ::symlink(card.c_str(), (p + "/Link.ppd").c_str()) |
                ::mkfifo((u + "/fifo.ppd").c_str(), 0600) | ::mkfifo((p + "/Fifo.ppd").c_str(), 0600),
            0);
  const std::string others[] = {r + "/ppdx/Card.ppd", p + "/sub/Card.ppd"};
  for (const std::string& other : others) {
    std::filesystem::create_directories(std::filesystem::path(other).parent_path());
    WriteFile(other, original);
  }
  WriteFile(p + "/Card.txt", original);
  WriteFile(p + "/Bare.ppd", ReplaceOnce(original, "*PCFileName: \"VKTS32.PPD\"\n", "*%\n"));
  WriteFile(p + "/Lower.ppd", ReplaceOnce(original, "\"VKTS32.PPD\"", "\"vkts32.ppd\""));
  std::string big = Edited("StaticText:Orvex", "StaticText:x");
  big.resize(4 * 1024 * 1024 + 1, '\n');
  const std::string kDestination = "the destination must be an absolute path without \"..\"",
                    kNotCard = "the destination is not the PPD of a VKT card printer",
                    kMalformed = "malformed request (expected <source>|<destination>)";
  const std::pair<std::string, std::string> cases[] = {
      {source + "|" + p + "/../ppd/Card.ppd", kDestination},
      {source + "|" + p + "/..", kDestination},
      {source + "|Card.ppd", kDestination},
      {"edit1.ppd|" + card, "the source must be an absolute path without \"..\""},
      {source + card, kMalformed},
      {source + "|" + card + "|" + card, kMalformed},
      {source + "|" + card + "\n", "malformed request (control character)"},
      {u + "/link.ppd|" + card, kSource},
      {u + "/missing.ppd|" + card, kSource},
      {source + "|" + p + "/Link.ppd", "the destination is a link"},
      {source + "|" + r + "/ppdx/Card.ppd", "the destination is not in the PPD folder"},
      {source + "|" + p + "/sub/Card.ppd", "the destination is not directly in the PPD folder"},
      {source + "|" + p + "/Card.txt", "the destination is not named <queue>.ppd"},
      {source + "|" + p + "/.ppd", "the destination is not named <queue>.ppd"},
      {source + "|" + p + "/Missing.ppd", "cannot open the destination"},
      {u + "/fifo.ppd|" + card, kSource},
      {source + "|" + p + "/Fifo.ppd", "the destination is not a regular file"},
      {Source(big) + "|" + card, kSource},
      // Only the PPD of a card printer may be written.
      {source + "|" + p + "/Bare.ppd", kNotCard},
      {source + "|" + p + "/Lower.ppd", kNotCard},
      {Source(Edited("FrontX: 0", "FrontX: 1"), ::getuid(), 257) + "|" + card, "request longer than 256 bytes"},
      // The content rule is applied (its cases are in PpdEditCheckTest).
      {Source(Edited("Rotation: 0None", "Rotation: 4Sideways")) + "|" + card,
       "the edited PPD changes more than the settings: line 116: VKTS32Rotation has no choice \"4Sideways\""},
  };
  for (const auto& [request, reason] : cases) {
    SCOPED_TRACE(request.substr(0, 300));
    ExpectRefused(request, reason);
  }
  for (const std::string& other : others) EXPECT_EQ(ReadFile(other), original);
  // A hard link: replacing one name would leave the other behind.
  ASSERT_EQ(::link(card.c_str(), (p + "/Hard.ppd").c_str()), 0);
  EXPECT_EQ(Ask(port, source + "|" + card), "ERROR: the destination has more than one link");
  EXPECT_EQ(State(), "old 640 2 root:lp");
}

// Runs as root: the requests are made by uid 65534. Its own file in a folder
// only root may enter is read with its rights, so it is refused like a file
// that is not there; root's request for the same file afterwards shows the
// service has its own rights back. Meanwhile root holds ten connections
// without a word: it keeps four, the others are closed at once, and the four
// are closed unanswered when their time is up.
TEST_F(ServiceFixture, RequestsOfAUserNotInTheGroupOfAFileItCannotReadAndOfAUserFloodingTheService) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to ask as uid 65534";
  const std::string edit = Edited("FrontX: 0", "FrontX: 1"), three = Edited("FrontX: 0", "FrontX: 3"),
                    refusal = "ERROR: " + std::string(PpdReplacer::kSourceRefusal);
  const std::string request = Source(edit, kNobody) + "|" + card, hidden = root + "/root-only";
  ExpectRefused(request, PpdReplacer::kSourceRefusal);  // root may ask, but the file is not root's
  EXPECT_EQ(AskAsNobody(port, request), "ERROR: user 65534 is neither root nor in group lpadmin");
  StartService("nogroup", std::chrono::seconds(4));
  pollfd fds[10];
  for (pollfd& fd : fds) fd = {Connect(port), POLLIN, 0};
  int held = 0, closed = 0;
  // Until six are closed, or for 3 s on a machine too busy to accept them.
  for (int round = 0; round < 60 && closed < 6; ++round) {
    ::usleep(50 * 1000);
    ::poll(fds, 10, 0);
    held = closed = 0;
    for (const pollfd& fd : fds) ++(fd.fd >= 0 && !(fd.revents & (POLLIN | POLLHUP)) ? held : closed);
  }
  EXPECT_EQ(std::to_string(held) + " held, " + std::to_string(closed) + " closed", "4 held, 6 closed");
  // A member of the group may not use root's file, which it cannot read, nor
  // its own behind a folder it may not enter, nor a link to it...
  ASSERT_EQ(::mkdir(hidden.c_str(), 0700), 0);
  WriteFile(hidden + "/edit.ppd", three);
  ASSERT_EQ(::chown((hidden + "/edit.ppd").c_str(), kNobody, kNobody), 0);
  ASSERT_EQ(::symlink((hidden + "/edit.ppd").c_str(), (userFolder + "/link.ppd").c_str()), 0);
  for (const std::string& refused : {Source(edit) + "|" + card, hidden + "/edit.ppd|" + card,
                                     hidden + "/missing.ppd|" + card, userFolder + "/link.ppd|" + card})
    EXPECT_EQ(AskAsNobody(port, refused), refusal) << refused;
  EXPECT_EQ(State(), kUnchanged);
  // ...but may ask for a file of its own.
  EXPECT_EQ(AskAsNobody(port, request), "OK");
  EXPECT_EQ(Installed(), edit);
  for (const pollfd& fd : fds) {
    char byte;
    EXPECT_EQ(::recv(fd.fd, &byte, 1, 0), 0);  // closed without an answer
    ::close(fd.fd);
  }
  ASSERT_EQ(::chown((hidden + "/edit.ppd").c_str(), 0, 0), 0);
  AskOk(hidden + "/edit.ppd|" + card);
  EXPECT_EQ(Installed(), three);
}

// The disk filling up while the replacement is written: a PPD folder on a
// tmpfs of its own (in a private mount namespace, so as root), with
// `freePages` pages of 4 KiB left. The PPD takes two pages, so the backup
// copy fails (0, 1), the new file fails (2, 3), or both fit (4). Each case is
// "<outcome>|<installed old, new or torn>|<entries of the folder>".
TEST(PpdReplacer, ADiskFullWhileWritingLeavesTheOldPpdWhole) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to mount a tmpfs";
  const std::string original = FixturePpd(), edited = ReplaceOnce(original, "FrontX: 0", "FrontX: 5");
  const std::string full = "cannot write the temporary file (No space left on device)|old|Card.ppd ";
  const std::pair<int, std::string> cases[] = {
      {0, full}, {1, full}, {2, full}, {3, full}, {4, "OK|new|Card.ppd Card.ppd.O "}};
  for (const auto& [freePages, expected] : cases) {
    ppd_test::ScratchDir folder;
    const std::string source = folder.path() / "edit.ppd", disk = folder.path() / "disk", ppd = disk + "/ppd";
    WriteFile(source, edited);
    ASSERT_EQ(::mkdir(disk.c_str(), 0755), 0);
    const auto outcome = InChild([&, freePages = freePages]() -> std::optional<std::string> {
      if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
          ::mount("vkt-full", disk.c_str(), "tmpfs", 0, "size=64k") != 0)
        return "skip: no private tmpfs here (" + std::string(std::strerror(errno)) + ")";
      ::mkdir(ppd.c_str(), 0755);
      WriteFile(ppd + "/Card.ppd", original, 0640);
      const int fill = ::open((disk + "/fill").c_str(), O_WRONLY | O_CREAT, 0600);
      const std::string zeros(4096, '\0');
      off_t filled = 0;
      for (ssize_t put; (put = ::write(fill, zeros.data(), zeros.size())) > 0;) filled += put;
      const bool full = errno == ENOSPC && ::ftruncate(fill, filled - freePages * 4096) == 0;
      ::close(fill);
      const PpdReplacer::Outcome done = PpdReplacer(ppd).Replace(source, ppd + "/Card.ppd", 0);
      const std::string now = ReadFile(ppd + "/Card.ppd");
      return (!full ? "the disk did not fill" : (done.done ? "OK" : done.reason)) + "|" +
             (now == original ? "old" : (now == edited ? "new" : "torn")) + "|" + FolderEntries(ppd);
    });
    if (outcome && outcome->starts_with("skip: ")) GTEST_SKIP() << *outcome;
    EXPECT_EQ(outcome, expected) << freePages << " pages free";
  }
}

}  // namespace
