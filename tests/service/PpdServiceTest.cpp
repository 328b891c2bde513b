// The PPD service end to end over TCP: what it puts in place, and every
// request it refuses leaves the installed PPD byte for byte as it was.
#include <sys/socket.h>
#include <sys/stat.h>

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
  const std::string &p = ppdFolder, &u = userFolder, r = root.Path();
  ASSERT_EQ(::symlink(source.c_str(), (u + "/link.ppd").c_str()), 0);
  ASSERT_EQ(::symlink(card.c_str(), (p + "/Link.ppd").c_str()), 0);
  WriteFile(r + "/outside.ppd", original);
  ASSERT_EQ(::symlink((r + "/outside.ppd").c_str(), (p + "/Far.ppd").c_str()), 0);
  for (const std::string& folder : {r + "/other", r + "/ppdx", p + "/sub"}) {
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
    WriteFile(folder + "/Card.ppd", original);
  }
  WriteFile(p + "/Card.txt", original);
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
      {u + "/link.ppd|" + card, "the source is a link"},
      {source + "|" + p + "/Link.ppd", "the destination is a link"},
      {source + "|" + p + "/Far.ppd", "the destination is a link"},
      {source + "|" + r + "/other/Card.ppd", "the destination is not in the PPD folder"},
      {source + "|" + r + "/ppdx/Card.ppd", "the destination is not in the PPD folder"},
      {source + "|" + p + "/sub/Card.ppd", "the destination is not directly in the PPD folder"},
      {source + "|" + p + "//Card.ppd", "the destination is not directly in the PPD folder"},
      {source + "|" + p + "/Card.txt", "the destination is not named <queue>.ppd"},
      {source + "|" + p + "/.ppd", "the destination is not named <queue>.ppd"},
      {source + "|" + p + "/Missing.ppd", "cannot open the destination"},
      {u + "/fifo.ppd|" + card, "the source is not a regular file"},
      {source + "|" + p + "/Fifo.ppd", "the destination is not a regular file"},
      {u + "|" + card, "the source is not a regular file"},
      {Source(big) + "|" + card, "the source is larger than 4 MiB"},
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
  ExpectRefused(request, "the source does not belong to the requester");
  EXPECT_EQ(AskAsNobody(port, request), "ERROR: user 65534 is neither root nor in group lpadmin");
  ExpectNothingChanged();
  StartService("vkt-no-such-group");  // a group that does not exist: only root
  EXPECT_EQ(AskAsNobody(port, request), "ERROR: user 65534 is neither root nor in group vkt-no-such-group");
  ExpectNothingChanged();
  // A member of the configured group may ask, for a file of their own...
  StartService("nogroup");
  EXPECT_EQ(AskAsNobody(port, request), "OK");
  EXPECT_EQ(Installed(), edit);
  // ...but not with root's file.
  EXPECT_EQ(AskAsNobody(port, Source(original) + "|" + card), "ERROR: the source does not belong to the requester");
  EXPECT_EQ(Installed(), edit);
}

}  // namespace
