// vkts3-cli as an ordinary user against the sandbox's queues: each command's
// output, its exit status, and what the printer or the PPD holds afterwards.
// The models' own texts and rules are tested in their folders; here only what
// the command line adds.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "SandboxEnv.h"

namespace {

struct CliRun {
  std::string out, err;
  int status = -1;
};

std::string ReadFile(const std::string& path) {
  std::ifstream in(path);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Runs `program` (the tool by default) with no terminal on standard input
// (questions are then answered No unless --yes is given).
CliRun Cli(const std::string& arguments, const std::string& program = VKT_CLI_PROGRAM) {
  CliRun run;
  const std::string errors = std::string(::getenv("HOME")) + "/errors";
  FILE* pipe = ::popen((program + " " + arguments + " </dev/null 2>" + errors).c_str(), "r");
  char buffer[4096];
  for (size_t got; pipe && (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) run.out.append(buffer, got);
  const int status = pipe ? ::pclose(pipe) : -1;
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  run.err = ReadFile(errors);
  return run;
}

// What a person sees on a terminal (a pseudo-terminal of the test's own) that
// takes both output streams.
std::string OnTerminal(const std::string& arguments) {
  const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_TRUE(terminal >= 0 && ::grantpt(terminal) == 0 && ::unlockpt(terminal) == 0);
  const std::string side = ::ptsname(terminal);
  const int held = ::open(side.c_str(), O_RDWR | O_NOCTTY);  // keeps the output readable after the program ends
  EXPECT_EQ(::system((std::string(VKT_CLI_PROGRAM) + " " + arguments + " </dev/null >" + side + " 2>&1").c_str()), 0);
  ::fcntl(terminal, F_SETFL, O_NONBLOCK);
  std::string seen;
  char buffer[4096];
  for (ssize_t got; (got = ::read(terminal, buffer, sizeof buffer)) > 0;) seen.append(buffer, static_cast<size_t>(got));
  ::close(held), ::close(terminal);
  return seen;
}

TEST(Cli, ListsTheCardQueuesAndAsksSeveralAtOnce) {
  ASSERT_TRUE(vkt_sandbox::Require());
  // Only card-printer PPDs on schemes the tool speaks, in the scheduler's order.
  CliRun list = Cli("list");
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.out, "Card\nCard2\nVKTS1Socket\nVKTS31Socket\nVKTS32Usb\nVKTS3CSocket\n");
  EXPECT_EQ(Cli("list --json").out,
            "[\"Card\", \"Card2\", \"VKTS1Socket\", \"VKTS31Socket\", \"VKTS32Usb\", \"VKTS3CSocket\"]\n");

  // A queue the session cannot reach makes the exit status 1; the others
  // still answer, in the order asked.
  CliRun info = Cli("info VKTS1Socket VKTS31Ipp Card");
  EXPECT_EQ(info.status, 1);
  const std::string card =
      "  Model: Orvex VKT Series 32\n  Firmware version: VKT32-M V1.02.03.016\n  Serial number: S32000001\n"
      "  Head resistance: 2950\n  Panels printed: 1234\n  Ribbon type: YMCKO\n  Remaining count: 120\n"
      "  Magnetic encoder: Yes\n  Smart card: No\n";
  EXPECT_EQ(
      info.out,
      "VKTS1Socket: online\n  Model: Orvex VKT Series 1\n  Firmware version: VKT11-M V1.01.07.002\n"
      "  Serial number: S01000001\n  Head resistance: 2950\n  Panels printed: 1234\n  Ribbon type: Monochrome\n"
      "  Remaining count: N/A\n  Magnetic encoder: Yes\n  Smart card: No\nVKTS31Ipp: unavailable\nCard: online\n" +
          card);
  CliRun json = Cli("info Card --json");
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.out,
            "[{\"queue\": \"Card\", \"status\": \"online\", \"Model\": \"Orvex VKT Series 32\", \"Firmware version\": "
            "\"VKT32-M V1.02.03.016\", \"Serial number\": \"S32000001\", \"Head resistance\": \"2950\", \"Panels "
            "printed\": \"1234\", \"Ribbon type\": \"YMCKO\", \"Remaining count\": \"120\", \"Magnetic encoder\": "
            "\"Yes\", \"Smart card\": \"No\"}]\n");
  EXPECT_EQ(Cli("frobnicate").status, 2);
}

// The printer's offsets and feeder through the same models as the tabs: a
// question is answered No without a terminal and Yes with --yes, and what
// the printer holds afterwards is printed. Card2's printer is put back.
TEST(Cli, OffsetsFeederAndConsoleReachThePrinter) {
  ASSERT_TRUE(vkt_sandbox::Require());
  CliRun refused = Cli("offsets Card2 --set 12,-4,3,0");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err,
            "Orvex Printer Settings: You are about to change the printer offset.Do you want to continue? [Yes/No] No\n"
            "vkts3-cli: offsets not changed\n");
  EXPECT_EQ(Cli("offsets Card2 --json").out,
            "{\"queue\": \"Card2\", \"FrontX\": \"0\", \"FrontY\": \"0\", \"BackX\": \"0\", \"BackY\": \"0\"}\n");
  CliRun set = Cli("offsets Card2 --set 12,-4,3,0 --yes");
  EXPECT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(set.out, "FrontX: 12\nFrontY: -4\nBackX: 3\nBackY: 0\n");
  EXPECT_EQ(Cli("offsets Card2 --set 0,0,0,0 --yes").status, 0);
  EXPECT_EQ(Cli("offsets Card2 --set 1,2,3").err, "vkts3-cli: --set takes four whole numbers FX,FY,BX,BY, not 1,2,3\n");

