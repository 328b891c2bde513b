// The vkts3-ppd-service program: options, the log of every request, a clean
// stop on SIGTERM, and SIGKILL in the middle of a replacement.
#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <regex>
#include <thread>

#include "ServiceTestSupport.h"
#include "UniqueFd.h"

using namespace service_test;

namespace {

// One run of the program with CUPS_SERVERROOT=serverRoot and its standard
// error on a pipe.
class ServiceProgram {
 public:
  // `launcher`, when given, is run instead, with the arguments as they are.
  ServiceProgram(const std::string& serverRoot, std::vector<std::string> arguments, std::string launcher = {}) {
    int pipeFds[2];
    if (::pipe2(pipeFds, O_CLOEXEC) != 0) return;
    errors_ = pipeFds[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDERR_FILENO);
    const std::string program = launcher.empty() ? std::string(VKT_SERVICE_PROGRAM) : launcher;
    arguments.insert(arguments.begin(), program);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::string rootVariable = "CUPS_SERVERROOT=" + serverRoot;
    std::vector<char*> envp = {rootVariable.data(), nullptr};
    if (::posix_spawn(&pid_, program.c_str(), &actions, nullptr, argv.data(), envp.data()) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    ::close(pipeFds[1]);
  }
  ~ServiceProgram() {
    Kill(SIGKILL);
    if (errors_ >= 0) ::close(errors_);
  }

  // Reads the log until the line "... listening on 127.0.0.1:PORT"; -1 when
  // the program ends or says nothing of the kind within 10 s.
  int WaitForPort() {
    std::regex listening("listening on 127\\.0\\.0\\.1:(\\d+)");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
      std::smatch match;
      if (std::regex_search(log_, match, listening)) return std::stoi(match[1]);
      if (!ReadSome(100)) return -1;
    }
    return -1;
  }

  // Signals the program, waits for it and returns its whole log.
  std::string Stop(int signal, int* status = nullptr) {
    int result = Kill(signal);
    if (status) *status = result;
    while (ReadSome(1000)) {
    }
    return log_;
  }

 private:
  bool ReadSome(int timeoutMs) {
    pollfd fd{errors_, POLLIN, 0};
    if (::poll(&fd, 1, timeoutMs) <= 0) return true;  // nothing yet
    char buffer[4096];
    ssize_t got = ::read(errors_, buffer, sizeof buffer);
    if (got <= 0) return false;
    log_.append(buffer, static_cast<size_t>(got));
    return true;
  }
  int Kill(int signal) {
    if (pid_ <= 0) return -1;
    ::kill(pid_, signal);
    int status = 0;
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
  }

  pid_t pid_ = -1;
  int errors_ = -1;
  std::string log_;
};

class ServiceProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ppdFolder = root.Path() + "/ppd";
    ASSERT_EQ(::mkdir(ppdFolder.c_str(), 0755), 0);
    card = ppdFolder + "/Card.ppd";
    a = ReadFile(OwnFixturePpd());
    WriteFile(card, a, 0644);
    b = ReplaceOnce(a, "*DefaultVKTS32PrintingMode: 0PrintnEncode", "*DefaultVKTS32PrintingMode: 1EncodeOnly");
    b = ReplaceOnce(b, "StaticText:Orvex", "StaticText:" + std::string(250, 'b'));
    sourceA = root.Path() + "/a.ppd";
    sourceB = root.Path() + "/b.ppd";
    WriteFile(sourceA, a);
    WriteFile(sourceB, b);
  }

  TemporaryFolder root{FastFolderBase()};
  std::string ppdFolder, card, a, b, sourceA, sourceB;
};

