// Plain blocking TCP client for the printer's raw port.
#include "PlainPrinterSocket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

PlainPrinterSocket::~PlainPrinterSocket() { Close(); }

bool PlainPrinterSocket::SplitDeviceUri(const std::string& uri, std::string* host, int* port) {
  size_t start = uri.find("://");
  if (start == std::string::npos) return false;
  start += 3;
  size_t end = uri.find_first_of("/?", start);
  std::string authority = uri.substr(start, end == std::string::npos ? std::string::npos : end - start);
  size_t colon = authority.rfind(':');
  *host = authority.substr(0, colon);
  *port = colon == std::string::npos ? 9100 : std::atoi(authority.c_str() + colon + 1);
  return !host->empty() && *port > 0;
}

bool PlainPrinterSocket::Connect(const std::string& host, int port, bool noDelay) {
  Close();
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return false;
  for (addrinfo* a = found; a && fd_ < 0; a = a->ai_next) {
    int fd = socket(a->ai_family, a->ai_socktype, a->ai_protocol);
    if (fd < 0) continue;
    if (connect(fd, a->ai_addr, a->ai_addrlen) == 0) {
      fd_ = fd;
    } else {
      close(fd);
    }
  }
  freeaddrinfo(found);
  if (fd_ >= 0 && noDelay) {
    int on = 1;
    setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  }
  return fd_ >= 0;
}

bool PlainPrinterSocket::WriteAll(const char* data, size_t length) {
  while (length > 0) {
    ssize_t written = send(fd_, data, length, MSG_NOSIGNAL);
    if (written < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data += written;
    length -= static_cast<size_t>(written);
  }
  return true;
}

std::string PlainPrinterSocket::ReadReply(std::chrono::milliseconds wait) {
  pollfd entry{fd_, POLLIN, 0};
  if (fd_ < 0 || poll(&entry, 1, static_cast<int>(wait.count())) <= 0) return {};
  char buffer[1024];
  ssize_t count = read(fd_, buffer, sizeof buffer);
  return count > 0 ? std::string(buffer, static_cast<size_t>(count)) : std::string();
}

void PlainPrinterSocket::Close() {
  if (fd_ >= 0) {
    close(fd_);
    fd_ = -1;
  }
}
