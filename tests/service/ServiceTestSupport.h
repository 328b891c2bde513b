// Shared pieces of the PPD service tests: file helpers, one request made as
// this user or as uid 65534, and a running service (the library's server on
// a free port, in a thread) over a temporary PPD folder holding Card.ppd,
// root:lp 0640.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "PpdService.h"
#include "PpdTestSupport.h"

namespace service_test {

constexpr uid_t kNobody = 65534;

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteFile(const std::string& path, const std::string& data, mode_t mode = 0600) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << data;
  ::chmod(path.c_str(), mode);
}

// Our own fixture PPD of this folder.
inline std::string FixturePpd() { return ReadFile(VKT_SERVICE_TEST_DATA "/VKTS32.ppd"); }

// Replaces the first occurrence of from (which must exist) by to.
inline std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
  const size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("fixture lacks \"" + from + "\"");
  return text.replace(at, from.size(), to);
}

// A connection to 127.0.0.1:port, or -1.
inline int Connect(int port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
  ::close(fd);
  return -1;
}

// Sends request on a fresh connection to 127.0.0.1:port and reads the one
// answer; nullopt when the connection or the read fails.
inline std::optional<std::string> Ask(int port, const std::string& request) {
  const int fd = Connect(port);
  char answer[512];
  ssize_t got = -1;
  if (fd >= 0 && ::send(fd, request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size()))
    got = ::recv(fd, answer, sizeof answer, 0);
  ::close(fd);
  return got < 0 ? std::nullopt : std::optional<std::string>(std::string(answer, static_cast<size_t>(got)));
}

// Runs body in a forked child and returns the text it returned; nullopt
// when it returned none or died.
inline std::optional<std::string> InChild(const std::function<std::optional<std::string>()>& body) {
  int fds[2];
  if (::pipe(fds) != 0) return std::nullopt;
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(fds[0]);
    const std::optional<std::string> text = body();
    ::_exit(text && ::write(fds[1], text->data(), text->size()) == static_cast<ssize_t>(text->size()) ? 0 : 3);
  }
  ::close(fds[1]);
  std::string text;
  char buffer[512];
  for (ssize_t got; (got = ::read(fds[0], buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<size_t>(got));
  ::close(fds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? std::optional(text) : std::nullopt;
}

// Ask from a forked child running as uid (and gid) 65534.
inline std::optional<std::string> AskAsNobody(int port, const std::string& request) {
  return InChild([&]() -> std::optional<std::string> {
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) return std::nullopt;
    return Ask(port, request);
  });
}

// Names of the entries of a folder, sorted, each followed by a blank.
inline std::string FolderEntries(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
  std::string text;
  for (const std::string& name : names) text += name + " ";
  return text;
}

// The group the tests give the service: lpadmin as root (root may always
// ask), else the primary group of the user running the tests.
inline std::string ServiceGroupForTests() { return ::geteuid() == 0 ? "lpadmin" : ::getgrgid(::getgid())->gr_name; }

}  // namespace service_test

class ServiceFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(::chmod(root.c_str(), 0755), 0);  // uid 65534 passes through
    ASSERT_EQ(::mkdir(ppdFolder.c_str(), 0755), 0);
    ASSERT_EQ(::mkdir(userFolder.c_str(), 0755), 0);
    service_test::WriteFile(card, original, 0640);
    ASSERT_EQ(::geteuid() == 0 ? ::chown(card.c_str(), 0, 7) : 0, 0);  // root:lp as CUPS installs it
    StartService(service_test::ServiceGroupForTests());
  }
  void TearDown() override { StopService(); }

  // (Re)starts the service with these settings.
  void StartService(const std::string& group, std::chrono::milliseconds readTimeout = std::chrono::seconds(5)) {
    StopService();
    service_ = std::make_unique<PpdService>(
        PpdServiceOptions{.port = 0, .groups = {group}, .ppdFolder = ppdFolder, .readTimeout = readTimeout});
    port = service_->Listen();
    ASSERT_GT(port, 0) << "the service cannot listen";
    thread_ = std::thread([this] { service_->Run(); });
  }
  void StopService() {
    if (!service_) return;
    service_->Stop();
    thread_.join();
    service_.reset();
  }

  // Writes text as a new source file (owned by owner) and returns its path;
  // with `length`, the path makes the request for Card.ppd that long.
  std::string Source(const std::string& text, uid_t owner = ::getuid(), size_t length = 0) {
    std::string path = userFolder + "/edit" + std::to_string(++sources_);
    if (length) path += std::string(length - path.size() - 5 - card.size(), 'a');
    path += ".ppd";
    service_test::WriteFile(path, text, 0600);
    EXPECT_EQ(owner == ::getuid() ? 0 : ::chown(path.c_str(), owner, owner), 0);
    return path;
  }
  std::string Installed() const { return service_test::ReadFile(card); }
  // The installed text with one replacement.
  std::string Edited(const std::string& from, const std::string& to) const {
    return service_test::ReplaceOnce(Installed(), from, to);
  }
  void AskOk(const std::string& request) { EXPECT_EQ(service_test::Ask(port, request), "OK") << request; }
  // Card.ppd as "<old|new (equal to text)|other> <mode> <links> <owner>",
  // then the backup and temporary files next to it.
  std::string State(const std::string& text = {}) const {
    struct stat info {};
    ::stat(card.c_str(), &info);
    const bool owner = info.st_uid + info.st_gid == (::geteuid() == 0 ? 7u : ::getuid() + ::getgid());
    char details[64];
    std::snprintf(details, sizeof details, " %o %ju %s", info.st_mode & 07777, static_cast<uintmax_t>(info.st_nlink),
                  owner ? "root:lp" : "other-owner");
    const std::string now = Installed();
    std::string state = (now == original ? "old" : (now == text ? "new" : "other")) + std::string(details);
    for (const auto& entry : std::filesystem::directory_iterator(ppdFolder)) {
      const std::string name = entry.path().filename();
      if (name == "Card.ppd.O" || name.starts_with(PpdReplacer::kTemporaryPrefix)) state += " " + name;
    }
    return state;
  }
  // Expects the answer "ERROR: " + reason, and Card.ppd as it was
  // installed, with no backup or temporary file next to it.
  void ExpectRefused(const std::string& request, const std::string& reason) {
    EXPECT_EQ(service_test::Ask(port, request), "ERROR: " + reason);
    EXPECT_EQ(State(), kUnchanged);
  }

  static constexpr const char* kUnchanged = "old 640 1 root:lp";
  ppd_test::ScopedEnv shm{"TMPDIR", "/dev/shm"};  // the scratch folder where fsync costs nothing
  ppd_test::ScratchDir scratch;
  const std::string root = scratch.path(), ppdFolder = root + "/ppd", userFolder = root + "/user",
                    card = ppdFolder + "/Card.ppd", original = service_test::FixturePpd();
  int port = -1;

 private:
  std::unique_ptr<PpdService> service_;
  std::thread thread_;
  int sources_ = 0;
};
