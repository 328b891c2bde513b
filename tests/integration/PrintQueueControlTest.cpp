// The print-queue calls against the sandbox's scheduler: the busy test for processing, held and pending jobs, waiting
// for a job that really prints to an emulator, and resuming a stopped queue.
#include <gtest/gtest.h>
#include <unistd.h>

#include "DeviceCommunication.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "TestJobs.h"

namespace {

using namespace test_jobs;

class PrintQueueControlTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(vkt_sandbox::Require()); }
  // A fresh file per test so that no earlier job's bytes are mistaken for it.
  static std::string Pdf(const std::string& name) {
    return WriteFile(name + ".pdf", CardPdf(name + "-" + std::to_string(getpid())));
  }
};

// A processing job makes its queue busy, and every queue whose name is a
// prefix of it (a substring test); neither a held job nor the pending job of
// a stopped queue makes one busy. The wait returns at once for a held job, at
// its bound for a pending one, and once a processing job reached the
// emulator. Enable brings the stopped queue back.
TEST_F(PrintQueueControlTest, WhichJobsMakeAQueueBusyHowLongTheWaitLastsAndEnable) {
  // A stopped queue would leave the job pending and the wait below unbounded.
  ASSERT_EQ(PrinterState("Card2"), IPP_PSTATE_IDLE) << "queue Card2 is not idle";
  auto gate = std::make_unique<BackendGate>("Card2");
  const int processing = Submit("Card2", Pdf("busy")), held = Submit("VKTS3CSocket", Pdf("held"), /*hold=*/true);
  ASSERT_TRUE(PausePrinter("VKTS1Socket")) << cupsLastErrorString();
  const int pending = Submit("VKTS1Socket", Pdf("pending"));
  ASSERT_TRUE(processing > 0 && held > 0 && pending > 0) << cupsLastErrorString();
  ASSERT_TRUE(WaitForJobState("Card2", processing, IPP_JSTATE_PROCESSING));
  ASSERT_EQ(JobState("VKTS3CSocket", held), IPP_JSTATE_HELD);
  ASSERT_EQ(JobState("VKTS1Socket", pending), IPP_JSTATE_PENDING);
  std::string busy;
  for (const char* queue : {"Card2", "Card", "Card22", "VKTS3CSocket", "VKTS1Socket", "VKTS31Socket"})
    busy += IsPrinterBusy(queue) ? 'X' : '-';
  EXPECT_EQ(busy, "XX----");
  {
    RecordingWaits waits;
    CheckJobStatus(held, "VKTS3CSocket");
    EXPECT_TRUE(waits.entries.empty()) << "the wait for a held job polled more than once";
    CheckJobStatus(pending, "VKTS1Socket", std::chrono::milliseconds(500));
    EXPECT_EQ(waits.entries,
              std::vector<RecordingWaits::Entry>(10, {RecordingWaits::Entry::kSleep, std::chrono::milliseconds(50)}));
  }
  gate.reset();
  CheckJobStatus(processing, "Card2");
  EXPECT_EQ(JobState("Card2", processing), IPP_JSTATE_COMPLETED);
  EXPECT_FALSE(IsPrinterBusy("Card"));
  EXPECT_TRUE(JobState("VKTS3CSocket", held) == IPP_JSTATE_HELD &&
              JobState("VKTS1Socket", pending) == IPP_JSTATE_PENDING);
  CancelJob(held);
  CancelJob(pending);
  DeviceCommunication session("", nullptr, 0);
  session.EnablePrinter("NoSuchQueue");  // a silent no-op
  EXPECT_EQ(PrinterState("VKTS1Socket"), IPP_PSTATE_STOPPED);
  session.EnablePrinter("VKTS1Socket");
  EXPECT_EQ(PrinterState("VKTS1Socket"), IPP_PSTATE_IDLE);
}

}  // namespace
