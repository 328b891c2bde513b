// Finding the user behind a loopback connection, and who may ask. The
// lookups on a real connection are exercised by the service tests.
#include "PeerUid.h"
#include "RequesterPolicy.h"
#include "ServiceTestSupport.h"

namespace {

sockaddr_in Loopback(uint16_t port) { return {AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}}; }

// Two lines as the kernel writes them: the client's socket 127.0.0.1:40000
// -> 127.0.0.1:24671 and the server's accepted end of the same connection.
const char kTable[] =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
    "   0: 0100007F:605F 00000000:0000 0A 00000000:00000000 00:00000000 00000000     0        0 1 1 0 100 0 0 10 0\n"
    "   1: 0100007F:605F 0100007F:9C40 01 00000000:00000000 00:00000000 00000000     0        0 2 1 0 20 4 30 10 -1\n"
    "   2: 0100007F:9C40 0100007F:605F 01 00000000:00000000 00:00000000 00000000  1000        0 3 1 0 20 4 30 10 -1\n";

TEST(PeerUid, ProcNetTcpGivesTheOwnerOfTheClientsEstablishedSocket) {
  const auto owner = [](const std::string& table, uint16_t local, uint16_t remote) {
    const std::optional<uid_t> uid = PeerUid::FromProcNetTcp(table, Loopback(local), Loopback(remote));
    return (uid ? std::to_string(*uid) : "none") + " ";
  };
  // A client that closed at once leaves a TIME_WAIT (06) or CLOSE_WAIT (08)
  // entry that reports uid 0: it never passes for root.
  std::string root = kTable, timeWait, closeWait;
  root.replace(root.find("  1000  "), 8, "     0  ");
  const size_t state = root.find("0100007F:9C40 0100007F:605F ") + 28;
  timeWait = std::string(root).replace(state, 2, "06");
  closeWait = std::string(root).replace(state, 2, "08");
  // The server's own end (uid 0) is not the client.
  EXPECT_EQ(owner(kTable, 40000, 24671) + owner(kTable, 24671, 40000) + owner(kTable, 40001, 24671) +
                owner("", 40000, 24671) + owner(root, 40000, 24671) + owner(timeWait, 40000, 24671) +
                owner(closeWait, 40000, 24671),
            "1000 0 none none 0 none none ");
}

TEST(RequesterPolicy, RootAlwaysOthersOnlyThroughOneOfTheGroupsOfTheLastSystemGroupLine) {
  const uid_t nobody = service_test::kNobody;
  // nobody's primary group is nogroup; it is in no other group. 4000000 has no account.
  const std::pair<std::vector<std::string>, uid_t> cases[] = {{{"lpadmin"}, 0},
                                                              {{"vkt-no-such-group"}, 0},
                                                              {{"vkt-no-such-group"}, nobody},
                                                              {{""}, nobody},
                                                              {{}, nobody},
                                                              {{"nogroup"}, nobody},
                                                              {{"root"}, nobody},
                                                              {{"sys", "vkt-no-such-group", "nogroup"}, nobody},
                                                              {{"nogroup"}, 4000000}};
  std::string allowed;
  for (const auto& [groups, uid] : cases) allowed += RequesterPolicy(groups).Allows(uid) ? "yes " : "no ";
  EXPECT_EQ(allowed, "yes yes no no no yes no yes no ");
  // The groups of the scheduler's SystemGroup line, the last one counting.
  const std::pair<std::string, std::vector<std::string>> confs[] = {
      {"# Administrator user group...\nSystemGroup lpadmin\nLogLevel warn\n", {"lpadmin"}},
      {"SystemGroup sys root wheel\n", {"sys", "root", "wheel"}},
      {"  systemgroup\tadmin  lpadmin\r\n", {"admin", "lpadmin"}},
      {"SystemGroup lpadmin\nSystemGroup sys\n", {"sys"}},
      {"#SystemGroup lpadmin\nSystemGroupX x\nUser lp\n", {}},
  };
  for (const auto& [text, groups] : confs) EXPECT_EQ(RequesterPolicy::SystemGroups(text), groups) << text;
}

}  // namespace
