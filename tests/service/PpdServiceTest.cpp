// The PPD service end to end over TCP: what it puts in place, and every
// request it refuses leaves the installed PPD byte for byte as it was.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <regex>

#include "ServiceFixture.h"

using namespace service_test;

namespace {

using AcceptedEdits = ServiceFixture;
using Refusals = ServiceFixture;

TEST_F(AcceptedEdits, EachKindOfLineIsReplacedAndTheOldFileKept) {
  const std::vector<std::pair<std::string, std::string>> edits = {
      {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
      {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 14hWhiteMonochrome"},
      {"PrinterSerialNo: S32-000123", "PrinterSerialNo: S32-999"},
      {"PrinterIPAddress: 192.168.1.20", "PrinterIPAddress: 10.1.2.3"},
      {"FrontX: 0", "FrontX: -7"},
      {"EnableLog: 0", "EnableLog: 1"},
      {"Separator:,", "Separator:;"},
      {"*FileName:VKTS3.log", "*FileName:Cards.log"},
      {"StaticText:Orvex", "StaticText:Front desk"},
  };
  for (const auto& [from, to] : edits) {
    const std::string before = Installed();
    const std::string after = Edited(from, to);
    AskOk(RequestFor(Source(after), card));
    EXPECT_EQ(Installed(), after) << to;
    EXPECT_EQ(ReadFile(card + ".O"), before) << to;
    struct stat info {};
    ASSERT_EQ(::stat(card.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
    EXPECT_EQ(info.st_nlink, 1u);
    if (RunningAsRoot()) {
      EXPECT_EQ(info.st_uid, 0u);
      EXPECT_EQ(info.st_gid, 7u);
    }
    EXPECT_EQ(FolderEntries(ppdFolder), (std::vector<std::string>{"Card.ppd", "Card.ppd.O"}));
  }
}

TEST_F(AcceptedEdits, AnUnchangedCopyIsAnsweredOkAndWritesNothing) {
  AskOk(RequestFor(Source(original), card));
  ExpectNothingChanged();
}

TEST_F(AcceptedEdits, TheClientsZeroFilledBufferIsOneRequest) {
  std::string request = RequestFor(Source(Edited("FrontY: 0", "FrontY: 3")), card);
  request.resize(256, '\0');
  AskOk(request);
  EXPECT_NE(Installed().find("\n*FrontY: 3\n"), std::string::npos);
}

TEST_F(AcceptedEdits, SettingsOfEverySandboxModelFixture) {
  for (const std::string& fixture : SandboxFixturePpds()) {
    const std::string text = ReadFile(fixture);
    const std::string destination = ppdFolder + "/Model.ppd";
    WriteFile(destination, text, 0644);
    std::smatch match;
    ASSERT_TRUE(std::regex_search(text, match, std::regex("\\*Default(\\w*)RibbonCombination: (\\w+)")));
    const std::string prefix = match[1];
    std::string edited = ReplaceOnce(text, match[0], "*Default" + prefix + "RibbonCombination: 16FrontWr");
    edited = ReplaceOnce(edited, "*Default" + prefix + "AutoHalfPanel: 0false",
                         "*Default" + prefix + "AutoHalfPanel: 1true");
    edited = ReplaceOnce(edited, "BackX: 0", "BackX: 25");
    edited = ReplaceOnce(edited, "MTrack2: 0", "MTrack2: 1");
    AskOk(RequestFor(Source(edited), destination));
    EXPECT_EQ(ReadFile(destination), edited) << fixture;
    EXPECT_EQ(ReadFile(destination + ".O"), text) << fixture;
  }
}

TEST_F(Refusals, PathsWithDotDot) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));
  ExpectRefused(RequestFor(source, ppdFolder + "/../ppd/Card.ppd"), "without \"..\"");
  ExpectRefused(RequestFor(userFolder + "/../user/edit1.ppd", card), "without \"..\"");
  ExpectRefused(RequestFor(source, ppdFolder + "/.."), "without \"..\"");
}

TEST_F(Refusals, RelativeAndMalformedRequests) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));
  ExpectRefused(RequestFor(source, "Card.ppd"), "absolute path");
  ExpectRefused(RequestFor("edit1.ppd", card), "absolute path");
  ExpectRefused(source + card, "malformed request");
  ExpectRefused(source + "|" + card + "|" + card, "malformed request");
  ExpectRefused(source + "|" + card + "\n", "malformed request (control character)");
}

TEST_F(Refusals, SourceThatIsALink) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));
  const std::string link = userFolder + "/link.ppd";
  ASSERT_EQ(::symlink(source.c_str(), link.c_str()), 0);
  ExpectRefused(RequestFor(link, card), "the source is a link");
}

