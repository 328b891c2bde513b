// Finds the user id of the local process at the other end of a loopback TCP
// connection, so the service can tell who asks before it touches a file.
#pragma once

#include <netinet/in.h>
#include <sys/types.h>

#include <optional>
#include <string_view>

class PeerUid {
 public:
  // The owner of the client's socket of the connection accepted as fd:
  // first through sock_diag, then through /proc/net/tcp. nullopt when the
  // owner cannot be found or the client's socket is no longer established
  // (a closed socket in TIME_WAIT reports uid 0 and must never pass for root).
  static std::optional<uid_t> OfConnection(int fd);

  // Asks the kernel (NETLINK_SOCK_DIAG) for the owner of the TCP socket whose
  // local end is client and remote end is server.
  static std::optional<uid_t> FromSockDiag(const sockaddr_in& client, const sockaddr_in& server);

  // The same answer from the text of /proc/net/tcp: the line whose local
  // address is client and remote address is server, in state ESTABLISHED.
  static std::optional<uid_t> FromProcNetTcp(std::string_view table, const sockaddr_in& client,
                                             const sockaddr_in& server);
};
