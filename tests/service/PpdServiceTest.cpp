// The PPD service end to end over TCP: what it puts in place, and every
// request it refuses leaves the installed PPD byte for byte as it was.
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "ServiceTestSupport.h"

using namespace service_test;

namespace {

TEST_F(ServiceFixture, EachKindOfLineIsReplacedAndTheOldFileKept) {
  AskOk(Source(original) + "|" + card);  // an unchanged copy: OK, nothing written
  ExpectNothingChanged();
  const std::vector<std::pair<std::string, std::string>> edits = {
      {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
      {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 14hWhiteMonochrome"},
      {"PrinterSerialNo: S32-000123", "PrinterSerialNo: S32-999"},
      {"FrontX: 0", "FrontX: -7"},
      {"*FileName:VKTS3.log", "*FileName:Cards.log"},
      {"StaticText:Orvex", "StaticText:Front desk"},
  };
  for (size_t i = 0; i < edits.size(); ++i) {
    SCOPED_TRACE(edits[i].second);
    const std::string before = Installed();
    const std::string after = Edited(edits[i].first, edits[i].second);
    // A request of exactly 256 bytes, and one in the client's zero-filled buffer.
    std::string request = Source(after, ::getuid(), i == 0 ? 256 : 0) + "|" + card;
    if (i == 1) request.resize(256, '\0');
    AskOk(request);
    EXPECT_EQ(Installed(), after);
    EXPECT_EQ(ReadFile(card + ".O"), before);
    struct stat info {};
    ASSERT_EQ(::stat(card.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_nlink, 1u);
    EXPECT_EQ(info.st_uid + info.st_gid, ::geteuid() == 0 ? 7u : ::getuid() + ::getgid());
    EXPECT_EQ(FolderEntries(ppdFolder), (std::vector<std::string>{"Card.ppd", "Card.ppd.O"}));
  }
}

TEST_F(ServiceFixture, RefusedRequestsChangeNothing) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));  // edit1.ppd
  const std::string &p = ppdFolder, &u = userFolder, r = root.Path(), kSource = PpdReplacer::kSourceRefusal;
  ASSERT_EQ(::symlink(source.c_str(), (u + "/link.ppd").c_str()), 0);
  ASSERT_EQ(::symlink(card.c_str(), (p + "/Link.ppd").c_str()), 0);
  WriteFile(r + "/outside.ppd", original);
  ASSERT_EQ(::symlink((r + "/outside.ppd").c_str(), (p + "/Far.ppd").c_str()), 0);
  for (const std::string& folder : {r + "/other", r + "/ppdx", p + "/sub"}) {
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
    WriteFile(folder + "/Card.ppd", original);
  }
  WriteFile(p + "/Card.txt", original);
  WriteFile(p + "/Office.ppd", ReplaceOnce(original, "\"VKTS32.PPD\"", "\"LASER.PPD\""));
  WriteFile(p + "/Bare.ppd", ReplaceOnce(original, "*PCFileName: \"VKTS32.PPD\"\n", "*%\n"));
  WriteFile(p + "/Lower.ppd", ReplaceOnce(original, "\"VKTS32.PPD\"", "\"vkts32.ppd\""));
  ASSERT_EQ(::mkfifo((u + "/fifo.ppd").c_str(), 0600), 0);
  ASSERT_EQ(::mkfifo((p + "/Fifo.ppd").c_str(), 0600), 0);
  std::string big = Edited("StaticText:Orvex", "StaticText:x");
  big.resize(4 * 1024 * 1024 + 1, '\n');
  const std::pair<std::string, std::string> cases[] = {
      {source + "|" + p + "/../ppd/Card.ppd", "the destination must be an absolute path without \"..\""},
      {u + "/../user/edit1.ppd|" + card, "the source must be an absolute path without \"..\""},
      {source + "|" + p + "/..", "the destination must be an absolute path without \"..\""},
      {source + "|Card.ppd", "the destination must be an absolute path without \"..\""},
      {"edit1.ppd|" + card, "the source must be an absolute path without \"..\""},
      {source + card, "malformed request (expected <source>|<destination>)"},
      {source + "|" + card + "|" + card, "malformed request (expected <source>|<destination>)"},
      {source + "|" + card + "\n", "malformed request (control character)"},
      {u + "/link.ppd|" + card, kSource},
      {u + "/missing.ppd|" + card, kSource},
      {source + "|" + p + "/Link.ppd", "the destination is a link"},
      {source + "|" + p + "/Far.ppd", "the destination is a link"},
      {source + "|" + r + "/other/Card.ppd", "the destination is not in the PPD folder"},
      {source + "|" + r + "/ppdx/Card.ppd", "the destination is not in the PPD folder"},
      {source + "|" + p + "/sub/Card.ppd", "the destination is not directly in the PPD folder"},
      {source + "|" + p + "//Card.ppd", "the destination is not directly in the PPD folder"},
      {source + "|" + p + "/Card.txt", "the destination is not named <queue>.ppd"},
      {source + "|" + p + "/.ppd", "the destination is not named <queue>.ppd"},
      {source + "|" + p + "/Missing.ppd", "cannot open the destination"},
      {u + "/fifo.ppd|" + card, kSource},
      {source + "|" + p + "/Fifo.ppd", "the destination is not a regular file"},
      {u + "|" + card, kSource},
      {Source(big) + "|" + card, kSource},
      // Only the PPD of a card printer may be written.
      {source + "|" + p + "/Office.ppd", "the destination is not the PPD of a VKT card printer"},
      {source + "|" + p + "/Bare.ppd", "the destination is not the PPD of a VKT card printer"},
      {source + "|" + p + "/Lower.ppd", "the destination is not the PPD of a VKT card printer"},
      {Source(Edited("FrontX: 0", "FrontX: 1"), ::getuid(), 257) + "|" + card, "request longer than 256 bytes"},
      // The content rule is applied.
      {Source(Edited("*FrontX: 0\n", "*FrontX: 0\n*cupsFilter2: \"application/pdf application/pdf 0 /x\"\n")) + "|" +
           card,
       "the edited PPD changes more than the settings: the edited PPD has 146 lines, the installed one 145"},
      {Source(Edited("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 4Sideways")) + "|" + card,
       "the edited PPD changes more than the settings: line 116: VKTS32Rotation has no choice \"4Sideways\""},
  };
  for (const auto& [request, reason] : cases) {
    SCOPED_TRACE(request.substr(0, 300));
    ExpectRefused(request, reason);
  }
  for (const std::string& other :
       {r + "/outside.ppd", r + "/other/Card.ppd", r + "/ppdx/Card.ppd", p + "/sub/Card.ppd"})
    EXPECT_EQ(ReadFile(other), original);
  // A hard link: replacing one name would leave the other behind.
  ASSERT_EQ(::link(card.c_str(), (p + "/Hard.ppd").c_str()), 0);
  ExpectRefused(source + "|" + card, "the destination has more than one link");
}

TEST_F(ServiceFixture, AClientThatSendsNothingIsDroppedAndOthersAreServed) {
  StartService(ServiceGroupForTests(), std::chrono::milliseconds(300));
  const int silent = Connect(port);
  ASSERT_GE(silent, 0);
  // Served while the silent client still holds its connection.
  const std::string first = Edited("FrontX: 0", "FrontX: 1");
  AskOk(Source(first) + "|" + card);
  EXPECT_EQ(Installed(), first);
  // The service closes the silent connection without an answer.
  char byte;
  EXPECT_EQ(::recv(silent, &byte, 1, 0), 0);
  ::close(silent);
}

// Runs as root: the requests are made by uid 65534.
TEST_F(ServiceFixture, ARequesterNeitherRootNorInTheGroupNorOwningTheSource) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to ask as uid 65534";
  const std::string edit = Edited("FrontX: 0", "FrontX: 1");
  const std::string request = Source(edit, kNobody) + "|" + card;
  ExpectRefused(request, PpdReplacer::kSourceRefusal);
  EXPECT_EQ(AskAsNobody(port, request), "ERROR: user 65534 is neither root nor in group lpadmin");
  ExpectNothingChanged();
  StartService("vkt-no-such-group");  // a group that does not exist: only root
  EXPECT_EQ(AskAsNobody(port, request), "ERROR: user 65534 is neither root nor in group vkt-no-such-group");
  ExpectNothingChanged();
  // A member of the configured group may ask, for a file of their own...
  StartService("nogroup");
  EXPECT_EQ(AskAsNobody(port, request), "OK");
  EXPECT_EQ(Installed(), edit);
  // ...but not with root's file, which it cannot read.
  EXPECT_EQ(AskAsNobody(port, Source(Edited("FrontX: 1", "FrontX: 2")) + "|" + card),
            "ERROR: " + std::string(PpdReplacer::kSourceRefusal));
  EXPECT_EQ(Installed(), edit);
}

}  // namespace

