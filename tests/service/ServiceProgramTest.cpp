// The vkts3-ppd-service program: options, the log of every request, a clean
// stop on SIGTERM, socket activation, and SIGKILL in the middle of a
// replacement.
#include <random>

#include "../ppd/FakePpdService.h"
#include "ServiceTestSupport.h"

using namespace service_test;

namespace {

// One run of the program (or of `launcher` with these arguments) with
// CUPS_SERVERROOT=serverRoot and its standard error in a file of serverRoot.
struct ServiceProgram {
  ServiceProgram(const std::string& serverRoot, std::vector<std::string> arguments, std::string launcher = {})
      : log(serverRoot + "/log" + std::to_string(++runs)) {
    arguments.insert(arguments.begin(), launcher.empty() ? VKT_SERVICE_PROGRAM : launcher);
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::string rootVariable = "CUPS_SERVERROOT=" + serverRoot;
    char* envp[] = {rootVariable.data(), nullptr};
    if ((pid = ::fork()) == 0) {  // only async-signal-safe calls in the child
      ::dup2(::open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO);
      ::execve(argv[0], argv.data(), envp);
      ::_exit(127);
    }
  }
  ~ServiceProgram() { Stop(SIGKILL); }

  // The port of the first "127.0.0.1:PORT" of the log; -1 when the program
  // ends or says nothing of the kind within 10 s.
  int WaitForPort() {
    for (int attempt = 0; attempt < 1000 && pid > 0 && ::waitpid(pid, nullptr, WNOHANG) == 0; ++attempt) {
      const std::string text = Log();
      if (const size_t at = text.find("127.0.0.1:"); at != std::string::npos) return std::stoi(text.substr(at + 10));
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
  }
  // Signals the program (0: lets it end by itself) and returns its status.
  int Stop(int signal) {
    int status = -1;
    if (pid > 0 && (signal == 0 || ::kill(pid, signal) == 0)) ::waitpid(pid, &status, 0);
    pid = -1;
    return status;
  }
  std::string Log() const { return ReadFile(log); }

  static inline int runs = 0;
  std::string log;
  pid_t pid = -1;
};

// The program serves the fixture's PPD folder; A is the installed PPD, B
// differs from it in long editable lines, so a torn file cannot look whole.
class ServiceProgramTest : public ServiceFixture {
 protected:
  void SetUp() override {
    ServiceFixture::SetUp();
    sourceA = Source(a), sourceB = Source(b);
  }
  std::vector<std::string> Arguments() const { return {"--port", "0", "--group", ServiceGroupForTests()}; }
  const std::string& a = original;
  const std::string b = ReplaceOnce(
      ReplaceOnce(a, "*DefaultVKTS32PrintingMode: 0PrintnEncode", "*DefaultVKTS32PrintingMode: 1EncodeOnly"),
      "PrinterSerialNo: S32-000123", "PrinterSerialNo: " + std::string(250, 'b'));
  std::string sourceA, sourceB;
};

TEST_F(ServiceProgramTest, ServesLogsEveryRequestStopsOnSigtermRefusesBadOptionsAndTakesASocketFromSystemd) {
  ServiceProgram program(root, Arguments());
  const int port = program.WaitForPort();  // -1 when it did not start: every check below fails
  EXPECT_EQ(Ask(port, sourceB + "|" + card), "OK");
  EXPECT_EQ(Ask(port, sourceB + "|" + sourceA), "ERROR: the destination is not in the PPD folder");
  // A second program on the same port.
  ServiceProgram second(root, {"--port", std::to_string(port)});
  EXPECT_EQ(WEXITSTATUS(second.Stop(0)), 1);
  EXPECT_NE(second.Log().find("cannot listen on 127.0.0.1:" + std::to_string(port)), std::string::npos);
  EXPECT_EQ(program.Stop(SIGTERM), 0);
  const std::string log = program.Log(), uid = std::to_string(::getuid()),
                    listening = "vkts3-ppd-service listening on 127.0.0.1:" + std::to_string(port) + ", PPD folder ";
  ASSERT_NE(log.find(listening), std::string::npos) << log;
  EXPECT_EQ(log.substr(log.find(listening)),
            listening + root + "/ppd, group " + ServiceGroupForTests() + " (--group)\nrequest from uid " + uid + " \"" +
                sourceB + "|" + card + "\": OK\nrequest from uid " + uid + " \"" + sourceB + "|" + sourceA +
                "\": ERROR: the destination is not in the PPD folder\nvkts3-ppd-service stopped\n");
  for (const char* bad : {"http", "70000", ""}) {
    ServiceProgram program(root, {"--port", bad});
    EXPECT_EQ(WEXITSTATUS(program.Stop(0)), 2) << bad;
    EXPECT_EQ(program.Log(), "usage: vkts3-ppd-service [--port PORT] [--group NAME]...\n");
  }
  // Without --port, the service's own port (taken already where the service
  // is installed); without --group, the groups of the scheduler's SystemGroup line.
  const std::string conf = root + "/cups-files.conf";
  const std::pair<std::vector<std::string>, std::string> runs[] = {
      {{"--group", "root"}, "127.0.0.1:24671"},
      {{"--port", "0"}, ", PPD folder " + root + "/ppd, group lpadmin (" + conf + " names no SystemGroup)\n"},
      {{"--port", "0"}, ", PPD folder " + root + "/ppd, any of the groups sys, nogroup (" + conf + ")\n"},
  };
  for (const auto& [arguments, expected] : runs) {
    ServiceProgram program(root, arguments);
    program.WaitForPort();
    EXPECT_NE(program.Log().find(expected), std::string::npos) << program.Log();
    WriteFile(conf, &expected == &runs[0].second ? "LogLevel warn\n" : "LogLevel warn\nSystemGroup sys nogroup\n");
  }
  // Under systemd the socket unit holds the port from boot and hands it to
  // the service, so no program started before it can take the port and
  // answer "OK": systemd-socket-activate makes the same hand-over here.
  WriteFile(card, a, 0640);
  const std::string systemdPort = std::to_string(FakePpdService::UnusedPort());
  ServiceProgram activated(root,
                           {"-l", "127.0.0.1:" + systemdPort, "-E", "CUPS_SERVERROOT", VKT_SERVICE_PROGRAM, "--group",
                            ServiceGroupForTests()},
                           "/usr/bin/systemd-socket-activate");
  std::optional<std::string> answer;
  for (int attempt = 0; attempt < 100 && !answer; ++attempt) {
    answer = Ask(std::stoi(systemdPort), sourceB + "|" + card);
    if (!answer) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(answer, "OK");
  EXPECT_EQ(ReadFile(card), b);
  activated.Stop(SIGTERM);
  EXPECT_NE(activated.Log().find("vkts3-ppd-service listening on 127.0.0.1:" + systemdPort + " (socket from systemd)"),
            std::string::npos)
      << activated.Log();
}

TEST_F(ServiceProgramTest, KilledWhileReplacingLeavesOldOrNewWhole) {
  // Kill within about one and a half times the time a request takes here.
  int requestMicroseconds = 0;
  {
    ServiceProgram program(root, Arguments());
    const int port = program.WaitForPort();
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Ask(port, sourceB + "|" + card), "OK");
    requestMicroseconds = static_cast<int>(
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start).count());
  }
  std::mt19937 random(4671);
  std::uniform_int_distribution<int> delayMicroseconds(0, requestMicroseconds * 3 / 2);
  int keptOld = 0, tookNew = 0;
  for (int round = 0; round < 60; ++round) {
    ServiceProgram program(root, Arguments());
    const int port = program.WaitForPort();  // -1: no round takes the new PPD, the checks below fail
    const std::string before = ReadFile(card);
    std::thread client([&] { Ask(port, (before == a ? sourceB : sourceA) + "|" + card); });
    std::this_thread::sleep_for(std::chrono::microseconds(delayMicroseconds(random)));
    program.Stop(SIGKILL);
    client.join();
    const std::string backup = ReadFile(card + ".O");
    const std::string state = State(b).substr(0, 17);  // "old|new 640 1 root:lp": A or B, whole, in place
    ASSERT_TRUE((state == "old 640 1 root:lp" || state == "new 640 1 root:lp") && (backup == a || backup == b))
        << "round " << round << ": " << state << (backup == a || backup == b ? "" : ", a torn backup");
    ++(ReadFile(card) == before ? keptOld : tookNew);
  }
  // Kills landed both before and after the rename.
  EXPECT_TRUE(keptOld > 0 && tookNew > 0) << keptOld << " kept the old PPD, " << tookNew << " took the new one";
  // A fresh start clears what the killed runs left behind, and serves.
  ServiceProgram program(root, Arguments());
  const int port = program.WaitForPort();
  EXPECT_EQ(FolderEntries(ppdFolder), "Card.ppd Card.ppd.O ");
  const std::string before = ReadFile(card);
  EXPECT_EQ(Ask(port, (before == a ? sourceB : sourceA) + "|" + card), "OK");
  EXPECT_EQ(ReadFile(card + ".O"), before);
}

}  // namespace
