// The print-queue calls against the sandbox's scheduler: the device URI and
// transport of every kind of queue, a session reading its emulator, the busy test for
// processing, held and pending jobs, waiting for a job that really prints to
// an emulator, and resuming a stopped queue.
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

// The socket, USB and unsupported queues' sessions are met by the chooser,
// the CLI and the USB tests; here the URIs those do not reach.
TEST_F(PrintQueueControlTest, UriOfAQueueSharingAnEmulatorOfAServiceNameAndOfNoQueue) {
  DeviceCommunication lookup("", nullptr, 0);
  EXPECT_EQ(lookup.GetURIFromPrinterName("VKTS31Lower"),
            "vkt3socket://127.0.0.1:" + vkt_sandbox::Var("VKT_EMU_PORT_VKTS31Socket") + "/?snmp=false");
  EXPECT_EQ(lookup.GetURIFromPrinterName("VKTS31Dnssd"), "dnssd://Orvex%20VKTS31._pdl-datastream._tcp.local/");
  EXPECT_EQ(lookup.GetURIFromPrinterName("NoSuchQueue"), std::nullopt);
  EXPECT_EQ(lookup.GetURIFromPrinterName(""), std::nullopt);
  EXPECT_EQ(DeviceCommunication("VKTS31Lower").GetFirmwareVersion(), "VKT31-M V1.02.03.016");
}

TEST_F(PrintQueueControlTest, ProcessingJobMakesItsQueueAndEveryPrefixOfItBusyUntilItPrinted) {
  // A stopped queue would leave the job pending and the wait below unbounded.
  ASSERT_EQ(PrinterState("Card2"), IPP_PSTATE_IDLE) << "queue Card2 is not idle";
  int job = 0;
  {
    BackendGate gate("Card2");
    job = Submit("Card2", Pdf("busy"));
    ASSERT_GT(job, 0) << cupsLastErrorString();
    ASSERT_TRUE(WaitForJobState("Card2", job, IPP_JSTATE_PROCESSING));
    // A substring test: the Card2 job makes Card busy as well.
    EXPECT_EQ(std::string() + "CX"[IsPrinterBusy("Card2")] + "CX"[IsPrinterBusy("Card")] +
                  "CX"[IsPrinterBusy("VKTS31Socket")] + "CX"[IsPrinterBusy("Card22")],
              "XXCC");
  }
  // The gate is open: the wait ends once the job reached Card2's emulator.
  CheckJobStatus(job, "Card2");
  EXPECT_EQ(JobState("Card2", job), IPP_JSTATE_COMPLETED);
  EXPECT_FALSE(IsPrinterBusy("Card"));
}

// Neither a held job nor the pending job of a stopped queue makes it busy;
// the wait returns at once for a held job and at its bound for a pending one.
// Enable brings the stopped queue back.
TEST_F(PrintQueueControlTest, HeldAndPendingJobsAreNotBusyAndEnableBringsAStoppedQueueBack) {
  const int held = Submit("Card", Pdf("held"), /*hold=*/true);
  ASSERT_TRUE(PausePrinter("VKTS1Socket")) << cupsLastErrorString();
  ASSERT_EQ(PrinterState("VKTS1Socket"), IPP_PSTATE_STOPPED);
  const int pending = Submit("VKTS1Socket", Pdf("pending"));
  ASSERT_TRUE(held > 0 && pending > 0) << cupsLastErrorString();
  ASSERT_EQ(JobState("Card", held), IPP_JSTATE_HELD);
  EXPECT_EQ(JobState("VKTS1Socket", pending), IPP_JSTATE_PENDING);
  EXPECT_FALSE(IsPrinterBusy("Card") || IsPrinterBusy("VKTS1Socket"));
  {
    RecordingWaits waits;
    CheckJobStatus(held, "Card");
    EXPECT_TRUE(waits.entries.empty()) << "the wait for a held job polled more than once";
    CheckJobStatus(pending, "VKTS1Socket", std::chrono::milliseconds(500));
    EXPECT_EQ(waits.entries,
              std::vector<RecordingWaits::Entry>(10, {RecordingWaits::Entry::kSleep, std::chrono::milliseconds(50)}));
  }
  EXPECT_EQ(JobState("Card", held), IPP_JSTATE_HELD);
  EXPECT_EQ(JobState("VKTS1Socket", pending), IPP_JSTATE_PENDING);
  CancelJob(held);
  CancelJob(pending);
  DeviceCommunication session("", nullptr, 0);
  session.EnablePrinter("NoSuchQueue");  // a silent no-op
  EXPECT_EQ(PrinterState("VKTS1Socket"), IPP_PSTATE_STOPPED);
  session.EnablePrinter("VKTS1Socket");
  EXPECT_EQ(PrinterState("VKTS1Socket"), IPP_PSTATE_IDLE);
}

}  // namespace
