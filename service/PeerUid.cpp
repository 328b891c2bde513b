// Owner lookup of the client socket of a loopback TCP connection.
#include "PeerUid.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <charconv>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "UniqueFd.h"

namespace {

constexpr unsigned kTcpEstablished = 1;

bool ParseHex(std::string_view text, unsigned long& value) {
  if (text.empty()) return false;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  return error == std::errc() && end == text.data() + text.size();
}

// "0100007F:1F90": the address as the kernel prints the 32-bit s_addr (so it
// compares with s_addr directly), the port in host order.
bool SameEndpoint(std::string_view field, const sockaddr_in& address) {
  size_t colon = field.find(':');
  if (colon != 8 || field.size() != 13) return false;
  unsigned long addr = 0, port = 0;
  if (!ParseHex(field.substr(0, colon), addr) || !ParseHex(field.substr(colon + 1), port)) return false;
  return addr == address.sin_addr.s_addr && port == ntohs(address.sin_port);
}

std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  size_t pos = 0;
  while (pos < line.size()) {
    while (pos < line.size() && (line[pos] == ' ' || line[pos] == '\t')) ++pos;
    size_t start = pos;
    while (pos < line.size() && line[pos] != ' ' && line[pos] != '\t') ++pos;
    if (pos > start) fields.push_back(line.substr(start, pos - start));
  }
  return fields;
}

}  // namespace

std::optional<uid_t> PeerUid::FromProcNetTcp(std::string_view table, const sockaddr_in& client,
                                             const sockaddr_in& server) {
  size_t pos = 0;
  while (pos < table.size()) {
    size_t end = table.find('\n', pos);
    if (end == std::string_view::npos) end = table.size();
    std::vector<std::string_view> f = Fields(table.substr(pos, end - pos));
    pos = end + 1;
    // sl local rem st tx:rx tr:when retrnsmt uid ...
    if (f.size() < 8 || !SameEndpoint(f[1], client) || !SameEndpoint(f[2], server)) continue;
    unsigned long state = 0;
    if (!ParseHex(f[3], state) || state != kTcpEstablished) return std::nullopt;
    uid_t uid = 0;
    auto [p, error] = std::from_chars(f[7].data(), f[7].data() + f[7].size(), uid);
    if (error != std::errc() || p != f[7].data() + f[7].size()) return std::nullopt;
    return uid;
  }
  return std::nullopt;
}

std::optional<uid_t> PeerUid::FromSockDiag(const sockaddr_in& client, const sockaddr_in& server) {
  UniqueFd fd(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
  if (!fd.Valid()) return std::nullopt;
  timeval timeout{1, 0};
  ::setsockopt(fd.Get(), SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);

  struct {
    nlmsghdr header;
    inet_diag_req_v2 request;
  } message;
  std::memset(&message, 0, sizeof message);
  message.header.nlmsg_len = sizeof message;
  message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  message.header.nlmsg_flags = NLM_F_REQUEST;  // one exact socket, no dump
  message.header.nlmsg_seq = 1;
  message.request.sdiag_family = AF_INET;
  message.request.sdiag_protocol = IPPROTO_TCP;
  message.request.idiag_states = ~0u;
  message.request.id.idiag_sport = client.sin_port;
  message.request.id.idiag_dport = server.sin_port;
  message.request.id.idiag_src[0] = client.sin_addr.s_addr;
  message.request.id.idiag_dst[0] = server.sin_addr.s_addr;
  message.request.id.idiag_cookie[0] = INET_DIAG_NOCOOKIE;
  message.request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;

  sockaddr_nl kernel{};
  kernel.nl_family = AF_NETLINK;
  if (::sendto(fd.Get(), &message, sizeof message, 0, reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) < 0)
    return std::nullopt;

  alignas(nlmsghdr) char buffer[8192];
  ssize_t got = ::recv(fd.Get(), buffer, sizeof buffer, 0);
  if (got <= 0) return std::nullopt;
  int remaining = static_cast<int>(got);
  for (auto* header = reinterpret_cast<nlmsghdr*>(buffer); NLMSG_OK(header, remaining);
       header = NLMSG_NEXT(header, remaining)) {
    if (header->nlmsg_type != SOCK_DIAG_BY_FAMILY) return std::nullopt;  // NLMSG_ERROR, NLMSG_DONE
    if (header->nlmsg_len < NLMSG_LENGTH(sizeof(inet_diag_msg))) return std::nullopt;
    const auto* answer = static_cast<const inet_diag_msg*>(NLMSG_DATA(header));
    if (answer->id.idiag_sport != client.sin_port || answer->id.idiag_dport != server.sin_port ||
        answer->id.idiag_src[0] != client.sin_addr.s_addr || answer->id.idiag_dst[0] != server.sin_addr.s_addr)
      continue;
    if (answer->idiag_state != kTcpEstablished) return std::nullopt;
    return static_cast<uid_t>(answer->idiag_uid);
  }
  return std::nullopt;
}

std::optional<uid_t> PeerUid::OfConnection(int fd) {
  sockaddr_in server{}, client{};
  socklen_t serverLength = sizeof server, clientLength = sizeof client;
  if (::getsockname(fd, reinterpret_cast<sockaddr*>(&server), &serverLength) != 0 ||
      ::getpeername(fd, reinterpret_cast<sockaddr*>(&client), &clientLength) != 0 || server.sin_family != AF_INET ||
      client.sin_family != AF_INET)
    return std::nullopt;
  if (std::optional<uid_t> uid = FromSockDiag(client, server)) return uid;
  std::ifstream file("/proc/net/tcp");
  if (!file) return std::nullopt;
  std::stringstream table;
  table << file.rdbuf();
  return FromProcNetTcp(table.str(), client, server);
}
