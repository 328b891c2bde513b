// The scheduler stopping in the middle of a session, for a desktop user (the
// user daemon, an admin who cannot read the installed PPD): what needs the
// scheduler fails with its message, what talks to the printer directly works
// on, the window keeps answering, and once the scheduler is back a save goes
// through. The window runs as that user (real and effective ids); root stays
// the saved user id, so the test can stop and start the sandbox's cupsd as root.
#include <grp.h>
#include <gtest/gtest.h>
#include <pwd.h>
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

std::string RotationLine(const std::string& ppd) {
  const size_t at = ppd.find("*DefaultVKTS32Rotation: ");
  return at == std::string::npos ? "" : ppd.substr(at, ppd.find('\n', at) - at);
}

TEST(CupsdGone, TheWindowStaysUsableAndSavesAgainOnceTheSchedulerIsBack) {
  if (::geteuid() != 0) GTEST_SKIP() << "stopping the sandbox's cupsd and acting as the user daemon need root";
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string original = vkt_sandbox::InstalledPpd("Card"), ppdPath = vkt_sandbox::Base() + "/ppd/Card.ppd";
  ASSERT_EQ(RotationLine(original), "*DefaultVKTS32Rotation: 0None");
  const passwd* user = ::getpwnam("daemon");
  ASSERT_NE(user, nullptr);
  const uid_t uid = user->pw_uid;
  const gid_t gid = user->pw_gid;
  char home[] = "/tmp/vkt-cupsd-gone-XXXXXX";
  ASSERT_TRUE(::mkdtemp(home) && ::chown(home, uid, gid) == 0);
  setenv("HOME", home, 1);
  setenv("XDG_RUNTIME_DIR", home, 1);
  const auto asDaemon = [&] {
    ASSERT_TRUE(::initgroups("daemon", gid) == 0 && ::setresgid(gid, gid, 0) == 0 && ::setresuid(uid, uid, 0) == 0);
  };
  // Back to root, then stop or start the scheduler.
  const auto scheduler = [](const char* verb) {
    EXPECT_TRUE(::setresuid(0, 0, 0) == 0 && ::setresgid(0, 0, 0) == 0 && ::setgroups(0, nullptr) == 0);
    return std::system((std::string(VKT_SANDBOX_SCRIPT) + " " + verb + " --base " + vkt_sandbox::Base()).c_str());
  };
  std::string whileStopped;
  {
    asDaemon();
    app_test::EnsureApplication();
    QTemporaryDir documents;
    ScriptedPrompter prompter;
    AppDelegate::Seams seams;
    seams.queue = "Card";
    seams.documentsFolder = documents.path().toStdString();
    seams.redirectLog = false;
    seams.quit = [] {};
    AppDelegate app(prompter, std::move(seams));
    ASSERT_EQ(app.applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
    auto& ui = app.ui();
    EXPECT_EQ(scheduler("cupsd-stop"), 0);
    asDaemon();
    // The PPD of the queue and a test card come through the scheduler: both
    // fail and say so. The encoder talks to the printer itself: its question
    // comes as always.
    prompter.answers = {0, 0, 1};  // No to the card question
    ui.Rotate->SelectItemAtIndex(3);
    ui.ApplySettingsBtn->click();
    ui.PrintTestCardBtn->click();
    ui.EncodeReadBtn->click();
    std::string shown;
    for (const auto& prompt : prompter.prompts) shown += prompt.header + ": " + prompt.message + "\n";
    EXPECT_EQ(shown,
              "Save Printer Settings: Authentication Error. Printer Settings are not saved\n"
              "Card: The printer Card is not known to the print system.\n"
              "Card: Please put the appropriate card in the feeder.\n");
    EXPECT_TRUE(ui.ApplySettingsBtn->isEnabled());
    bool fired = false;
    QTimer::singleShot(10, [&] { fired = true; });
    QTest::qWait(200);
    EXPECT_TRUE(fired) << "the window's event loop stopped";

    EXPECT_EQ(scheduler("cupsd-start"), 0);
    whileStopped = app_test::ReadFile(ppdPath);
    asDaemon();
    prompter.prompts.clear();
    ui.ApplySettingsBtn->click();
    EXPECT_TRUE(prompter.prompts.empty() && !ui.ApplySettingsBtn->isEnabled());
  }
  EXPECT_EQ(scheduler("cupsd-start"), 0);  // root again, the scheduler back whatever the window did
  // Nothing was written while the scheduler was away; the save after it was.
  EXPECT_EQ(RotationLine(whileStopped), "*DefaultVKTS32Rotation: 0None");
  EXPECT_EQ(RotationLine(vkt_sandbox::InstalledPpd("Card")), "*DefaultVKTS32Rotation: 3Both");
  const std::string copy = std::string(home) + "/original.ppd";
  std::ofstream(copy, std::ios::binary) << original;
  EXPECT_EQ(SavePPDFileAsRoot(copy.c_str(), ppdPath.c_str()), 1);
  EXPECT_EQ(vkt_sandbox::InstalledPpd("Card"), original);
  std::filesystem::remove_all(home);
}

}  // namespace