namespace {

// Runs as root: the requests are made by uid 65534, whose own file sits in a
// folder only root may enter. The service reads it with the requester's
// rights, so it is refused like a file that is not there; a request from
// root for the same file afterwards shows the service has its own rights back.
TEST_F(ServiceFixture, TheSourceIsReadWithTheRequestersRights) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to ask as uid 65534";
  StartService("nogroup");
  const std::string hidden = root.Path() + "/root-only";
  ASSERT_EQ(::mkdir(hidden.c_str(), 0700), 0);
  const std::string edit = Edited("FrontX: 0", "FrontX: 3");
  WriteFile(hidden + "/edit.ppd", edit);
  ASSERT_EQ(::chown((hidden + "/edit.ppd").c_str(), kNobody, kNobody), 0);
  const std::string refusal = "ERROR: " + std::string(PpdReplacer::kSourceRefusal);
  EXPECT_EQ(AskAsNobody(port, hidden + "/edit.ppd|" + card), refusal);
  EXPECT_EQ(AskAsNobody(port, hidden + "/missing.ppd|" + card), refusal);
  ExpectNothingChanged();
  // A link of nobody's to a file nobody may read is refused the same way.
  ASSERT_EQ(::symlink((hidden + "/edit.ppd").c_str(), (userFolder + "/link.ppd").c_str()), 0);
  EXPECT_EQ(AskAsNobody(port, userFolder + "/link.ppd|" + card), refusal);
  ExpectNothingChanged();
  ASSERT_EQ(::chown((hidden + "/edit.ppd").c_str(), 0, 0), 0);
  AskOk(hidden + "/edit.ppd|" + card);
  EXPECT_EQ(Installed(), edit);
}

