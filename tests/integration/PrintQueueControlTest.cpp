// The print-queue calls against the sandbox's scheduler: the busy test for
// processing, held and pending jobs, waiting for a job that really prints to
// an emulator, and resuming a stopped queue (also as an ordinary user, who
// must get a refusal and never a password prompt).
#include <grp.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utmp.h>

#include <chrono>
#include <cstdlib>

#include "CupsPasswordPolicy.h"

#include "DeviceCommunication.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "TestJobs.h"

namespace {

using namespace test_jobs;

class PrintQueueControlTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vkt_sandbox::Require()); }

  // A fresh tag per test so captures of earlier jobs never match.
  static std::string Tag(const char* name) { return std::string(name) + "-" + std::to_string(getpid()); }
};

TEST_F(PrintQueueControlTest, ProcessingJobMakesItsQueueAndEveryPrefixOfItBusy) {
  const std::string pdf = CardPdf(Tag("busy"));
  const std::string path = WriteFile("busy.pdf", pdf);
  // A stopped queue would leave the job pending and the wait below unbounded.
  ASSERT_EQ(PrinterState("Card2"), IPP_PSTATE_IDLE) << "queue Card2 is not idle";
  int job = 0;
  {
    BackendGate gate("Card2");
    job = Submit("Card2", path);
    ASSERT_GT(job, 0) << cupsLastErrorString();
    ASSERT_TRUE(WaitForJobState("Card2", job, IPP_JSTATE_PROCESSING));

    EXPECT_TRUE(IsPrinterBusy("Card2"));
    // A substring test: the Card2 job makes Card busy as well.
    EXPECT_TRUE(IsPrinterBusy("Card"));
    EXPECT_FALSE(IsPrinterBusy("VKTS31Socket"));
    EXPECT_FALSE(IsPrinterBusy("Card22"));
  }
  // The gate is open: the job reaches Card2's emulator and the queue is free.
  CheckJobStatus(job, "Card2");
  EXPECT_EQ(JobState("Card2", job), IPP_JSTATE_COMPLETED);
  EXPECT_TRUE(WaitForCapture(vkt_sandbox::Var("VKT_EMU_CAPTURE_Card2"), pdf).has_value());
  EXPECT_FALSE(IsPrinterBusy("Card"));
}

TEST_F(PrintQueueControlTest, HeldJobNeitherMakesBusyNorKeepsTheWaitGoing) {
  const int job = Submit("Card", WriteFile("held.pdf", CardPdf(Tag("held"))), /*hold=*/true);
  ASSERT_GT(job, 0) << cupsLastErrorString();
  ASSERT_EQ(JobState("Card", job), IPP_JSTATE_HELD);

  EXPECT_FALSE(IsPrinterBusy("Card"));
  RecordingWaits waits;
  CheckJobStatus(job, "Card");
  EXPECT_TRUE(waits.entries.empty()) << "the wait for a held job polled more than once";
  EXPECT_EQ(JobState("Card", job), IPP_JSTATE_HELD);
  CancelJob(job);
}

TEST_F(PrintQueueControlTest, PendingJobOnAStoppedQueueIsNotBusy) {
  ASSERT_TRUE(PausePrinter("VKTS1Socket")) << cupsLastErrorString();
  const int job = Submit("VKTS1Socket", WriteFile("pending.pdf", CardPdf(Tag("pending"))));
  ASSERT_GT(job, 0) << cupsLastErrorString();
  EXPECT_EQ(JobState("VKTS1Socket", job), IPP_JSTATE_PENDING);
  EXPECT_FALSE(IsPrinterBusy("VKTS1Socket"));
  CancelJob(job);
  DeviceCommunication("", nullptr, 0).EnablePrinter("VKTS1Socket");
  EXPECT_EQ(PrinterState("VKTS1Socket"), IPP_PSTATE_IDLE);
}