  EXPECT_EQ(Cli("feeder Card2").out, "card (Card feeder)\n");
  CliRun feeder = Cli("feeder Card2 --set auto --json");
  EXPECT_EQ(feeder.out, "{\"queue\": \"Card2\", \"feeder\": \"auto\", \"text\": \"Auto feed\"}\n");
  EXPECT_EQ(feeder.err, "Orvex Printer Settings: Applying printer settings pease wait....\n");
  EXPECT_EQ(Cli("feeder Card2 --set single").out, "single (Single feeder slot)\n");
  EXPECT_EQ(Cli("feeder Card2 --set card").out, "card (Card feeder)\n");
  EXPECT_EQ(Cli("feeder Card2 --set sideways").err, "vkts3-cli: --set takes card, single or auto, not sideways\n");
  // A mode the tool has no name for: the USB printer of our own answers 7.
  const std::string profile = std::string(::getenv("HOME")) + "/feeder7.profile";
  std::ofstream(profile) << ReadFile(VKT_PROFILE_DIR "/VKTS32.profile") << "\nreply ATM 1 1 = 7\\r\n";
  EXPECT_EQ(Cli("--printer " + vkt_sandbox::Var("VKT_USB_SERIAL") + "=" + profile +
                    " -- " VKT_CLI_PROGRAM " feeder VKTS32Usb",
                VKT_USB_PRINTER)
                .out,
            "7 (unknown)\n");

  EXPECT_EQ(Cli("console Card2 V").out, "VKT32-M V1.02.03.016\n");
  EXPECT_EQ(Cli("console Card2 XYZ").out, "<NACK>\n");
  EXPECT_EQ(Cli("console Card2 'A 1'").err,
            "vkts3-cli: \"A 1\" is the window's test-card shortcut; print test cards with `vkts3-cli test-card`\n");
  // A file goes out with a progress bar that ends its line.
  std::ofstream(std::string(::getenv("HOME")) + "/card.prn") << "0123456789";
  EXPECT_EQ(OnTerminal("send-prn Card2 $HOME/card.prn"), "\r[" + std::string(30, ' ') + "] 0 of 10 bytes\r[" +
                                                             std::string(30, '#') +
                                                             "] 10 of 10 bytes\r\n10 bytes sent\r\n");
  // A test card travels through the scheduler to the printer.
  const std::string captures = vkt_sandbox::Var("VKT_EMU_CAPTURE_Card2");
  const auto count = [&captures] {
    return std::distance(std::filesystem::directory_iterator(captures), std::filesystem::directory_iterator());
  };
  const auto before = count();
  CliRun card = Cli("test-card Card2 standard");
  EXPECT_EQ(card.status, 0) << card.err;
  EXPECT_EQ(card.out.rfind("job ", 0), 0u) << card.out;
  EXPECT_EQ(count(), before + 1);
  EXPECT_EQ(Cli("test-card Card2 sideways").err,
            "vkts3-cli: the test card is standard, parameter or encoder, not sideways\n");
  CliRun offline = Cli("eject VKTS31Ipp");
  EXPECT_EQ(offline.status, 1);
  EXPECT_EQ(offline.err, "vkts3-cli: VKTS31Ipp: Not able to launch printer properties.\n");
}

