// Blocking loopback client used by the server and program tests.
#include "TestClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

TestClient::TestClient(int port, std::chrono::milliseconds readWait) {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    connectError_ = errno;
    return;
  }
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
    connectError_ = errno;
    close(fd);
    return;
  }
  timeval wait{};
  wait.tv_sec = readWait.count() / 1000;
  wait.tv_usec = (readWait.count() % 1000) * 1000;
  setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  int one = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
  fd_ = fd;
}

TestClient::~TestClient() { Close(); }

void TestClient::Close() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

bool TestClient::Send(const std::string& bytes) {
  if (fd_ < 0) return false;
  size_t done = 0;
  while (done < bytes.size()) {
    ssize_t sent = send(fd_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    done += static_cast<size_t>(sent);
  }
  return true;
}

std::string TestClient::Read(size_t count) {
  std::string result;
  char buffer[4096];
  while (fd_ >= 0 && result.size() < count) {
    size_t want = std::min(sizeof buffer, count - result.size());
    ssize_t got = recv(fd_, buffer, want, 0);
    if (got <= 0) break;
    result.append(buffer, static_cast<size_t>(got));
  }
  return result;
}

std::string TestClient::ReadSome() {
  char buffer[4096];
  if (fd_ < 0) return "";
  ssize_t got = recv(fd_, buffer, sizeof buffer, 0);
  return got > 0 ? std::string(buffer, static_cast<size_t>(got)) : std::string();
}

bool TestClient::WaitForClose() {
  char buffer[4096];
  while (fd_ >= 0) {
    ssize_t got = recv(fd_, buffer, sizeof buffer, 0);
    if (got == 0) return true;
    if (got < 0) return errno == ECONNRESET;
  }
  return false;
}

std::string Framed(const std::string& text) { return "\x1b" + text + "\r"; }
