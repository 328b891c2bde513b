// Finding the user behind a loopback connection, and who may ask. The
// lookups on a real connection are exercised by the service tests.
#include <arpa/inet.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <pwd.h>
#include <unistd.h>

#include "PeerUid.h"
#include "RequesterPolicy.h"
#include "ServiceTestSupport.h"

namespace {

sockaddr_in Loopback(uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// Two lines as the kernel writes them: the client's socket 127.0.0.1:40000
// -> 127.0.0.1:24671 and the server's accepted end of the same connection.
const char kTable[] =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
    "   0: 0100007F:605F 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 1 1 0 100 0 0 10 0\n"
    "   1: 0100007F:605F 0100007F:9C40 01 00000000:00000000 00:00000000 00000000     0        0 2 1 0 20 4 30 10 -1\n"
    "   2: 0100007F:9C40 0100007F:605F 01 00000000:00000000 00:00000000 00000000  1000        0 3 1 0 20 4 30 10 -1\n";

TEST(PeerUid, ProcNetTcpGivesTheOwnerOfTheClientsEstablishedSocket) {
  EXPECT_EQ(PeerUid::FromProcNetTcp(kTable, Loopback(40000), Loopback(24671)), 1000u);
  // The server's own end (uid 0) is not the client.
  EXPECT_EQ(PeerUid::FromProcNetTcp(kTable, Loopback(24671), Loopback(40000)), 0u);
  EXPECT_EQ(PeerUid::FromProcNetTcp(kTable, Loopback(40001), Loopback(24671)), std::nullopt);
  EXPECT_EQ(PeerUid::FromProcNetTcp("", Loopback(40000), Loopback(24671)), std::nullopt);
  // A client that closed at once leaves a TIME_WAIT (06) or CLOSE_WAIT (08)
  // entry that reports uid 0: it never passes for root.
  std::string table = kTable;
  table.replace(table.find("  1000  "), 8, "     0  ");
  ASSERT_EQ(PeerUid::FromProcNetTcp(table, Loopback(40000), Loopback(24671)), 0u);
  for (const char* state : {"06", "08"}) {
    table.replace(table.find("0100007F:9C40 0100007F:605F ") + 28, 2, state);
    EXPECT_EQ(PeerUid::FromProcNetTcp(table, Loopback(40000), Loopback(24671)), std::nullopt) << state;
  }
}

TEST(RequesterPolicy, RootAlwaysOthersOnlyThroughOneOfTheGroups) {
  using Groups = std::vector<std::string>;
  const uid_t nobody = service_test::kNobody;
  const struct {
    Groups groups;
    uid_t uid;
    bool allowed;
  } cases[] = {
      {{"lpadmin"}, 0, true},
      {{"vkt-no-such-group"}, 0, true},
      {{"vkt-no-such-group"}, nobody, false},
      {{""}, nobody, false},
      {{}, nobody, false},
      // nobody's primary group is nogroup; it is in no other group.
      {{"nogroup"}, nobody, true},
      {{"root"}, nobody, false},
      {{"sys", "vkt-no-such-group", "nogroup"}, nobody, true},
      {{"nogroup"}, 4000000, false},  // a uid without an account
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.groups) + " uid " + std::to_string(c.uid));
    EXPECT_EQ(RequesterPolicy(c.groups).Allows(c.uid), c.allowed);
  }
  // A member through the group list only (not the primary group), where the
  // system has such a user.
  setgrent();
  while (group* entry = getgrent()) {
    for (char** member = entry->gr_mem; *member; ++member) {
      passwd* user = getpwnam(*member);
      if (!user || user->pw_gid == entry->gr_gid) continue;
      SCOPED_TRACE(std::string(*member) + " in " + entry->gr_name);
      EXPECT_TRUE(RequesterPolicy({entry->gr_name}).Allows(user->pw_uid));
      EXPECT_FALSE(RequesterPolicy({"vkt-no-such-group"}).Allows(user->pw_uid));
    }
  }
  endgrent();
  EXPECT_EQ(RequesterPolicy({"lpadmin"}).GroupsText(), "group lpadmin");
  EXPECT_EQ(RequesterPolicy({"sys", "root", "wheel"}).GroupsText(), "any of the groups sys, root, wheel");
}

TEST(RequesterPolicy, SystemGroupsOfCupsFilesConf) {
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {"# Administrator user group...\nSystemGroup lpadmin\nLogLevel warn\n", {"lpadmin"}},
      {"SystemGroup sys root wheel\n", {"sys", "root", "wheel"}},
      {"  systemgroup\tadmin  lpadmin\r\n", {"admin", "lpadmin"}},
      {"SystemGroup lpadmin\nSystemGroup sys\n", {"sys"}},
      {"#SystemGroup lpadmin\nSystemGroupX x\nUser lp\n", {}},
      {"", {}},
  };
  for (const auto& [text, groups] : cases) EXPECT_EQ(RequesterPolicy::SystemGroups(text), groups) << text;
}

}  // namespace