// The card setup as the window shows it, read by a user who may not read
// the PPD; a value the list does not offer is refused with those it does,
// and a save by a user outside the admin group fails with the window's alert.
TEST(Cli, DriverSettingsShowTheStoredDefaultsAndReportARefusedSave) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string original = vkt_sandbox::InstalledPpd("Card2");
  CliRun shown = Cli("card-setup Card2 --json");
  EXPECT_EQ(shown.status, 0) << shown.err;
  EXPECT_EQ(shown.out,
            "{\"queue\": \"Card2\", \"both-sides\": \"Yes\", \"ribbon\": \"YMCKO 100 Prints\", \"combination\": "
            "\"Front YMCO , Back K\", \"mono\": \"Diffusion\", \"rotate\": \"None\", \"mode\": \"Print\", "
            "\"half-panel\": \"0\"}\n");
  CliRun wrong = Cli("card-setup Card2 --set rotate=Sideways");
  EXPECT_EQ(wrong.status, 1);
  EXPECT_EQ(wrong.err, "vkts3-cli: rotate=Sideways is not offered; valid: None, Front, Back, Both\n");
  CliRun refused = Cli("card-setup Card2 --set rotate=Both");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err, "Save Printer Settings: Authentication Error. Printer Settings are not saved\n");

  // The job log likewise: shown by the window's rules, refused by the service.
  EXPECT_EQ(Cli("job-log Card2").out,
            "EnableLog: 0\nEachDayLogFile: 0\nTime: 0\nDate: 0\nSerialNumber: 0\nIPAddress: 0\nUserName: 0\nJobID: "
            "0\nMTrack1: 0\nMTrack2: 0\nMTrack3: 0\nStaticText: Orvex\nFileName: VKTS3.log\nSeparator: ,\n");
  EXPECT_EQ(Cli("job-log Card2 --set Time=1").err, "vkts3-cli: Time cannot be changed while logging is off\n");
  EXPECT_EQ(Cli("job-log Card2 --set EnableLog=1 --set 'Separator=;;'").err,
            "vkts3-cli: the value of Separator is not one printable character\n");
  EXPECT_EQ(Cli("job-log Card2 --set EnableLog=1 --set EachDayLogFile=1 --set FileName=x.log").err,
            "vkts3-cli: FileName is VKTS3.log while a new file is made each day\n");
  CliRun jobLog = Cli("job-log Card2 --set EnableLog=1");
  EXPECT_EQ(jobLog.status, 1);
  EXPECT_EQ(jobLog.err, "vkts3-cli: the job-log settings were not saved\n");

  // The driver-settings file: saved from what this user can read, restored
  // only through the service (refused here); a file of another kind changes
  // nothing.
  const std::string saved = std::string(::getenv("HOME")) + "/driver.plist";
  ASSERT_EQ(Cli("save-driver-settings Card2 " + saved).status, 0);
  const std::string plist = ReadFile(saved);
  EXPECT_NE(plist.find("<key>FileName</key>\n\t\t<string>VKTS3.log</string>"), std::string::npos) << plist;
  EXPECT_EQ(
      Cli("save-driver-settings Card2 " + saved).err,
      saved + " already exists. Do you want to replace it? [Yes/No] No\nvkts3-cli: " + saved + " left as it is\n");
  EXPECT_EQ(Cli("restore-driver-settings Card2 " + saved).err, "vkts3-cli: the driver settings were not saved\n");
  CliRun notPlist = Cli("restore-driver-settings Card2 /etc/hostname");
  EXPECT_EQ(notPlist.status, 1);
  EXPECT_EQ(notPlist.err,
            "Orvex Printer Settings: The file /etc/hostname is not a property list. The driver settings were not "
            "changed.\n");
  EXPECT_EQ(vkt_sandbox::InstalledPpd("Card2"), original);
}