TEST_F(Refusals, DestinationThatIsALinkOrHasASecondName) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));
  const std::string link = ppdFolder + "/Link.ppd";
  ASSERT_EQ(::symlink(card.c_str(), link.c_str()), 0);
  ExpectRefused(RequestFor(source, link), "the destination is a link");
  // A link to a file outside the folder.
  const std::string outside = root.Path() + "/outside.ppd";
  WriteFile(outside, original);
  const std::string far = ppdFolder + "/Far.ppd";
  ASSERT_EQ(::symlink(outside.c_str(), far.c_str()), 0);
  ExpectRefused(RequestFor(source, far), "the destination is a link");
  EXPECT_EQ(ReadFile(outside), original);
  // A hard link: replacing one name would leave the other behind.
  ASSERT_EQ(::link(card.c_str(), (ppdFolder + "/Hard.ppd").c_str()), 0);
  ExpectRefused(RequestFor(source, card), "more than one link");
}

TEST_F(Refusals, DestinationOutsideThePpdFolder) {
  const std::string source = Source(Edited("FrontX: 0", "FrontX: 1"));
  for (const std::string& folder : {root.Path() + "/other", root.Path() + "/ppdx", ppdFolder + "/sub"}) {
    ASSERT_EQ(::mkdir(folder.c_str(), 0755), 0);
    WriteFile(folder + "/Card.ppd", original);
  }
  ExpectRefused(RequestFor(source, root.Path() + "/other/Card.ppd"), "not in the PPD folder");
  ExpectRefused(RequestFor(source, root.Path() + "/ppdx/Card.ppd"), "not in the PPD folder");
  ExpectRefused(RequestFor(source, ppdFolder + "/sub/Card.ppd"), "not directly in the PPD folder");
  ExpectRefused(RequestFor(source, ppdFolder + "//Card.ppd"), "not directly in the PPD folder");
  for (const std::string& folder : {root.Path() + "/other", root.Path() + "/ppdx", ppdFolder + "/sub"})
    EXPECT_EQ(ReadFile(folder + "/Card.ppd"), original);
  WriteFile(ppdFolder + "/Card.txt", original);
  ExpectRefused(RequestFor(source, ppdFolder + "/Card.txt"), "not named <queue>.ppd");
  ExpectRefused(RequestFor(source, ppdFolder + "/.ppd"), "not named <queue>.ppd");
  ExpectRefused(RequestFor(source, ppdFolder + "/Missing.ppd"), "cannot open the destination");
}

TEST_F(Refusals, FifoAsSourceOrDestination) {
  const std::string fifo = userFolder + "/fifo.ppd";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  ExpectRefused(RequestFor(fifo, card), "the source is not a regular file");
  const std::string fifoPpd = ppdFolder + "/Fifo.ppd";
  ASSERT_EQ(::mkfifo(fifoPpd.c_str(), 0600), 0);
  ExpectRefused(RequestFor(Source(Edited("FrontX: 0", "FrontX: 1")), fifoPpd), "the destination is not a regular file");
  ExpectRefused(RequestFor(userFolder, card), "the source is not a regular file");
}

TEST_F(Refusals, OversizedSource) {
  std::string big = Edited("StaticText:Orvex", "StaticText:x");
  big.resize(4 * 1024 * 1024 + 1, '\n');
  ExpectRefused(RequestFor(Source(big), card), "the source is larger than 4 MiB");
}

TEST_F(Refusals, SourceOfAnotherUser) {
  if (!RunningAsRoot()) GTEST_SKIP() << "needs root to give a file to uid 65534";
  ExpectRefused(RequestFor(Source(Edited("FrontX: 0", "FrontX: 1"), kNobody), card),
                "the source does not belong to the requester");
}

TEST_F(Refusals, AddedFilterLines) {
  ExpectRefused(RequestFor(Source(Edited("*FrontX: 0\n",
                                         "*FrontX: 0\n*cupsFilter2: \"application/pdf "
                                         "application/vnd.cups-raw 0 /tmp/run-as-root\"\n")),
                           card),
                "the edited PPD has 146 lines, the installed one 145");
  ExpectRefused(
      RequestFor(Source(Edited("*FrontX: 0\n", "*FrontX: 0\n*FoomaticRIPCommandLine: \"touch /tmp/x\"\n")), card),
      "the edited PPD has 146 lines");
  // The same lines in place of an editable one, keeping the line count.
  ExpectRefused(
      RequestFor(Source(Edited("*StaticText:Orvex", "*cupsFilter2: \"application/pdf application/pdf 0 x\"")), card),
      "line 143: the keyword of this line may not change");
  ExpectRefused(RequestFor(Source(Edited("*StaticText:Orvex", "*FoomaticRIPCommandLine: \"id\"")), card),
                "line 143: the keyword of this line may not change");
}