// Runs as root: uid 65534 opens ten connections and sends nothing. It keeps
// four; the others are closed at once, and root is served meanwhile.
TEST_F(ServiceFixture, OneUserFloodingTheServiceKeepsOnlyItsShareAndOthersAreServed) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to flood as uid 65534";
  StartService(ServiceGroupForTests(), std::chrono::seconds(30));
  int report[2], release[2];
  ASSERT_EQ(::pipe(report), 0);
  ASSERT_EQ(::pipe(release), 0);
  const pid_t flooder = ::fork();
  if (flooder == 0) {
    ::close(release[1]);
    char held = 0, closed = 0;
    if (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0) {
      pollfd fds[10];
      for (pollfd& fd : fds) fd = {Connect(port), POLLIN, 0};
      // Until six are closed, or for 5 s on a machine too busy to accept them.
      for (int round = 0; round < 50 && closed < 6; ++round) {
        ::usleep(100 * 1000);
        ::poll(fds, 10, 0);
        held = closed = 0;
        for (const pollfd& fd : fds) (fd.fd >= 0 && !(fd.revents & (POLLIN | POLLHUP)) ? held : closed)++;
      }
    }
    const char counts[2] = {held, closed};
    [[maybe_unused]] ssize_t written = ::write(report[1], counts, 2);
    char byte;
    [[maybe_unused]] ssize_t got = ::read(release[0], &byte, 1);  // holds its connections until then
    ::_exit(0);
  }
  ::close(release[0]);
  ::close(report[1]);
  char counts[2] = {0, 0};
  ASSERT_EQ(::read(report[0], counts, 2), 2);
  EXPECT_EQ(counts[0], 4) << "connections the flooder holds";
  EXPECT_EQ(counts[1], 6) << "connections closed at once";
  const std::string edit = Edited("FrontX: 0", "FrontX: 4");
  AskOk(Source(edit) + "|" + card);
  EXPECT_EQ(Installed(), edit);
  ::close(release[1]);
  ::waitpid(flooder, nullptr, 0);
  ::close(report[0]);
}

}  // namespace

