// The vkt-emulator program as scripts use it: options, port file, transcript
// and capture files, command-line faults, and a clean exit on SIGTERM.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "TestClient.h"

namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream content;
  content << file.rdbuf();
  return content.str();
}

// Runs the program with `arguments`, its standard error going to a file.
class Program {
 public:
  Program(const std::vector<std::string>& arguments, const fs::path& errorFile) {
    pid_ = fork();
    if (pid_ == 0) {
      int err = open(errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
      if (err >= 0) dup2(err, 2);
      std::vector<char*> argv;
      std::string program = VKT_EMULATOR_PROGRAM;
      argv.push_back(program.data());
      std::vector<std::string> copy = arguments;
      for (auto& argument : copy) argv.push_back(argument.data());
      argv.push_back(nullptr);
      execv(program.c_str(), argv.data());
      _exit(127);
    }
  }
  ~Program() {
    if (pid_ > 0 && !exited_) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // Exit status after `signal` (0 = just wait), or -1 when it did not end normally.
  int Finish(int signal = 0) {
    if (signal) kill(pid_, signal);
    int status = 0;
    waitpid(pid_, &status, 0);
    exited_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  bool Alive() {
    if (!exited_ && waitpid(pid_, nullptr, WNOHANG) == pid_) exited_ = true;
    return !exited_;
  }

 private:
  pid_t pid_ = -1;
  bool exited_ = false;
};

class EmulatorProgramTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("vkt-emu-program-" + std::to_string(getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  // The port the program wrote, once it wrote it (the test fails otherwise).
  int WaitForPort(Program& program) {
    for (int i = 0; i < 5000 && program.Alive(); ++i) {
      if (fs::exists(dir_ / "port")) return std::stoi(ReadFile(dir_ / "port"));
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ADD_FAILURE() << "vkt-emulator wrote no port file: " << ReadFile(dir_ / "stderr");
    return -1;
  }

  fs::path dir_;
};

TEST_F(EmulatorProgramTest, HelpDescribesTheOptions) {
  Program program({"--help"}, dir_ / "stderr");
  // --help prints on standard output, which the test does not capture; it
  // must exit 0 without starting a server.
  EXPECT_EQ(program.Finish(), 0);
}

TEST_F(EmulatorProgramTest, BadArgumentsExitWithAMessage) {
  {
    Program program({"--port", "0"}, dir_ / "stderr");
    EXPECT_EQ(program.Finish(), 2);
    EXPECT_NE(ReadFile(dir_ / "stderr").find("vkt-emulator: --profile is required"), std::string::npos);
  }
  {
    std::ofstream(dir_ / "bad.profile") << "model = X\nsize = 3\n";
    Program program({"--port", "0", "--profile", (dir_ / "bad.profile").string()}, dir_ / "stderr");
    EXPECT_EQ(program.Finish(), 1);
    EXPECT_NE(ReadFile(dir_ / "stderr").find("bad.profile: line 2: unknown key \"size\""), std::string::npos);
  }
}

TEST_F(EmulatorProgramTest, ServesAProfileRecordsEverythingAndStopsOnSigterm) {
  Program program({"--port", "0", "--profile", std::string(VKT_EMULATOR_PROFILES) + "/VKTS3C.profile", "--port-file",
                   (dir_ / "port").string(), "--transcript", (dir_ / "transcript").string(), "--capture-dir",
                   (dir_ / "capture").string(), "--nak", "!V 15", "--delay-ms", "1"},
                  dir_ / "stderr");
  int port = WaitForPort(program);
  ASSERT_GT(port, 0);
  {
    TestClient tool(port);
    ASSERT_TRUE(tool.Connected());
    ASSERT_TRUE(tool.Send(Framed("V") + kReplyRequest));
    EXPECT_EQ(tool.Read(19), "VKTS3CEM V1.02.0345");
    ASSERT_TRUE(tool.Send(Framed("!V 15") + kReplyRequest));
    EXPECT_EQ(tool.Read(4), "\x15" "09\x04");
    TestClient job(port);
    ASSERT_TRUE(job.Send("%PDF-1.4 test card"));
  }
  // The job's capture appears once its connection has ended.
  fs::path capture;
  for (int i = 0; i < 5000 && capture.empty(); ++i) {
    if (fs::exists(dir_ / "capture"))
      for (const auto& entry : fs::directory_iterator(dir_ / "capture"))
        if (entry.path().extension() == ".pdf") capture = entry.path();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  ASSERT_FALSE(capture.empty());
  EXPECT_EQ(ReadFile(capture), "%PDF-1.4 test card");

  EXPECT_EQ(program.Finish(SIGTERM), 0);
  std::string transcript = ReadFile(dir_ / "transcript");
  EXPECT_NE(transcript.find("c1 open\nc1 > \\x1bV\\x0d\\x1bE 2\\x0d\nc1 < VKTS3CEM V1.02.0345\n"), std::string::npos)
      << transcript;
  EXPECT_NE(transcript.find("c2 > %PDF-1.4 test card\n"), std::string::npos) << transcript;
  std::string log = ReadFile(dir_ / "stderr");
  EXPECT_NE(log.find("VKTS3C (VKTS3CEM V1.02.0345) listening on 127.0.0.1:" + std::to_string(port)), std::string::npos)
      << log;
  EXPECT_NE(log.find("\"!V 15\": NAK (fault)"), std::string::npos) << log;
  EXPECT_NE(log.find("stopping on signal 15"), std::string::npos) << log;
}

TEST_F(EmulatorProgramTest, ClosesAfterTheGivenBytesAndStopsOnSigint) {
  Program program({"--port", "0", "--profile", std::string(VKT_EMULATOR_PROFILES) + "/VKTS1.profile", "--port-file",
                   (dir_ / "port").string(), "--close-after", "8", "--quiet"},
                  dir_ / "stderr");
  int port = WaitForPort(program);
  ASSERT_GT(port, 0);
  TestClient tool(port);
  ASSERT_TRUE(tool.Send(Framed(".") + kReplyRequest));
  EXPECT_EQ(tool.Read(1), "\x06");
  EXPECT_TRUE(tool.WaitForClose());
  EXPECT_EQ(program.Finish(SIGINT), 0);
  std::string log = ReadFile(dir_ / "stderr");
  EXPECT_NE(log.find("listening on 127.0.0.1:"), std::string::npos) << log;
  EXPECT_EQ(log.find("c1 \".\""), std::string::npos) << log;  // --quiet: no line per command
}

}  // namespace
