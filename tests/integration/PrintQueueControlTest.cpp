// The print-queue calls against the sandbox's scheduler: the device URI and
// transport of every kind of queue, a session reading its emulator, the busy test for
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

#include "CupsPasswordPolicy.h"
#include "DeviceCommunication.h"
#include "PrinterProfile.h"
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

TEST_F(PrintQueueControlTest, UriTransportAndFirmwareOfEveryQueueKind) {
  auto socket = [](const std::string& emulator) {
    return "vkt3socket://127.0.0.1:" + vkt_sandbox::Var("VKT_EMU_PORT_" + emulator) + "/?snmp=false";
  };
  const struct {
    std::string queue;
    std::optional<std::string> uri;
    std::string emulator;  // a vkt3socket queue's emulator
  } cases[] = {
      {"Card", socket("Card"), "Card"}, {"Card2", socket("Card2"), "Card2"},
      {"VKTS31Socket", socket("VKTS31Socket"), "VKTS31Socket"}, {"VKTS1Socket", socket("VKTS1Socket"), "VKTS1Socket"},
      {"VKTS3CSocket", socket("VKTS3CSocket"), "VKTS3CSocket"},
      {"VKTS31Lower", socket("VKTS31Socket"), "VKTS31Socket"},  // shares the VKTS31 emulator
      {"VKTS32Usb", "usb://Orvex/VKTS32?serial=VKT0000123", "<usb>"},
      {"VKTS31Ipp", "ipp://127.0.0.1:" + vkt_sandbox::Var("VKT_CUPS_PORT") + "/printers/x", ""},
      {"VKTS31Dnssd", "dnssd://Orvex%20VKTS31._pdl-datastream._tcp.local/", ""},
      {"NoSuchQueue", std::nullopt, ""},
      {"", std::nullopt, "<no session>"}};
  ASSERT_NE(vkt_sandbox::Var("VKT_EMU_PORT_Card"), vkt_sandbox::Var("VKT_EMU_PORT_Card2"));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.queue);
    DeviceCommunication lookup("", nullptr, 0);
    const std::optional<std::string> uri = lookup.GetURIFromPrinterName(c.queue);
    EXPECT_EQ(uri, c.uri);
    EXPECT_EQ(c.emulator == "<usb>" ? lookup.GetSerialNumberFromURI(*uri) : "VKT0000123", "VKT0000123");
    if (c.emulator.starts_with("<")) continue;
    DeviceCommunication session(c.queue);
    if (c.emulator.empty()) {  // no transport: nothing goes out, nothing comes back
      EXPECT_TRUE(session.TransportKind() == 0u && !session.Transport() && !session.ReadFromPrinter());
      EXPECT_EQ(session.WriteToPrinter("\x1bV\r", 3), -1);
      continue;
    }
    PrinterProfile profile;
    std::string error;
    ASSERT_TRUE(LoadPrinterProfile(vkt_sandbox::Var("VKT_EMU_PROFILE_" + c.emulator), &profile, &error)) << error;
    ASSERT_EQ(session.TransportKind(), 2u);
    EXPECT_TRUE(session.IsNetworkPrinter());
    EXPECT_EQ(session.GetFirmwareVersion(),
              DeviceCommunication::TrimString(profile.firmware + profile.firmwareTerminator));
  }
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

// Resuming a queue needs an administrator. The scheduler asks an ordinary
// user on TCP (CUPS_SERVER=localhost, as some desktops set) for a password,
// and libcups' own answer is a prompt on the controlling terminal that
// blocks the caller: the tool declines instead and goes on.
TEST_F(PrintQueueControlTest, AnOrdinaryUserResumingAQueueIsNeverAskedForAPassword) {
  if (::geteuid() != 0) GTEST_SKIP() << "acting as the user nobody needs root";
  const std::string server = "127.0.0.1:" + vkt_sandbox::Var("VKT_CUPS_PORT");
  int terminal = -1;
  const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
  ASSERT_GE(child, 0);
  if (child == 0) {
    // On its own terminal, as nobody, with no supplementary groups.
    if (::setgroups(0, nullptr) != 0 || ::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(3);
    cupsSetServer(server.c_str());
    cupsSetUser("nobody");  // the parent may have named root to libcups already
    NeverAskForCupsPassword();
    DeviceCommunication("", nullptr, 0).EnablePrinter("Card");
    ::_exit(0);
  }
  // Without the policy the prompt "Password for nobody on 127.0.0.1?" comes
  // and the call waits on it: read the terminal until the child ends, or
  // until it stayed silent for about ten seconds.
  std::string shown;
  int status = 0;
  bool ended = false;
  for (int idle = 0; !ended && idle < 100;) {  // the terminal hangs up only when the child ends
    pollfd fd{terminal, POLLIN, 0};
    char buffer[256];
    const ssize_t got = ::poll(&fd, 1, 100) > 0 ? ::read(terminal, buffer, sizeof buffer) : (++idle, 0);
    shown.append(buffer, static_cast<size_t>(std::max<ssize_t>(got, 0)));
    ended = ::waitpid(child, &status, WNOHANG) == child;
  }
  if (!ended) ::kill(child, SIGKILL), ::waitpid(child, &status, 0);
  ::close(terminal);
  EXPECT_TRUE(ended && WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the resume did not return: " << shown;
  EXPECT_EQ(shown, "");
  EXPECT_EQ(PrinterState("Card"), IPP_PSTATE_IDLE);
}

}  // namespace
