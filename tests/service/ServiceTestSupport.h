// Shared pieces of the PPD service tests: file helpers, the client side of
// one request, and a running service (the library's server on a free port,
// in a thread) over a temporary PPD folder holding Card.ppd, root:lp 0640.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "PpdService.h"

namespace service_test {

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& data, mode_t mode = 0600);

// Our own fixture PPD of this folder.
std::string OwnFixturePpd();

// Replaces the first occurrence of from (which must exist) by to.
std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to);

// A fresh folder under base, removed with everything in it at the end.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(const std::string& base = "/tmp");
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

// Sends request on a fresh connection to 127.0.0.1:port and reads the one
// answer; nullopt when the connection or the read fails. AskAsNobody does
// the same from a forked child running as uid (and gid) 65534.
std::optional<std::string> Ask(int port, const std::string& request);
std::optional<std::string> AskAsNobody(int port, const std::string& request);
// A connection to 127.0.0.1:port, or -1.
int Connect(int port);

// Names of the entries of a folder, sorted.
std::vector<std::string> FolderEntries(const std::string& folder);

// The group the tests give the service: lpadmin as root (root may always
// ask), else the primary group of the user running the tests.
std::string ServiceGroupForTests();

constexpr uid_t kNobody = 65534;

}  // namespace service_test

class ServiceFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override { StopService(); }

  // (Re)starts the service with these settings.
  void StartService(const std::string& group, std::chrono::milliseconds readTimeout = std::chrono::seconds(5));
  void StopService();

  // Writes text as a new source file (owned by owner) and returns its path;
  // with `length`, the path makes the request for Card.ppd that long.
  std::string Source(const std::string& text, uid_t owner = ::getuid(), size_t length = 0);
  std::string Installed() const { return service_test::ReadFile(card); }
  // The installed text with one replacement.
  std::string Edited(const std::string& from, const std::string& to) const {
    return service_test::ReplaceOnce(Installed(), from, to);
  }
  void AskOk(const std::string& request) { EXPECT_EQ(service_test::Ask(port, request), "OK") << request; }
  // Expects the answer "ERROR: " + reason, and Card.ppd as it was
  // installed, with no backup or temporary file next to it.
  void ExpectRefused(const std::string& request, const std::string& reason);
  void ExpectNothingChanged();

  service_test::TemporaryFolder root;
  std::string ppdFolder, userFolder, card, original;
  int port = -1;

 private:
  std::unique_ptr<PpdService> service_;
  std::thread thread_;
  int sources_ = 0;
};
