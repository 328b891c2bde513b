// Connection handling of the PPD service: one poll loop, a deadline per
// connection, so a client that sends nothing delays nobody else.
#include "PpdService.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "Log.h"
#include "PeerUid.h"

namespace {

using Clock = std::chrono::steady_clock;

// The request as it may be written to the log: control bytes escaped.
std::string Printable(std::string_view text) {
  std::string out;
  for (unsigned char c : text) {
    if (c >= 0x20 && c < 0x7F && c != '\\')
      out += static_cast<char>(c);
    else
      out += StringPrintf("\\x%02x", c);
  }
  return out;
}

std::string UidText(std::optional<uid_t> uid) { return uid ? std::to_string(*uid) : std::string("unknown"); }

}  // namespace

PpdService::PpdService(PpdServiceOptions options)
    : options_(std::move(options)), policy_(options_.groups), replacer_(options_.ppdFolder) {
  int pipeFds[2];
  if (::pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) == 0) {
    wakeRead_.Reset(pipeFds[0]);
    wakeWrite_.Reset(pipeFds[1]);
  }
}

int PpdService::Listen() {
  listener_.Reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (!listener_.Valid()) return -1;
  int on = 1;
  ::setsockopt(listener_.Get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(options_.port));
  socklen_t length = sizeof address;
  if (::bind(listener_.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener_.Get(), 64) != 0 ||
      ::getsockname(listener_.Get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    VktLog("cannot listen on 127.0.0.1:%d: %s", options_.port, std::strerror(errno));
    listener_.Reset();
    return -1;
  }
  replacer_.RemoveStaleTemporaries();
  return ntohs(address.sin_port);
}

int PpdService::Adopt(int listeningFd) {
  sockaddr_in address{};
  socklen_t length = sizeof address;
  int accepting = 0, type = 0;
  socklen_t optionLength = sizeof accepting;
  if (::getsockname(listeningFd, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
      address.sin_family != AF_INET || address.sin_addr.s_addr != htonl(INADDR_LOOPBACK) ||
      ::getsockopt(listeningFd, SOL_SOCKET, SO_ACCEPTCONN, &accepting, &optionLength) != 0 || !accepting ||
      (optionLength = sizeof type, ::getsockopt(listeningFd, SOL_SOCKET, SO_TYPE, &type, &optionLength)) != 0 ||
      type != SOCK_STREAM) {
    VktLog("the inherited socket %d is not a TCP socket listening on 127.0.0.1", listeningFd);
    return -1;
  }
  const int flags = ::fcntl(listeningFd, F_GETFL);
  ::fcntl(listeningFd, F_SETFL, flags | O_NONBLOCK);
  ::fcntl(listeningFd, F_SETFD, FD_CLOEXEC);
  listener_.Reset(listeningFd);
  replacer_.RemoveStaleTemporaries();
  return ntohs(address.sin_port);
}

void PpdService::Stop() {
  if (wakeWrite_.Valid()) {
    char byte = 1;
    [[maybe_unused]] ssize_t ignored = ::write(wakeWrite_.Get(), &byte, 1);
  }
}

void PpdService::Run() {
  struct Waiting {
    UniqueFd fd;
    std::optional<uid_t> uid;  // the owner of the client's socket, looked up at accept
    Clock::time_point deadline;
  };
  std::vector<Waiting> waiting;
  std::set<std::optional<uid_t>> overCap;  // users whose refused connection was logged
  const auto share = [&](const std::optional<uid_t>& uid) {
    return static_cast<size_t>(
        std::count_if(waiting.begin(), waiting.end(), [&](const Waiting& w) { return w.uid == uid; }));
  };
  while (listener_.Valid()) {
    std::vector<pollfd> fds;
    fds.push_back({wakeRead_.Get(), POLLIN, 0});
    // At the cap, new clients wait in the backlog until a slot frees.
    fds.push_back({waiting.size() < options_.maxConnections ? listener_.Get() : -1, POLLIN, 0});
    Clock::time_point now = Clock::now();
    int timeout = -1;
    for (const Waiting& w : waiting) {
      fds.push_back({w.fd.Get(), POLLIN, 0});
      auto left = std::chrono::ceil<std::chrono::milliseconds>(w.deadline - now).count();
      int leftMs = left < 0 ? 0 : static_cast<int>(left);
      if (timeout < 0 || leftMs < timeout) timeout = leftMs;
    }
    if (::poll(fds.data(), fds.size(), timeout) < 0) {
      if (errno == EINTR) continue;
      VktLog("poll failed: %s", std::strerror(errno));
      return;
    }
    if (fds[0].revents) return;  // Stop()

    now = Clock::now();
    std::vector<Waiting> still;
    for (size_t i = 0; i < waiting.size(); ++i) {
      if (fds[i + 2].revents)
        Serve(waiting[i].fd.Get(), waiting[i].uid);
      else if (now >= waiting[i].deadline)
        VktLog("request from uid %s: nothing received within %lld ms, connection dropped",
               UidText(waiting[i].uid).c_str(), static_cast<long long>(options_.readTimeout.count()));
      else
        still.push_back(std::move(waiting[i]));
    }
    waiting = std::move(still);
    std::erase_if(overCap,
                  [&](const std::optional<uid_t>& uid) { return share(uid) < options_.maxConnectionsPerUser; });

    if (fds[1].revents & POLLIN) {
      while (waiting.size() < options_.maxConnections) {
        UniqueFd fd(::accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!fd.Valid()) break;
        // One user holding every slot would keep all others waiting: past
        // its share, a user's connection is closed unanswered.
        std::optional<uid_t> uid = PeerUid::OfConnection(fd.Get());
        if (share(uid) >= options_.maxConnectionsPerUser) {
          if (overCap.insert(uid).second)
            VktLog("uid %s holds %zu connections already; its further connections are closed", UidText(uid).c_str(),
                   options_.maxConnectionsPerUser);
          continue;
        }
        waiting.push_back({std::move(fd), uid, Clock::now() + options_.readTimeout});
      }
    }
  }
}

void PpdService::Serve(int connection, std::optional<uid_t> requester) const {
  // The client sends its request in one piece and then waits for the
  // answer without closing: the bytes of this one read are the request.
  char buffer[4096];
  ssize_t got;
  do got = ::recv(connection, buffer, sizeof buffer, 0);
  while (got < 0 && errno == EINTR);
  if (got <= 0) {
    VktLog("request from uid %s: connection closed without a request", UidText(requester).c_str());
    return;
  }
  size_t length = static_cast<size_t>(got);
  std::string_view request(buffer, std::min(length, kMaxRequestBytes));
  std::string answer = Answer(request, length, requester);
  VktLog("request from uid %s \"%s\"%s: %s", UidText(requester).c_str(), Printable(request).c_str(),
         length > kMaxRequestBytes ? "..." : "", answer.c_str());
  ::send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
}

std::string PpdService::Answer(std::string_view request, size_t requestLength, std::optional<uid_t> requester) const {
  if (requestLength > kMaxRequestBytes) return "ERROR: request longer than 256 bytes";
  if (!requester) return "ERROR: cannot identify the requesting user";
  if (!policy_.Allows(*requester))
    return "ERROR: user " + std::to_string(*requester) + " is neither root nor in " + policy_.GroupsText();

  // The client formats into a zero-filled buffer; a sender of the whole
  // buffer sends trailing NULs, which are not part of the request.
  while (!request.empty() && request.back() == '\0') request.remove_suffix(1);
  for (unsigned char c : request)
    if (c < 0x20 || c == 0x7F) return "ERROR: malformed request (control character)";
  size_t bar = request.find('|');
  if (bar == std::string_view::npos || request.find('|', bar + 1) != std::string_view::npos)
    return "ERROR: malformed request (expected <source>|<destination>)";

  PpdReplacer::Outcome outcome =
      replacer_.Replace(std::string(request.substr(0, bar)), std::string(request.substr(bar + 1)), *requester);
  return outcome.done ? "OK" : "ERROR: " + outcome.reason;
}
