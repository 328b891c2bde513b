// Helpers of the PPD service tests.
#include "ServiceTestSupport.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <grp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace service_test {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error("cannot read " + path);
  std::stringstream data;
  data << in.rdbuf();
  return data.str();
}

void WriteFile(const std::string& path, const std::string& data, mode_t mode) {
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    if (!out) throw std::runtime_error("cannot write " + path);
    out << data;
  }
  ::chmod(path.c_str(), mode);
}

std::string OwnFixturePpd() { return std::string(VKT_SERVICE_TEST_DATA) + "/VKTS32.ppd"; }

std::vector<std::string> SandboxFixturePpds() {
  std::vector<std::string> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(VKT_SANDBOX_PPD_FIXTURES, error))
    if (entry.path().extension() == ".ppd") files.push_back(entry.path().string());
  std::sort(files.begin(), files.end());
  return files;
}

std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("fixture lacks \"" + from + "\"");
  return text.replace(at, from.size(), to);
}

TemporaryFolder::TemporaryFolder(const std::string& base) {
  std::string pattern = base + "/vkt-service-test-XXXXXX";
  if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed in " + base);
  path_ = pattern;
  ::chmod(path_.c_str(), 0755);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

namespace {
// Only async-signal-safe calls: also used in a forked child.
ssize_t Exchange(int port, const char* request, size_t length, char* answer, size_t capacity) {
  int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return -1;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  ssize_t got = -1;
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      ::send(fd, request, length, MSG_NOSIGNAL) == static_cast<ssize_t>(length))
    got = ::recv(fd, answer, capacity, 0);
  ::close(fd);
  return got;
}
}  // namespace

std::optional<std::string> Ask(int port, const std::string& request) {
  char answer[512];
  ssize_t got = Exchange(port, request.data(), request.size(), answer, sizeof answer);
  if (got < 0) return std::nullopt;
  return std::string(answer, static_cast<size_t>(got));
}

std::optional<std::string> AskAsNobody(int port, const std::string& request) {
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) return std::nullopt;
  pid_t child = ::fork();
  if (child == 0) {
    ::close(pipeFds[0]);
    if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) ::_exit(3);
    char answer[512];
    ssize_t got = Exchange(port, request.data(), request.size(), answer, sizeof answer);
    if (got < 0) ::_exit(4);
    if (::write(pipeFds[1], answer, static_cast<size_t>(got)) != got) ::_exit(5);
    ::_exit(0);
  }
  ::close(pipeFds[1]);
  std::string answer;
  char buffer[512];
  ssize_t got;
  while ((got = ::read(pipeFds[0], buffer, sizeof buffer)) > 0) answer.append(buffer, static_cast<size_t>(got));
  ::close(pipeFds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) return std::nullopt;
  return answer;
}

std::vector<std::string> FolderEntries(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

bool RunningAsRoot() { return ::geteuid() == 0; }

std::string ServiceGroupForTests() {
  if (RunningAsRoot()) return "lpadmin";
  group* own = ::getgrgid(::getgid());
  if (!own) throw std::runtime_error("the primary group of the test user has no name");
  return own->gr_name;
}

std::string FastFolderBase() { return ::access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : "/tmp"; }

}  // namespace service_test
