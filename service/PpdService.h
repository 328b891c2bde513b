// The privileged PPD service: a loopback TCP server that takes one request
// "<source>|<destination>" per connection, checks who asks and what is asked,
// has PpdReplacer put the file in place and answers "OK" or "ERROR: <reason>".
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "PpdReplacer.h"
#include "RequesterPolicy.h"
#include "UniqueFd.h"

struct PpdServiceOptions {
  int port = 24671;                             // 0: any free port (tests)
  std::vector<std::string> groups{"lpadmin"};   // members may ask besides root
  std::string ppdFolder;                        // e.g. /etc/cups/ppd
  std::chrono::milliseconds readTimeout{5000};  // a silent client is dropped after this
  size_t maxConnections = 32;                   // waiting connections served at once
  size_t maxConnectionsPerUser = 4;             // one user's share of them: more are closed at once
};

class PpdService {
 public:
  explicit PpdService(PpdServiceOptions options);
  PpdService(const PpdService&) = delete;
  PpdService& operator=(const PpdService&) = delete;

  // Binds 127.0.0.1:port; returns the port bound or -1.
  int Listen();
  // Serves on a listening socket handed over by systemd (socket activation);
  // returns its port, or -1 when it is not a TCP socket listening on
  // 127.0.0.1 (then the descriptor is left alone).
  int Adopt(int listeningFd);
  // Serves connections until Stop().
  void Run();
  // Ends Run() soon; safe from a signal handler and from another thread.
  void Stop();

  // The answer to one request of requestLength bytes (the bytes beyond 256
  // are not kept) from the owner uid of the client (nullopt: unknown).
  std::string Answer(std::string_view request, size_t requestLength, std::optional<uid_t> requester) const;

  static constexpr size_t kMaxRequestBytes = 256;

 private:
  void Serve(int connection, std::optional<uid_t> requester) const;

  PpdServiceOptions options_;
  RequesterPolicy policy_;
  PpdReplacer replacer_;
  UniqueFd listener_;
  UniqueFd wakeRead_;
  UniqueFd wakeWrite_;
};
