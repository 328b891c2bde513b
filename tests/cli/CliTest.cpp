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
#include <fstream>
#include <string>

#include "PpdTestSupport.h"
#include "SandboxEnv.h"

namespace {

const std::string kHome = ::getenv("HOME");

using ppd_test::ReadFile;

// "status|output|errors" of `program` (the tool by default) run with no
// terminal on standard input (questions are then answered No unless --yes is given).
std::string Tool(const std::string& arguments, const std::string& program = VKT_CLI_PROGRAM) {
  FILE* pipe = ::popen((program + " " + arguments + " </dev/null 2>" + kHome + "/errors").c_str(), "r");
  std::string out;
  char buffer[4096];
  for (size_t got; pipe && (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, got);
  const int status = pipe ? ::pclose(pipe) : -1;
  return std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) + "|" + out + "|" + ReadFile(kHome + "/errors");
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

// Runs each command in turn against what it shows, or only its exit status
// when no output is given.
void Walk(const std::vector<std::pair<std::string, std::string>>& steps) {
  for (const auto& [arguments, shown] : steps) {
    const std::string run = Tool(arguments);
    EXPECT_EQ(shown.find('|') == std::string::npos ? run.substr(0, run.find('|')) : run, shown) << arguments << run;
  }
}

TEST(Cli, ListsTheCardQueuesAndAsksSeveralAtOnce) {
  ASSERT_TRUE(vkt_sandbox::Require());
  // Only card-printer PPDs on schemes the tool speaks, in the scheduler's
  // order. A queue the session cannot reach makes the exit status 1; the
  // others still answer, in the order asked.
  Walk({
      {"list", "0|Card\nCard2\nVKTS1Socket\nVKTS31Socket\nVKTS32Usb\nVKTS3CSocket\n|"},
      {"list --json", "0|[\"Card\", \"Card2\", \"VKTS1Socket\", \"VKTS31Socket\", \"VKTS32Usb\", \"VKTS3CSocket\"]\n|"},
      {"info VKTS31Ipp VKTS1Socket",
       "1|VKTS31Ipp: unavailable\nVKTS1Socket: online\n  Model: Orvex VKT Series 1\n  Firmware version: VKT11-M "
       "V1.01.07.002\n  Serial number: S01000001\n  Head resistance: 2950\n  Panels printed: 1234\n  Ribbon type: "
       "Monochrome\n  Remaining count: N/A\n  Magnetic encoder: Yes\n  Smart card: No\n|"},
      {"info Card --json",
       "0|[{\"queue\": \"Card\", \"status\": \"online\", \"Model\": \"Orvex VKT Series 32\", \"Firmware version\": "
       "\"VKT32-M V1.02.03.016\", \"Serial number\": \"S32000001\", \"Head resistance\": \"2950\", \"Panels "
       "printed\": \"1234\", \"Ribbon type\": \"YMCKO\", \"Remaining count\": \"120\", \"Magnetic encoder\": "
       "\"Yes\", \"Smart card\": \"No\"}]\n|"},
  });
}

// The printer's offsets and feeder through the same models as the tabs: a
// question is answered No without a terminal and Yes with --yes, and what
// the printer holds afterwards is printed. Card2's printer is put back.
TEST(Cli, OffsetsFeederAndConsoleReachThePrinter) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string offsets =
      "Orvex Printer Settings: You are about to change the printer offset.Do you want to "
      "continue? [Yes/No] ";
  const std::string applying = "Orvex Printer Settings: Applying printer settings pease wait....\n";
  Walk({
      {"offsets Card2 --set 12,-4,3,0", "1||" + offsets + "No\nvkts3-cli: offsets not changed\n"},
      {"offsets Card2 --set 12,-4,3,0 --yes",
       "0|FrontX: 12\nFrontY: -4\nBackX: 3\nBackY: 0\n|" + offsets + "Yes (--yes)\n"},
      {"offsets Card2 --set 0,0,0,0 --yes", "0"},
      {"offsets Card2 --set 1,2,3", "1||vkts3-cli: --set takes four whole numbers FX,FY,BX,BY, not 1,2,3\n"},
      {"feeder Card2 --set auto --json",
       "0|{\"queue\": \"Card2\", \"feeder\": \"auto\", \"text\": \"Auto feed\"}\n|" + applying},
      {"feeder Card2 --set card", "0|card (Card feeder)\n|" + applying},
      {"feeder Card2 --set sideways", "1||vkts3-cli: --set takes card, single or auto, not sideways\n"},
      {"console Card2 V", "0|VKT32-M V1.02.03.016\n|"},
      {"console Card2 'A 1'",
       "1||vkts3-cli: \"A 1\" is the window's test-card shortcut; print test cards with `vkts3-cli test-card`\n"},
      {"test-card Card2 sideways", "1||vkts3-cli: the test card is standard, parameter or encoder, not sideways\n"},
      {"eject VKTS31Ipp", "1||vkts3-cli: VKTS31Ipp: Not able to launch printer properties.\n"},
      {"clean Card2 --kind encoder",
       "1||Orvex Printer Settings: Please remove the ribbon from the printer.Close the head of the printer.Press Clear "
       "button on the printer.Then press YES [Yes/No] No\nvkts3-cli: cleaning not started\n"},
  });
  // A firmware file of our own (its markers at 14 and 15): the question is answered No.
  std::string firmware(100, '\0');
  firmware[14] = '\x3A', firmware[15] = '\xFF';
  std::ofstream(kHome + "/fw.bin") << firmware;
  Walk({{"firmware Card2 $HOME/fw.bin", "1||Orvex Printer Settings: Download " + kHome +
                                            "/fw.bin (Printer F/W, checksum 0x3AFF) to Card2? The printer resets "
                                            "afterwards. [Yes/No] No\nvkts3-cli: firmware not downloaded\n"}});
  // A mode the tool has no name for: the USB printer of our own answers 7.
  std::ofstream(kHome + "/feeder7.profile")
      << ReadFile(VKT_PROFILE_DIR "/VKTS32.profile") << "\nreply ATM 1 1 = 7\\r\n";
  const std::string usb = Tool("--printer " + vkt_sandbox::Var("VKT_USB_SERIAL") + "=" + kHome +
                                   "/feeder7.profile -- " VKT_CLI_PROGRAM " feeder VKTS32Usb",
                               VKT_USB_PRINTER);
  EXPECT_EQ(usb.substr(0, usb.rfind('|')), "0|7 (unknown)\n") << usb;
  // A file goes out with a progress bar that ends its line.
  std::ofstream(kHome + "/card.prn") << "0123456789";
  EXPECT_EQ(OnTerminal("send-prn Card2 $HOME/card.prn"), "\r[" + std::string(30, ' ') + "] 0 of 10 bytes\r[" +
                                                             std::string(30, '#') +
                                                             "] 10 of 10 bytes\r\n10 bytes sent\r\n");
  // A test card goes to the scheduler as a job.
  EXPECT_EQ(Tool("test-card Card2 standard").rfind("0|job ", 0), 0u);
}

// The card setup as the window shows it, read by a user who may not read
// the PPD; a value the list does not offer is refused with those it does,
// and a save by a user outside the admin group fails with the window's alert.
// The job log and the driver-settings file likewise: shown by the window's
// rules, saved from what this user can read, refused by the service.
TEST(Cli, DriverSettingsShowTheStoredDefaultsAndReportARefusedSave) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string original = vkt_sandbox::InstalledPpd("Card2"), saved = kHome + "/driver.plist";
  Walk({
      {"card-setup Card2 --json",
       "0|{\"queue\": \"Card2\", \"both-sides\": \"Yes\", \"ribbon\": \"YMCKO 100 Prints\", \"combination\": "
       "\"Front YMCO , Back K\", \"mono\": \"Diffusion\", \"rotate\": \"None\", \"mode\": \"Print\", "
       "\"half-panel\": \"0\"}\n|"},
      {"card-setup Card2 --set rotate=Sideways",
       "1||vkts3-cli: rotate=Sideways is not offered; valid: None, Front, Back, Both\n"},
      {"card-setup Card2 --set rotate=Both",
       "1||Save Printer Settings: Authentication Error. Printer Settings are not saved\n"},
      {"job-log Card2",
       "0|EnableLog: 0\nEachDayLogFile: 0\nTime: 0\nDate: 0\nSerialNumber: 0\nIPAddress: 0\nUserName: 0\nJobID: "
       "0\nMTrack1: 0\nMTrack2: 0\nMTrack3: 0\nStaticText: Orvex\nFileName: VKTS3.log\nSeparator: ,\n|"},
      {"job-log Card2 --set Time=1", "1||vkts3-cli: Time cannot be changed while logging is off\n"},
      {"job-log Card2 --set EnableLog=1 --set EachDayLogFile=1 --set FileName=x.log",
       "1||vkts3-cli: FileName is VKTS3.log while a new file is made each day\n"},
      {"job-log Card2 --set EnableLog=1", "1||vkts3-cli: the job-log settings were not saved\n"},
      {"save-driver-settings Card2 " + saved, "0||"},
      {"save-driver-settings Card2 " + saved,
       "1||" + saved + " already exists. Do you want to replace it? [Yes/No] No\nvkts3-cli: " + saved +
           " left as it is\n"},
      {"restore-driver-settings Card2 " + saved, "1||vkts3-cli: the driver settings were not saved\n"},
  });
  EXPECT_NE(ReadFile(saved).find("<key>FileName</key>\n\t\t<string>VKTS3.log</string>"), std::string::npos);
  EXPECT_EQ(vkt_sandbox::InstalledPpd("Card2"), original);
}

