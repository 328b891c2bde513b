// The in-process PPD service used by the rewriter tests.
#include "FakePpdService.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {
int ListenOnLoopback(int* port) {
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) throw std::runtime_error("socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = 0;
  socklen_t length = sizeof address;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 8) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    ::close(fd);
    throw std::runtime_error("bind/listen on 127.0.0.1");
  }
  *port = ntohs(address.sin_port);
  return fd;
}

// Waits until `fd` is readable or `stop` is; a guard against a hung client,
// not a measurement.
bool WaitReadable(int fd, int stop) {
  pollfd fds[2] = {{fd, POLLIN, 0}, {stop, POLLIN, 0}};
  return ::poll(fds, 2, 10000) > 0 && (fds[0].revents & (POLLIN | POLLHUP)) && !(fds[1].revents & POLLIN);
}
}  // namespace

FakePpdService::FakePpdService(Options options) : options_(std::move(options)) {
  listener_ = ListenOnLoopback(&port_);
  if (::pipe2(stopPipe_, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
  thread_ = std::thread([this] { Serve(); });
}

FakePpdService::~FakePpdService() {
  (void)!::write(stopPipe_[1], "x", 1);
  thread_.join();
  ::close(listener_);
  ::close(stopPipe_[0]);
  ::close(stopPipe_[1]);
}

std::vector<std::string> FakePpdService::Requests() {
  std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

std::vector<bool> FakePpdService::ClientClosed(size_t connections) {
  std::unique_lock<std::mutex> lock(mutex_);
  // Guard only: the client has already returned when this is asked.
  done_.wait_for(lock, std::chrono::seconds(10), [&] { return clientClosed_.size() >= connections; });
  return clientClosed_;
}

int FakePpdService::UnusedPort() {
  int port = 0;
  ::close(ListenOnLoopback(&port));
  return port;
}

void FakePpdService::Serve() {
  for (;;) {
    if (!WaitReadable(listener_, stopPipe_[0])) return;
    int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) continue;
    std::string request;
    if (WaitReadable(client, stopPipe_[0])) {
      char buffer[1024];
      ssize_t n = ::read(client, buffer, sizeof buffer);
      if (n > 0) request.assign(buffer, static_cast<size_t>(n));
    }
    if (options_.copySourceOverDestination) {
      const auto bar = request.find('|');
      if (bar != std::string::npos) {
        std::ifstream in(request.substr(0, bar), std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        std::ofstream(request.substr(bar + 1), std::ios::binary | std::ios::trunc) << text.str();
      }
    }
    {
      std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
    }
    bool closed = false;
    if (options_.answer) {
      (void)!::write(client, options_.reply.data(), options_.reply.size());
      // The client should close its end once it has the reply.
      if (WaitReadable(client, stopPipe_[0])) {
        char byte;
        closed = ::read(client, &byte, 1) == 0;
      }
    }
    ::close(client);
    std::lock_guard<std::mutex> lock(mutex_);
    clientClosed_.push_back(closed);
    done_.notify_all();
  }
}