TEST_F(PrintQueueControlTest, WaitEndsAfterTheJobPrintedAndThePdfArrivedUnchanged) {
  const std::string pdf = CardPdf(Tag("printed"));
  ASSERT_EQ(PrinterState("Card"), IPP_PSTATE_IDLE) << "queue Card is not idle";
  const int job = Submit("Card", WriteFile("printed.pdf", pdf));
  ASSERT_GT(job, 0) << cupsLastErrorString();

  CheckJobStatus(job, "Card");
  EXPECT_EQ(JobState("Card", job), IPP_JSTATE_COMPLETED);
  EXPECT_TRUE(WaitForCapture(vkt_sandbox::Var("VKT_EMU_CAPTURE_Card"), pdf).has_value())
      << "no capture of Card's emulator holds the PDF byte for byte";
}

TEST_F(PrintQueueControlTest, WaitForNoJobReturnsAtOnce) {
  RecordingWaits waits;
  CheckJobStatus(0, "Card");
  CheckJobStatus(-3, "Card");
  CheckJobStatus(1, "");
  EXPECT_TRUE(waits.entries.empty());
}

TEST_F(PrintQueueControlTest, EnablePrinterBringsAStoppedQueueBackToIdle) {
  ASSERT_TRUE(PausePrinter("VKTS31Socket")) << cupsLastErrorString();
  ASSERT_EQ(PrinterState("VKTS31Socket"), IPP_PSTATE_STOPPED);

  DeviceCommunication session("", nullptr, 0);
  session.EnablePrinter("VKTS31Socket");
  EXPECT_EQ(PrinterState("VKTS31Socket"), IPP_PSTATE_IDLE);

  // A queue that does not exist is a silent no-op and disturbs no other queue.
  session.EnablePrinter("NoSuchQueue");
  EXPECT_EQ(PrinterState("VKTS31Socket"), IPP_PSTATE_IDLE);
}

// Resuming a queue needs an administrator. The scheduler asks an ordinary
// user on TCP (CUPS_SERVER=localhost, as some desktops set) for a password,
// and libcups' own answer is a prompt on the controlling terminal that
// blocks the caller: the tool declines instead and goes on.
TEST_F(PrintQueueControlTest, AnOrdinaryUserResumingAQueueIsNeverAskedForAPassword) {
  if (::geteuid() != 0) GTEST_SKIP() << "acting as the user nobody needs root";
  const std::string server = "127.0.0.1:" + vkt_sandbox::Var("VKT_CUPS_PORT");
  for (const bool decline : {false, true}) {
    SCOPED_TRACE(decline ? "password callback installed" : "libcups' own prompt");
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_GE(child, 0);
    if (child == 0) {
      // On its own terminal, as nobody, with no supplementary groups.
      if (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(3);
      cupsSetServer(server.c_str());
      cupsSetUser("nobody");  // the parent may have named root to libcups already
      if (decline) NeverAskForCupsPassword();
      DeviceCommunication("", nullptr, 0).EnablePrinter("Card");
      ::_exit(0);
    }
    std::string shown;
    int status = 0;
    bool ended = false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!ended && std::chrono::steady_clock::now() < deadline && shown.find("Password") == std::string::npos) {
      pollfd fd{terminal, POLLIN, 0};
      if (::poll(&fd, 1, 100) > 0) {
        char buffer[256];
        const ssize_t got = ::read(terminal, buffer, sizeof buffer);
        if (got > 0) shown.append(buffer, static_cast<size_t>(got));
      }
      ended = ::waitpid(child, &status, WNOHANG) == child;
    }
    if (!ended) {
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
    }
    ::close(terminal);
    if (decline) {
      EXPECT_TRUE(ended && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the resume did not return: " << shown;
      EXPECT_EQ(shown, "");
    } else {
      // Without the callback the prompt comes and the call waits on it.
      EXPECT_FALSE(ended);
      EXPECT_NE(shown.find("Password for nobody on 127.0.0.1?"), std::string::npos) << shown;
    }
  }
  EXPECT_EQ(PrinterState("Card"), IPP_PSTATE_IDLE);
}

}  // namespace