TEST_F(ServiceProgramTest, ServesOnItsPortLogsEveryRequestAndStopsOnSigterm) {
  ServiceProgram program(root.Path(), {"--port", "0", "--group", ServiceGroupForTests()});
  int port = program.WaitForPort();
  ASSERT_GT(port, 0) << "the service did not start";
  EXPECT_EQ(Ask(port, sourceB + "|" + card), "OK");
  EXPECT_EQ(ReadFile(card), b);
  EXPECT_EQ(Ask(port, sourceB + "|" + root.Path() + "/a.ppd"), "ERROR: the destination is not in the PPD folder");
  int status = 0;
  std::string log = program.Stop(SIGTERM, &status);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << log;
  const std::string uid = std::to_string(::getuid());
  EXPECT_NE(log.find("PPD folder " + ppdFolder + ", group " + ServiceGroupForTests()), std::string::npos) << log;
  EXPECT_NE(log.find("request from uid " + uid + " \"" + sourceB + "|" + card + "\": OK\n"), std::string::npos) << log;
  EXPECT_NE(log.find("request from uid " + uid + " \"" + sourceB + "|" + root.Path() +
                     "/a.ppd\": ERROR: the destination is not in the PPD folder\n"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("vkts3-ppd-service stopped"), std::string::npos) << log;
}

TEST_F(ServiceProgramTest, RefusesBadOptionsAndABusyPort) {
  ServiceProgram bad(root.Path(), {"--port", "http"});
  int status = 0;
  std::string log = bad.Stop(0, &status);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2);
  EXPECT_NE(log.find("usage: vkts3-ppd-service [--port PORT] [--group NAME]"), std::string::npos) << log;

  ServiceProgram first(root.Path(), {"--port", "0", "--group", ServiceGroupForTests()});
  int port = first.WaitForPort();
  ASSERT_GT(port, 0);
  ServiceProgram second(root.Path(), {"--port", std::to_string(port)});
  log = second.Stop(0, &status);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
  EXPECT_NE(log.find("cannot listen on 127.0.0.1:" + std::to_string(port)), std::string::npos) << log;
}

TEST_F(ServiceProgramTest, KilledWhileReplacingLeavesOldOrNewWhole) {
  // Kill within about one and a half times the time a request takes here.
  int requestMicroseconds = 0;
  {
    ServiceProgram program(root.Path(), {"--port", "0", "--group", ServiceGroupForTests()});
    int port = program.WaitForPort();
    ASSERT_GT(port, 0);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Ask(port, sourceB + "|" + card), "OK");
    requestMicroseconds = static_cast<int>(
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count());
    ASSERT_EQ(Ask(port, sourceA + "|" + card), "OK");
  }
  std::mt19937 random(4671);
  std::uniform_int_distribution<int> delayMicroseconds(0, requestMicroseconds * 3 / 2);
  int keptOld = 0, tookNew = 0;
  for (int round = 0; round < 60; ++round) {
    ServiceProgram program(root.Path(), {"--port", "0", "--group", ServiceGroupForTests()});
    int port = program.WaitForPort();
    ASSERT_GT(port, 0);
    const std::string before = ReadFile(card);
    const std::string& after = before == a ? b : a;
    std::thread client([&] { Ask(port, (before == a ? sourceB : sourceA) + "|" + card); });
    std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
    program.Stop(SIGKILL);
    client.join();
    const std::string now = ReadFile(card);
    ASSERT_TRUE(now == before || now == after) << "round " << round << ": torn PPD";
    (now == before ? keptOld : tookNew)++;
    struct stat info {};
    ASSERT_EQ(::lstat(card.c_str(), &info), 0);
    ASSERT_EQ(info.st_nlink, 1u);
  }
  // Kills landed both before and after the rename.
  EXPECT_GT(keptOld, 0);
  EXPECT_GT(tookNew, 0);
  // A fresh start clears what the killed runs left behind.
  ServiceProgram program(root.Path(), {"--port", "0", "--group", ServiceGroupForTests()});
  ASSERT_GT(program.WaitForPort(), 0);
  for (const std::string& name : FolderEntries(ppdFolder))
    EXPECT_TRUE(name == "Card.ppd" || name == "Card.ppd.O") << name;
}

// Under systemd the socket unit holds the port from boot and hands it to the
// service: systemd-socket-activate does the same hand-over here.
TEST_F(ServiceProgramTest, UnderSocketActivationServesOnTheInheritedSocket) {
  int port = 0;
  {
    // A free port: bound and released again.
    UniqueFd probe(::socket(AF_INET, SOCK_STREAM, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(::bind(probe.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::getsockname(probe.Get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    port = ntohs(address.sin_port);
  }
  ServiceProgram program(root.Path(),
                         {"-l", "127.0.0.1:" + std::to_string(port), "-E", "CUPS_SERVERROOT", VKT_SERVICE_PROGRAM,
                          "--group", ServiceGroupForTests()},
                         "/usr/bin/systemd-socket-activate");
  std::optional<std::string> answer;
  for (int attempt = 0; attempt < 100 && !answer; ++attempt) {
    answer = Ask(port, sourceB + "|" + card);
    if (!answer) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(answer, "OK");
  EXPECT_EQ(ReadFile(card), b);
  std::string log = program.Stop(SIGTERM);
  EXPECT_NE(log.find("vkts3-ppd-service listening on 127.0.0.1:" + std::to_string(port) + " (socket from systemd)"),
            std::string::npos)
      << log;
}

}  // namespace
