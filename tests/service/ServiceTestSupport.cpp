// Helpers of the PPD service tests.
#include "ServiceTestSupport.h"

#include <arpa/inet.h>
#include <grp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace service_test {

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void WriteFile(const std::string& path, const std::string& data, mode_t mode) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << data;
  ::chmod(path.c_str(), mode);
}

std::string OwnFixturePpd() { return std::string(VKT_SERVICE_TEST_DATA) + "/VKTS32.ppd"; }

std::string ReplaceOnce(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  if (at == std::string::npos) throw std::runtime_error("fixture lacks \"" + from + "\"");
  return text.replace(at, from.size(), to);
}

TemporaryFolder::TemporaryFolder(const std::string& base) {
  path_ = base + "/vkt-service-test-XXXXXX";
  if (!::mkdtemp(path_.data())) throw std::runtime_error("mkdtemp failed in " + base);
  ::chmod(path_.c_str(), 0755);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(path_, error);
}

int Connect(int port) {
  int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<uint16_t>(port));
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0) return fd;
  ::close(fd);
  return -1;
}

namespace {
// Only async-signal-safe calls: also used in a forked child.
ssize_t Exchange(int port, const std::string& request, char* answer, size_t capacity) {
  const int fd = Connect(port);
  ssize_t got = -1;
  if (fd >= 0 && ::send(fd, request.data(), request.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(request.size()))
    got = ::recv(fd, answer, capacity, 0);
  ::close(fd);
  return got;
}
}  // namespace

std::optional<std::string> Ask(int port, const std::string& request) {
  char answer[512];
  ssize_t got = Exchange(port, request, answer, sizeof answer);
  if (got < 0) return std::nullopt;
  return std::string(answer, static_cast<size_t>(got));
}

std::optional<std::string> AskAsNobody(int port, const std::string& request) {
  int pipeFds[2];
  if (::pipe(pipeFds) != 0) return std::nullopt;
  pid_t child = ::fork();
  if (child == 0) {
    char answer[512];
    ssize_t got = -1;
    if (::setgroups(0, nullptr) == 0 && ::setgid(kNobody) == 0 && ::setuid(kNobody) == 0)
      got = Exchange(port, request, answer, sizeof answer);
    ::_exit(got >= 0 && ::write(pipeFds[1], answer, static_cast<size_t>(got)) == got ? 0 : 3);
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

std::string ServiceGroupForTests() {
  if (::geteuid() == 0) return "lpadmin";
  group* own = ::getgrgid(::getgid());
  if (!own) throw std::runtime_error("the primary group of the test user has no name");
  return own->gr_name;
}

}  // namespace service_test

using namespace service_test;

void ServiceFixture::SetUp() {
  ppdFolder = root.Path() + "/ppd";
  userFolder = root.Path() + "/user";
  ASSERT_EQ(::mkdir(ppdFolder.c_str(), 0755), 0);
  ASSERT_EQ(::mkdir(userFolder.c_str(), 0755), 0);
  card = ppdFolder + "/Card.ppd";
  original = ReadFile(OwnFixturePpd());
  WriteFile(card, original, 0640);
  ASSERT_EQ(::geteuid() == 0 ? ::chown(card.c_str(), 0, 7) : 0, 0);  // root:lp as CUPS installs it
  StartService(ServiceGroupForTests());
}

void ServiceFixture::StartService(const std::string& group, std::chrono::milliseconds readTimeout) {
  StopService();
  PpdServiceOptions options;
  options.port = 0;
  options.groups = {group};
  options.ppdFolder = ppdFolder;
  options.readTimeout = readTimeout;
  service_ = std::make_unique<PpdService>(options);
  port = service_->Listen();
  ASSERT_GT(port, 0) << "the service cannot listen";
  thread_ = std::thread([this] { service_->Run(); });
}

void ServiceFixture::StopService() {
  if (!service_) return;
  service_->Stop();
  thread_.join();
  service_.reset();
}

std::string ServiceFixture::Source(const std::string& text, uid_t owner, size_t length) {
  std::string path = userFolder + "/edit" + std::to_string(++sources_);
  if (length) path += std::string(length - path.size() - 5 - card.size(), 'a');
  path += ".ppd";
  WriteFile(path, text, 0600);
  EXPECT_EQ(owner == ::getuid() ? 0 : ::chown(path.c_str(), owner, owner), 0);
  return path;
}

void ServiceFixture::ExpectRefused(const std::string& request, const std::string& reason) {
  EXPECT_EQ(Ask(port, request), "ERROR: " + reason);
  ExpectNothingChanged();
}

void ServiceFixture::ExpectNothingChanged() {
  EXPECT_EQ(ReadFile(card), original);
  struct stat info {};
  ASSERT_EQ(::stat(card.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640u);
  for (const std::string& name : FolderEntries(ppdFolder)) {
    EXPECT_NE(name, "Card.ppd.O");
    EXPECT_NE(name.rfind(PpdReplacer::kTemporaryPrefix, 0), 0u) << name;
  }
}