// The encoder's settings and a card through the same models as the encoding
// tab: settings are named by the window's list texts, a change keeps what the
// printer holds for the others, and the card question is answered No without
// a terminal. Card2's encoder and card are put back.
TEST(Cli, EncoderSettingsAndCardsReachThePrinter) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string invalid = "1||Card2: Invalid Character for Encoding.\n";
  const std::string card = "|Card2: Please put the appropriate card in the feeder. [Yes/No] Yes (--yes)\n";
  Walk({
      {"encoder Card2 --set 't1-mode=Track 4'",
       "1||vkts3-cli: t1-mode=Track 4 is not offered; valid: Track 1 format (alphanumeric), Track 2 format (numeric), "
       "Track 3 format (numeric)\n"},
      {"encoder Card2 --set 't1-density=75 BPI'", "0"},
      {"encoder Card2 --set 'coercivity=Low Coercivity'",
       "0|coercivity: Low Coercivity\nt1-mode: Track 1 format (alphanumeric)\nt1-density: 75 BPI\n"
       "t2-mode: Track 2 format (numeric)\nt2-density: 75 BPI\nt3-mode: Track 3 format (numeric)\n"
       "t3-density: 210 BPI\n|Orvex Printer Settings: Applying printer settings please wait ....\n"},
      {"encoder Card2 --set 't1-density=210 BPI' --set 'coercivity=High Coercivity'", "0"},
      {"encode Card2 --track1 'AB-C' --yes", invalid},
      // The rule is that of the format the printer holds for the track.
      {"encoder Card2 --set 't1-mode=Track 2 format (numeric)'", "0"},
      {"encode Card2 --track1 ABC --yes", invalid},
      {"encoder Card2 --set 't1-mode=Track 1 format (alphanumeric)'", "0"},
      {"encode Card2 --track1 'ABC 123'",
       "1||Card2: Please put the appropriate card in the feeder. [Yes/No] No\nvkts3-cli: card not encoded\n"},
      {"encode Card2 --track1 'ABC 123' --track2 1234=5678 --yes", "0|" + card},
      // An empty track reads as the empty text.
      {"read Card2 --yes", "0|track1: ABC 123\ntrack2: 1234=5678\ntrack3: \n" + card},
      {"read Card2 --tracks 2 --yes --json", "0|{\"queue\": \"Card2\", \"track2\": \"1234=5678\"}\n" + card},
      {"encode Card2 --yes", "0|" + card},
      {"read Card2 --yes", "0|track1: \ntrack2: \ntrack3: \n" + card},
  });
}

