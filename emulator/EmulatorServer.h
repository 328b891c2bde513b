// The emulated printer on TCP: listens on 127.0.0.1, serves any number of
// connections (the tool's commands, CUPS's jobs) from one thread of its own,
// feeds the bytes to a PrinterEngine and sends its replies back.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "PrinterEngine.h"

class EmulatorServer {
 public:
  explicit EmulatorServer(PrinterProfile profile);
  ~EmulatorServer();  // stops
  EmulatorServer(const EmulatorServer&) = delete;
  EmulatorServer& operator=(const EmulatorServer&) = delete;

  // Binds 127.0.0.1 (0 = pick a free port) and starts serving. False when
  // the port cannot be bound or the server already runs.
  bool Start(int port = 0);
  int Port() const;
  // Closes every connection and joins the thread; harmless when stopped.
  void Stop();
  PrinterEngine& Engine();
  // Bytes received, one entry per connection in the order they were accepted.
  std::vector<std::string> ConnectionTranscripts() const;
  // How many connections were accepted so far.
  int ConnectionCount() const;
  // True while a reset keeps new connections refused.
  bool Refusing() const;

  // Before Start: also append every connection's bytes to this file (format
  // in emulator/profiles/README.md). False when it cannot be opened.
  bool SetTranscriptFile(const std::string& path);

 private:
  struct Peer;
  void Run();
  bool OpenListener();
  void CloseListener();
  void AcceptAll(std::vector<std::unique_ptr<Peer>>* peers);
  void ReadFrom(Peer* peer);
  void FlushOutput(Peer* peer);
  void Drop(Peer* peer);
  void Reset(std::vector<std::unique_ptr<Peer>>* peers, int refuseMs);
  void WriteTranscript(int connection, const char* direction, const std::string& bytes);

  PrinterEngine engine_;
  std::atomic<int> port_{0};  // rewritten by the server thread when it reopens the port after a reset
  int listenFd_ = -1;
  int wakeFd_[2] = {-1, -1};
  std::thread thread_;
  std::atomic<bool> running_{false};
  std::atomic<bool> refusing_{false};
  std::chrono::steady_clock::time_point refuseUntil_{};

  mutable std::mutex mutex_;  // guards the transcripts below and the file
  std::vector<std::string> transcripts_;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> transcriptFile_{nullptr, &std::fclose};
};
