// The scheduler stopping in the middle of a session, for a desktop user (the
// user daemon, an admin who cannot read the installed PPD): what needs the
// scheduler fails with its message, what talks to the printer directly works
// on, the window keeps answering, and once the scheduler is back a save goes
// through. The window runs in a child process as that user; the test process
// (root) stops and starts the sandbox's cupsd when the child asks.
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "AppTestSupport.h"
#include "PPDHelper.h"
#include "SandboxEnv.h"

namespace {

constexpr char kQueue[] = "Card";

std::string RotationLine(const std::string& ppd) {
  const size_t at = ppd.find("*DefaultVKTS32Rotation: ");
  return at == std::string::npos ? "" : ppd.substr(at, ppd.find('\n', at) - at);
}

// The window's part, run as the desktop user; `scheduler` asks the test
// process to stop ('S') or start ('T') cupsd and returns once it has.
void UseTheWindow(const std::function<void(char)>& scheduler) {
  app_test::EnsureApplication();
  QTemporaryDir documents;
  ScriptedPrompter prompter;
  AppDelegate::Seams seams;
  seams.queue = kQueue;
  seams.documentsFolder = documents.path().toStdString();
  seams.redirectLog = false;
  seams.quit = [] {};
  AppDelegate app(prompter, std::move(seams));
  ASSERT_EQ(app.applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
  auto& ui = app.ui();
  scheduler('S');

  // The PPD of the queue comes through the scheduler: the save fails and says so.
  ui.Rotate->SelectItemAtIndex(3);
  ui.ApplySettingsBtn->click();
  ASSERT_EQ(prompter.prompts.size(), 1u);
  EXPECT_EQ(prompter.prompts[0].header + ": " + prompter.prompts[0].message,
            "Save Printer Settings: Authentication Error. Printer Settings are not saved");
  EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
  // A test card goes through the scheduler too.
  ui.PrintTestCardBtn->click();
  ASSERT_EQ(prompter.prompts.size(), 2u);
  EXPECT_EQ(prompter.prompts[1].message, "The printer Card is not known to the print system.");
  // The encoder talks to the printer itself: its question comes as always.
  prompter.answers = {1};
  ui.EncodeReadBtn->click();
  ASSERT_EQ(prompter.prompts.size(), 3u);
  EXPECT_EQ(prompter.prompts[2].message, "Please put the appropriate card in the feeder.");
  bool fired = false;
  QTimer::singleShot(10, [&] { fired = true; });
  QTest::qWait(200);
  EXPECT_TRUE(fired) << "the window's event loop stopped";

  scheduler('T');
  prompter.prompts.clear();
  ui.ApplySettingsBtn->click();
  EXPECT_TRUE(prompter.prompts.empty());
  EXPECT_FALSE(ui.ApplySettingsBtn->isEnabled());
}

TEST(CupsdGone, TheWindowStaysUsableAndSavesAgainOnceTheSchedulerIsBack) {
  if (::geteuid() != 0) GTEST_SKIP() << "stopping the sandbox's cupsd and acting as the user daemon need root";
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string original = vkt_sandbox::InstalledPpd(kQueue);
  ASSERT_EQ(RotationLine(original), "*DefaultVKTS32Rotation: 0None");
  const passwd* user = ::getpwnam("daemon");
  ASSERT_NE(user, nullptr);
  char home[] = "/tmp/vkt-cupsd-gone-XXXXXX";
  ASSERT_NE(::mkdtemp(home), nullptr);
  ASSERT_EQ(::chown(home, user->pw_uid, user->pw_gid), 0);

  int request[2], answer[2];
  ASSERT_EQ(::pipe(request), 0);
  ASSERT_EQ(::pipe(answer), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(request[0]);
    ::close(answer[1]);
    setenv("HOME", home, 1);
    setenv("XDG_RUNTIME_DIR", home, 1);
    if (::initgroups("daemon", user->pw_gid) != 0 || ::setgid(user->pw_gid) != 0 || ::setuid(user->pw_uid) != 0)
      ::_exit(3);
    UseTheWindow([&](char what) {
      char done = 0;
      if (::write(request[1], &what, 1) != 1 || ::read(answer[0], &done, 1) != 1 || done != what) ::_exit(4);
    });
    ::_exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  ::close(request[1]);
  ::close(answer[0]);
  const auto scheduler = [](const char* verb) {
    return std::system((std::string(VKT_SANDBOX_SCRIPT) + " " + verb + " --base " + vkt_sandbox::Base()).c_str());
  };
  const std::string ppdPath = vkt_sandbox::Base() + "/ppd/Card.ppd";
  std::string whileStopped;
  for (char what; ::read(request[0], &what, 1) == 1;) {
    if (what == 'T') whileStopped = app_test::ReadFile(ppdPath);
    EXPECT_EQ(scheduler(what == 'S' ? "cupsd-stop" : "cupsd-start"), 0);
    if (::write(answer[1], &what, 1) != 1) break;
  }
  int status = -1;
  ::waitpid(child, &status, 0);
  ::close(request[0]);
  ::close(answer[1]);
  EXPECT_EQ(scheduler("cupsd-start"), 0);  // back, whatever the window did
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the window's process ended with " << status;
  // Nothing was written while the scheduler was away; the save after it was.
  EXPECT_EQ(RotationLine(whileStopped), "*DefaultVKTS32Rotation: 0None");
  EXPECT_EQ(RotationLine(vkt_sandbox::InstalledPpd(kQueue)), "*DefaultVKTS32Rotation: 3Both");

  const std::string copy = std::string(home) + "/original.ppd";
  std::ofstream(copy, std::ios::binary) << original;
  EXPECT_EQ(SavePPDFileAsRoot(copy.c_str(), ppdPath.c_str()), 1);
  EXPECT_EQ(vkt_sandbox::InstalledPpd(kQueue), original);
  std::filesystem::remove_all(home);
}

}  // namespace