TEST_F(Refusals, OtherLinesChangedOrRemoved) {
  ExpectRefused(RequestFor(Source(Edited("*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 -\"",
                                         "*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 /bin/x\"")),
                           card),
                "line 18: this line may not change");
  ExpectRefused(RequestFor(Source(Edited("*FrontX: 0\n", "")), card), "the edited PPD has 144 lines");
}

TEST_F(Refusals, ValuesWithAQuoteOrANewline) {
  ExpectRefused(RequestFor(Source(Edited("StaticText:Orvex", "StaticText:Orvex\"")), card),
                "the value of StaticText holds a quote or a control character");
  ExpectRefused(RequestFor(Source(Edited("PrinterSerialNo: S32-000123", "PrinterSerialNo: S32\"\"")), card),
                "the value of PrinterSerialNo holds a quote");
  // A newline adds a line; a carriage return is a control character.
  ExpectRefused(RequestFor(Source(Edited("Separator:,", "Separator:,\n*cupsFilter2: \"x\"")), card),
                "the edited PPD has 146 lines");
  ExpectRefused(RequestFor(Source(Edited("*FileName:VKTS3.log", "*FileName:a\rb")), card),
                "the value of FileName holds a quote or a control character");
  ExpectRefused(RequestFor(Source(Edited("StaticText:Orvex", "StaticText:" + std::string(256, 'x'))), card),
                "longer than 255 bytes");
}

TEST_F(Refusals, AChoiceTheOptionDoesNotHave) {
  ExpectRefused(RequestFor(Source(Edited("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 4Sideways")), card),
                "line 116: VKTS32Rotation has no choice \"4Sideways\"");
  ExpectRefused(
      RequestFor(Source(Edited("*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 0FrontYmcoBackK")),
                 card),
      "VKTS32RibbonName has no choice");
}

TEST_F(Refusals, ARequestOver256Bytes) {
  // A valid edit whose request is 257 bytes long: only the length is wrong.
  const std::string edit = Edited("FrontX: 0", "FrontX: 1");
  const size_t fixed = userFolder.size() + 1 + 4 + 1 + card.size();
  const std::string source = userFolder + "/" + std::string(257 - fixed, 'a') + ".ppd";
  ASSERT_LT(257 - fixed, 250u);
  WriteFile(source, edit);
  ASSERT_EQ(RequestFor(source, card).size(), 257u);
  ExpectRefused(RequestFor(source, card), "request longer than 256 bytes");
  // One byte less is served.
  const std::string shorter = userFolder + "/" + std::string(256 - fixed, 'a') + ".ppd";
  WriteFile(shorter, edit);
  AskOk(RequestFor(shorter, card));
  EXPECT_EQ(Installed(), edit);
}

TEST_F(Refusals, AClientThatSendsNothingIsDroppedAndOthersAreServed) {
  StartService(defaultGroup, std::chrono::milliseconds(300));
  int silent = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  ASSERT_EQ(::connect(silent, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  // Served while the silent client still holds its connection.
  const std::string first = Edited("FrontX: 0", "FrontX: 1");
  AskOk(RequestFor(Source(first), card));
  EXPECT_EQ(Installed(), first);
  // The service closes the silent connection without an answer.
  char byte;
  EXPECT_EQ(::recv(silent, &byte, 1, 0), 0);
  ::close(silent);
  const std::string second = Edited("FrontX: 1", "FrontX: 2");
  AskOk(RequestFor(Source(second), card));
  EXPECT_EQ(Installed(), second);
}

TEST_F(Refusals, ARequesterNeitherRootNorInTheGroup) {
  if (!RunningAsRoot()) GTEST_SKIP() << "needs root to ask as uid 65534";
  const std::string edit = Edited("FrontX: 0", "FrontX: 1");
  const std::string request = RequestFor(Source(edit, kNobody), card);
  std::optional<std::string> answer = AskAsNobody(port, request);
  EXPECT_EQ(answer, "ERROR: user 65534 is neither root nor in group lpadmin");
  ExpectNothingChanged();
  // A group that does not exist: only root.
  StartService("vkt-no-such-group");
  EXPECT_EQ(AskAsNobody(port, request), "ERROR: user 65534 is neither root nor in group vkt-no-such-group");
  ExpectNothingChanged();
  // A member of the configured group may ask, for a file of their own.
  StartService("nogroup");
  EXPECT_EQ(AskAsNobody(port, request), "OK");
  EXPECT_EQ(Installed(), edit);
  // ...but not with root's file.
  EXPECT_EQ(AskAsNobody(port, RequestFor(Source(original), card)),
            "ERROR: the source does not belong to the requester");
  EXPECT_EQ(Installed(), edit);
}

}  // namespace
