// A plain blocking TCP client for the emulator tests: connect, send, read
// with a bounded wait, tell a closed connection from a silent one.
#pragma once

#include <chrono>
#include <string>

class TestClient {
 public:
  // Connects to 127.0.0.1:port; Connected() tells whether it worked and
  // ConnectError() holds errno otherwise.
  explicit TestClient(int port, std::chrono::milliseconds readWait = std::chrono::milliseconds(2000));
  ~TestClient();
  TestClient(const TestClient&) = delete;
  TestClient& operator=(const TestClient&) = delete;

  bool Connected() const { return fd_ >= 0; }
  int ConnectError() const { return connectError_; }
  bool Send(const std::string& bytes);
  // Reads until `count` bytes arrived, the peer closed or the wait ran out.
  std::string Read(size_t count);
  // Whatever arrives within the wait (one read); empty when nothing did.
  std::string ReadSome();
  // True when the peer closed the connection (a read returns 0 or a reset)
  // within the wait.
  bool WaitForClose();
  void Close();

 private:
  int fd_ = -1;
  int connectError_ = 0;
};

// The bytes of ESC text CR.
std::string Framed(const std::string& text);
inline const std::string kReplyRequest = "\x1b" "E 2\r";
