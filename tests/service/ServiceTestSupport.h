// Shared pieces of the PPD service tests: a temporary server root with an
// installed PPD, file helpers and the client side of one request.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace service_test {

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& data, mode_t mode = 0600);

// Our own fixture PPD of this folder, and the sandbox's fixtures (may be empty).
std::string OwnFixturePpd();
std::vector<std::string> SandboxFixturePpds();

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
// answer; nullopt when the connection or the read fails.
std::optional<std::string> Ask(int port, const std::string& request);

// The same from a forked child running as uid (and gid) 65534.
std::optional<std::string> AskAsNobody(int port, const std::string& request);

// Names of the entries of a folder, sorted.
std::vector<std::string> FolderEntries(const std::string& folder);

bool RunningAsRoot();

// The group the tests give the service: lpadmin as root (root may always
// ask), else the primary group of the user running the tests.
std::string ServiceGroupForTests();

// /dev/shm when it is a writable folder, else /tmp: where fsync costs
// nothing, for tests that replace a file hundreds of times. A kill of the
// process behaves the same on every file system.
std::string FastFolderBase();

constexpr uid_t kNobody = 65534;

}  // namespace service_test