// The printer-settings file: what the printer reports is saved, and a
// restore sends it back; another printer's file asks first.
TEST(Cli, PrinterSettingsSaveAndRestoreThroughThePrinter) {
  ASSERT_TRUE(vkt_sandbox::Require());
  const std::string saved = kHome + "/printer.plist", offsets = "offsets Card2 --yes --set ";
  Walk(
      {{offsets + "5,-6,7,-8", "0"},
       {"save-printer-settings Card2 " + saved, "0||"},
       {offsets + "0,0,0,0", "0"},
       {"restore-printer-settings Card2 " + saved,
        "0||Orvex Printer Settings: Applying printer settings pease wait....\nOrvex Printer Settings: Applying printer "
        "settings please wait ....\n"},
       {"offsets Card2", "0|FrontX: 5\nFrontY: -6\nBackX: 7\nBackY: -8\n|"}});
  // The same file from another printer: declined without a terminal.
  std::string plist = ReadFile(saved);
  plist.replace(plist.find("<string>S32000001"), 17, "<string>S32999999");
  std::ofstream(saved, std::ios::trunc) << plist;
  Walk({{offsets + "0,0,0,0", "0"},
        {"restore-printer-settings Card2 " + saved,
         "1||Restore Printer setting : The target printer does not match the saved printer configuration "
         "settings.Proceeding to restore this file may corrupt the printer rendering it inoperable.Would you like "
         "to continue? [Ok/Cancel] Cancel\nvkts3-cli: " +
             saved + " was saved from another printer; nothing was restored\n"},
        {"offsets Card2", "0|FrontX: 0\nFrontY: 0\nBackX: 0\nBackY: 0\n|"},
        {"restore-printer-settings Card2 /etc/hostname",
         "1||vkts3-cli: /etc/hostname is not a printer-settings property list; nothing was restored\n"}});
}

}  // namespace
