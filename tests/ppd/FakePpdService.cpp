// The in-process PPD service used by the rewriter tests.
#include "FakePpdService.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

namespace {
int ListenOnLoopback(int* port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 8) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    throw std::runtime_error("cannot listen on 127.0.0.1");
  *port = ntohs(address.sin_port);
  return fd;
}
}  // namespace

FakePpdService::FakePpdService(Options options) : options_(std::move(options)) {
  listener_ = ListenOnLoopback(&port_);
  thread_ = std::thread([this] { Serve(); });
}

FakePpdService::~FakePpdService() {
  ::shutdown(listener_, SHUT_RDWR);  // ends the accept of Serve
  thread_.join();
  ::close(listener_);
  for (int client : held_) ::close(client);
}

std::vector<std::string> FakePpdService::Requests() {
  std::lock_guard<std::mutex> lock(mutex_);
  return requests_;
}

int FakePpdService::UnusedPort() {
  int port = 0;
  ::close(ListenOnLoopback(&port));
  return port;
}

void FakePpdService::Serve() {
  for (;;) {
    const int client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) return;
    char buffer[1024];
    const ssize_t n = ::read(client, buffer, sizeof buffer);
    const std::string request(buffer, n > 0 ? static_cast<size_t>(n) : 0);
    const auto bar = request.find('|');
    std::error_code ignored;
    if (options_.copySourceOverDestination && bar != std::string::npos)
      std::filesystem::copy_file(request.substr(0, bar), request.substr(bar + 1),
                                 std::filesystem::copy_options::overwrite_existing, ignored);
    {
      std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
    }
    if (options_.hold) {
      held_.push_back(client);
      continue;
    }
    if (options_.answer) (void)!::write(client, options_.reply.data(), options_.reply.size());
    ::close(client);
  }
}
