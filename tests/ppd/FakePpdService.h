// A stand-in for the privileged PPD service, in the test process: listens on
// 127.0.0.1 (a port of its own), records the bytes of each request, can copy
// the named source over the destination, and answers.
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

class FakePpdService {
 public:
  struct Options {
    bool copySourceOverDestination = true;  // what the real service does
    bool answer = true;                     // false: close without a reply
    std::string reply = "OK";
    bool hold = false;  // keep the connection open without a word until the service stops
  };

  explicit FakePpdService(Options options) : options_(std::move(options)) {
    listener_ = Listen(&port_);
    thread_ = std::thread([this] { Serve(); });
  }
  FakePpdService() : FakePpdService(Options{}) {}
  ~FakePpdService() {
    ::shutdown(listener_, SHUT_RDWR);  // ends the accept of Serve
    thread_.join();
    ::close(listener_);
    for (int client : held_) ::close(client);
  }

  int port() const { return port_; }
  // The bytes of each request's first read, in order.
  std::vector<std::string> Requests() {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
  }
  // A port on 127.0.0.1 with nobody listening (bound, then released).
  static int UnusedPort() {
    int port = 0;
    ::close(Listen(&port));
    return port;
  }

 private:
  static int Listen(int* port) {
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 8) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
      throw std::runtime_error("cannot listen on 127.0.0.1");
    *port = ntohs(address.sin_port);
    return fd;
  }
  void Serve() {
    for (int client; (client = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
      char buffer[1024];
      const std::string request(buffer, std::max<ssize_t>(::read(client, buffer, sizeof buffer), 0));
      const auto bar = request.find('|');
      std::error_code ignored;
      if (options_.copySourceOverDestination && bar != std::string::npos)
        std::filesystem::copy_file(request.substr(0, bar), request.substr(bar + 1),
                                   std::filesystem::copy_options::overwrite_existing, ignored);
      std::lock_guard<std::mutex> lock(mutex_);
      requests_.push_back(request);
      if (options_.hold) {
        held_.push_back(client);
        continue;
      }
      if (options_.answer) (void)!::write(client, options_.reply.data(), options_.reply.size());
      ::close(client);
    }
  }

  Options options_;
  int listener_ = -1;
  int port_ = 0;
  std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
  std::vector<int> held_;
};
