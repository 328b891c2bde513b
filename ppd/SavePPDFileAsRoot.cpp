// The one-request exchange with the privileged PPD service on the loopback
// interface: "src|dst" out, a short text back.
#include "SavePPDFileAsRoot.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Log.h"
#include "Paths.h"
#include "UniqueFd.h"

namespace {
// The request buffer of the exchange; a request must leave room for its NUL.
constexpr size_t kRequestSize = 256;
// The reply is read once, up to this many bytes.
constexpr size_t kReplySize = 256;

struct AddrInfoFree {
  void operator()(addrinfo* info) const { freeaddrinfo(info); }
};
}  // namespace

int SavePPDFileAsRoot(const char* src, const char* dst, std::chrono::milliseconds answerWait) {
  if (src == nullptr || dst == nullptr) {
    VktLog("PPD service request refused: missing path\n");
    return -1;
  }
  // Format first, so an over-long request never reaches the service at all
  // (a cut path would name another file).
  char request[kRequestSize] = {};
  const int length = std::snprintf(request, sizeof request, "%s|%s", src, dst);
  if (length < 0 || static_cast<size_t>(length) >= sizeof request) {
    VktLog("PPD service request refused: %zu bytes, longer than %zu bytes\n", std::strlen(src) + 1 + std::strlen(dst),
           kRequestSize - 1);
    return -1;
  }

  UniqueFd sock(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!sock.Valid()) {
    VktLog("Error opening socket :: %s\n", std::strerror(errno));
    return -1;
  }

  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo("127.0.0.1", nullptr, &hints, &found) != 0 || found == nullptr) {
    VktLog("ERROR, no such host\n");
    return -1;
  }
  std::unique_ptr<addrinfo, AddrInfoFree> host(found);
  sockaddr_in address{};
  std::memcpy(&address, host->ai_addr, sizeof address);
  address.sin_port = htons(static_cast<uint16_t>(vkt_paths::PpdServicePort()));

  if (::connect(sock.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
    VktLog("Error connecting socket :: %s\n", std::strerror(errno));
    return -1;
  }

  // One send, no terminator: the service takes its first read as the request.
  ssize_t sent;
  do {
    sent = ::send(sock.Get(), request, static_cast<size_t>(length), MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  if (sent != length) {
    VktLog("Error writing to socket :: %s\n", sent < 0 ? std::strerror(errno) : "short write");
    return -1;
  }

  pollfd answer{sock.Get(), POLLIN, 0};
  int ready;
  do {
    ready = ::poll(&answer, 1, static_cast<int>(answerWait.count()));
  } while (ready < 0 && errno == EINTR);
  if (ready == 0) {
    VktLog("PPD service did not save %s: no answer within %lld ms\n", dst, static_cast<long long>(answerWait.count()));
    return -1;
  }
  char reply[kReplySize + 1] = {};
  ssize_t received;
  do {
    received = ::recv(sock.Get(), reply, kReplySize, 0);
  } while (received < 0 && errno == EINTR);
  if (received < 0) {
    VktLog("Error reading socket :: %s\n", std::strerror(errno));
    return -1;
  }
  VktLog("Data received is %s \n", reply);
  // Only "OK" means the PPD was replaced. "ERROR: <reason>" is a refusal
  // (most often a user outside the admin group), and a reply of anything
  // else, or none, cannot show that the file changed: the save failed.
  if (std::strncmp(reply, "OK", 2) == 0) return 1;
  VktLog("PPD service did not save %s: %s\n", dst, received == 0 ? "no answer" : reply);
  return -1;
}