namespace {

// The disk filling up while the replacement is written: a PPD folder on a
// tmpfs of its own (a private mount namespace; a user namespace when not
// root), with `freePages` pages of 4 KiB left. The PPD takes two pages, so
// the backup copy fails (0, 1), the new file fails (2, 3), or both fit (4).
// Returns "<outcome>|<installed whole or changed>|<entries of the folder>".
std::string ReplaceOnAFullDisk(int freePages, const std::string& original, const std::string& edited) {
  TemporaryFolder folder;
  const std::string source = folder.Path() + "/edit.ppd", mountPoint = folder.Path() + "/disk";
  WriteFile(source, edited);
  if (::mkdir(mountPoint.c_str(), 0755) != 0) return "cannot make the mount point";
  int result[2];
  if (::pipe(result) != 0) return "no pipe";
  const uid_t uid = ::getuid();
  const gid_t gid = ::getgid();
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(result[0]);
    std::string text;
    const auto write = [](const std::string& path, const std::string& data) {
      std::ofstream out(path);
      return static_cast<bool>(out << data << std::flush);
    };
    const bool isolated = uid == 0 ? ::unshare(CLONE_NEWNS) == 0
                                   : ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 &&
                                         write("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") &&
                                         write("/proc/self/setgroups", "deny") &&
                                         write("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1");
    const std::string ppd = mountPoint + "/ppd", card = ppd + "/Card.ppd";
    if (!isolated || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("vkt-full", mountPoint.c_str(), "tmpfs", 0, "size=64k") != 0) {
      text = "skip: no private tmpfs here (" + std::string(std::strerror(errno)) + ")";
    } else {
      ::mkdir(ppd.c_str(), 0755);
      WriteFile(card, original, 0640);
      const int fill = ::open((mountPoint + "/fill").c_str(), O_WRONLY | O_CREAT, 0600);
      const std::string zeros(4096, '\0');
      off_t filled = 0;
      for (ssize_t put; (put = ::write(fill, zeros.data(), zeros.size())) > 0;) filled += put;
      const bool full = errno == ENOSPC && ::ftruncate(fill, filled - freePages * 4096) == 0;
      ::close(fill);
      const PpdReplacer::Outcome outcome = PpdReplacer(ppd).Replace(source, card, ::getuid());
      text = (!full          ? "the disk did not fill"
              : outcome.done ? "OK"
                             : outcome.reason) +
             "|" +
             (ReadFile(card) == original ? "old"
              : ReadFile(card) == edited ? "new"
                                         : "torn") +
             "|";
      for (const std::string& name : FolderEntries(ppd)) text += name + " ";
    }
    [[maybe_unused]] ssize_t put = ::write(result[1], text.data(), text.size());
    ::_exit(0);
  }
  ::close(result[1]);
  std::string text;
  char buffer[512];
  for (ssize_t got; (got = ::read(result[0], buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(got));
  ::close(result[0]);
  ::waitpid(child, nullptr, 0);
  return text;
}

TEST(PpdReplacer, ADiskFullWhileWritingLeavesTheOldPpdWhole) {
  const std::string original = ReadFile(OwnFixturePpd());
  const std::string edited = ReplaceOnce(original, "FrontX: 0", "FrontX: 5");
  const std::string full = "cannot write the temporary file (No space left on device)|old|Card.ppd ";
  const std::pair<int, std::string> cases[] = {
      {0, full}, {1, full}, {2, full}, {3, full}, {4, "OK|new|Card.ppd Card.ppd.O "}};
  for (const auto& [freePages, expected] : cases) {
    const std::string outcome = ReplaceOnAFullDisk(freePages, original, edited);
    if (outcome.rfind("skip: ", 0) == 0) GTEST_SKIP() << outcome;
    EXPECT_EQ(outcome, expected) << freePages << " pages free";
  }
}

}  // namespace