// The encoder's settings and a card through the same models as the encoding
// tab: settings are named by the window's list texts, and the card question
// is answered No without a terminal. Card2's encoder and card are put back.
TEST(Cli, EncoderSettingsAndCardsReachThePrinter) {
  ASSERT_TRUE(vkt_sandbox::Require());
  EXPECT_EQ(Cli("encoder Card2 --set 't1-mode=Track 4'").status, 1);
  CliRun set = Cli("encoder Card2 --set 't1-density=75 BPI' --set 'coercivity=Low Coercivity' --json");
  EXPECT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(set.out,
            "{\"queue\": \"Card2\", \"coercivity\": \"Low Coercivity\", \"t1-mode\": \"Track 1 format "
            "(alphanumeric)\", \"t1-density\": \"75 BPI\", \"t2-mode\": \"Track 2 format (numeric)\", "
            "\"t2-density\": \"75 BPI\", \"t3-mode\": \"Track 3 format (numeric)\", \"t3-density\": \"210 BPI\"}\n");
  CliRun back = Cli("encoder Card2 --set 't1-density=210 BPI' --set 'coercivity=High Coercivity'");
  EXPECT_EQ(back.out,
            "coercivity: High Coercivity\nt1-mode: Track 1 format (alphanumeric)\nt1-density: 210 BPI\n"
            "t2-mode: Track 2 format (numeric)\nt2-density: 75 BPI\nt3-mode: Track 3 format (numeric)\n"
            "t3-density: 210 BPI\n");

  CliRun invalid = Cli("encode Card2 --track1 'AB-C' --yes");
  EXPECT_EQ(invalid.status, 1);
  EXPECT_EQ(invalid.err, "Card2: Invalid Character for Encoding.\n");
  // The rule is that of the format the printer holds for the track.
  ASSERT_EQ(Cli("encoder Card2 --set 't1-mode=Track 2 format (numeric)'").status, 0);
  EXPECT_EQ(Cli("encode Card2 --track1 ABC --yes").err, "Card2: Invalid Character for Encoding.\n");
  ASSERT_EQ(Cli("encoder Card2 --set 't1-mode=Track 1 format (alphanumeric)'").status, 0);
  CliRun declined = Cli("encode Card2 --track1 'ABC 123'");
  EXPECT_EQ(declined.status, 1);
  EXPECT_EQ(declined.err,
            "Card2: Please put the appropriate card in the feeder. [Yes/No] No\nvkts3-cli: card not encoded\n");
  EXPECT_EQ(Cli("encode Card2 --track1 'ABC 123' --track2 1234=5678 --yes").status, 0);
  // An empty track reads as the empty text.
  EXPECT_EQ(Cli("read Card2 --yes").out, "track1: ABC 123\ntrack2: 1234=5678\ntrack3: \n");
  EXPECT_EQ(Cli("read Card2 --tracks 2 --yes --json").out, "{\"queue\": \"Card2\", \"track2\": \"1234=5678\"}\n");
  EXPECT_EQ(Cli("encode Card2 --yes").status, 0);
  EXPECT_EQ(Cli("read Card2 --yes --json").out,
            "{\"queue\": \"Card2\", \"track1\": \"\", \"track2\": \"\", \"track3\": \"\"}\n");
}

// The printer-settings file: what the printer reports is saved, and a
// restore sends it back; another printer's file asks first.
TEST(Cli, PrinterSettingsSaveAndRestoreThroughThePrinter) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string saved = std::string(::getenv("HOME")) + "/printer.plist";
  std::filesystem::remove(saved);
  ASSERT_EQ(Cli("offsets Card2 --set 5,-6,7,-8 --yes").status, 0);
  CliRun save = Cli("save-printer-settings Card2 " + saved);
  ASSERT_EQ(save.status, 0) << save.err;
  std::string plist = ReadFile(saved);
  ASSERT_EQ(Cli("offsets Card2 --set 0,0,0,0 --yes").status, 0);
  CliRun restore = Cli("restore-printer-settings Card2 " + saved);
  EXPECT_EQ(restore.status, 0) << restore.err;
  EXPECT_EQ(Cli("offsets Card2").out, "FrontX: 5\nFrontY: -6\nBackX: 7\nBackY: -8\n");

  // The same file from another printer: declined without a terminal.
  plist.replace(plist.find("<string>S32000001"), 17, "<string>S32999999");
  std::ofstream(saved, std::ios::trunc) << plist;
  ASSERT_EQ(Cli("offsets Card2 --set 0,0,0,0 --yes").status, 0);
  CliRun other = Cli("restore-printer-settings Card2 " + saved);
  EXPECT_EQ(other.status, 1);
  EXPECT_EQ(other.err,
            "Restore Printer setting : The target printer does not match the saved printer configuration "
            "settings.Proceeding to restore this file may corrupt the printer rendering it inoperable.Would you like "
            "to continue? [Ok/Cancel] Cancel\nvkts3-cli: " +
                saved + " was saved from another printer; nothing was restored\n");
  EXPECT_EQ(Cli("offsets Card2").out, "FrontX: 0\nFrontY: 0\nBackX: 0\nBackY: 0\n");
  EXPECT_EQ(Cli("restore-printer-settings Card2 /etc/hostname").err,
            "vkts3-cli: /etc/hostname is not a printer-settings property list; nothing was restored\n");
}

}  // namespace
