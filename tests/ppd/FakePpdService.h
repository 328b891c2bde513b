// A stand-in for the privileged PPD service, in the test process: listens on
// 127.0.0.1 (a port of its own), records the bytes of each request, can copy
// the named source over the destination, and answers.
#pragma once

#include <mutex>
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

  explicit FakePpdService(Options options);
  FakePpdService() : FakePpdService(Options{}) {}
  ~FakePpdService();
  FakePpdService(const FakePpdService&) = delete;
  FakePpdService& operator=(const FakePpdService&) = delete;

  int port() const { return port_; }
  // The bytes of each request's first read, in order.
  std::vector<std::string> Requests();

  // A port on 127.0.0.1 with nobody listening (bound, then released).
  static int UnusedPort();

 private:
  void Serve();

  Options options_;
  int listener_ = -1;
  int port_ = 0;
  std::mutex mutex_;
  std::vector<std::string> requests_;
  std::thread thread_;
  std::vector<int> held_;
};
