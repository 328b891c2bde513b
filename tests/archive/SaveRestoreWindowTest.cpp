// The save/restore window on its own: the label, the file panels, the shown
// file, and what its four buttons hand to the main window, the archive files
// and the PPD (through an in-process stand-in for the PPD service).
#include <gtest/gtest.h>

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <fstream>

#include "AppTestSupport.h"
#include "DriverSettingsArchive.h"
#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "RecordingWaits.h"
#include "SaveRestoreHost.h"
#include "ScriptedPrompter.h"
#include "vkts3saverestore.h"

namespace {

using namespace ppd_test;
using Entry = RecordingWaits::Entry;
using namespace std::string_literals;

// A stand-in main window: fixed control values, a scripted prompter, and a
// record of the printer-settings restores asked for.
struct FakeHost : SaveRestoreHost {
  FakeHost(ScriptedPrompter& prompter, std::vector<std::string>& restores) : prompter_(prompter), restores_(restores) {}
  Prompter& prompter() override { return prompter_; }
  printer_settings::PrinterSettings CurrentPrinterSettings() override { return printer; }
  std::array<int, 4> DriverListIndices() override { return {1, 2, -1, 0}; }
  void UpdatePrinterSettingsFromFile(const std::string& path) override { restores_.push_back(path); }
  printer_settings::PrinterSettings printer{"-12", "", "", "", 2, "Low Coercivity", {}, "VKT3200001"};
  ScriptedPrompter& prompter_;
  std::vector<std::string>& restores_;
};

class SaveRestoreWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    WriteFile(ppd, fixture);
    window = std::make_unique<vkts3saverestore>(ppd, std::make_unique<FakeHost>(prompter, restores), nullptr, docs);
  }
  std::string Shown() const {
    return window->findChild<QPlainTextEdit*>("ContentsOfPlist")->toPlainText().toStdString();
  }
  void Click(const char* button) { window->findChild<QPushButton*>(button)->click(); }

  ScratchDir scratch;
  FakePpdService service;
  RecordingWaits waits;
  ScopedEnv runDir{"XDG_RUNTIME_DIR", scratch.path().string()};
  ScopedEnv port{"VKT_PPD_SERVICE_PORT", std::to_string(service.port())};
  // The time is logged, so that a driver-settings restore has a flag to turn off.
  const std::string fixture = ReplaceLine(ReadFile(app_test::FixturePpd("VKTS32.ppd")), "*Time: 0", "*Time: 1");
  const std::string ppd = (scratch.path() / "Card.ppd").string(), docs = scratch.path().string();
  ScriptedPrompter prompter;
  std::vector<std::string> restores;
  std::unique_ptr<vkts3saverestore> window;
};

// Each panel as "title in folder: types".
std::string Panels(const std::vector<Prompter::FilePanel>& panels, const std::string& docs) {
  std::string text;
  for (const auto& p : panels)
    text +=
        p.title + " in " + (p.directory == docs ? "docs" : p.directory) + ": " + p.types.at(0) + p.types.at(1) + "\n";
  return text;
}

TEST_F(SaveRestoreWindowTest, LabelFilePanelsAndTheShownFile) {
  EXPECT_EQ(window->findChild<QLabel*>("lblFilePathText")->text().toStdString(),
            "The default location where the configurations \n files stored is " + docs);
  // ".plist" is appended only when it occurs nowhere in the chosen path; an
  // existing file of the real name is replaced only after a question.
  std::ofstream(docs + "/old.plist") << "kept";
  prompter.paths = {"backup", "Archive.PLIST", "my.plist.old", "", docs + "/old", docs + "/old"};
  prompter.answers = {1, 0};
  std::string saved;
  for (int i = 0; i < 6; ++i) saved += window->SaveFile("Save Printer Setting") + "|";
  EXPECT_EQ(saved, "backup.plist|Archive.PLIST|my.plist.old|||" + docs + "/old.plist|");
  EXPECT_EQ(Panels({prompter.savePanels.at(5)}, docs), "Save Printer Setting in docs: plistPLIST\n");
  ASSERT_EQ(prompter.prompts.size(), 2u);
  const Prompter::Prompt& question = prompter.prompts[0];
  EXPECT_EQ(question.message + "|" + question.buttons.at(0) + question.buttons.at(1),
            docs + "/old.plist already exists. Do you want to replace it?|YesNo");
  // Open panels by kind; one second of event loop after each choice, none after a cancel.
  prompter.paths = {"/x/fw.bin", "/x/job.prn", "/x/s.plist", ""};
  std::string chosen;
  for (int kind : {1, 2, 3, 3}) chosen += window->GetSelectedFilePath(kind) + "|";
  EXPECT_EQ(chosen, "/x/fw.bin|/x/job.prn|/x/s.plist||");
  EXPECT_EQ(Panels(prompter.openPanels, docs),
            "Select Firmware File in docs: binBIN\nSelect PRN File in docs: prnPRN\n"
            "Select Settings File in docs: plistPLIST\nSelect Settings File in docs: plistPLIST\n");
  EXPECT_EQ(waits.entries, std::vector<Entry>(3, {Entry::kEventLoop, std::chrono::seconds(1)}));
  // Only a UTF-8 text file is shown; anything else leaves the view alone.
  std::ofstream(docs + "/good.plist") << "<plist>\xc3\xa9</plist>";
  std::ofstream(docs + "/latin1.plist") << "<plist>\xe9</plist>";
  std::ofstream(docs + "/empty.plist") << "";
  for (const std::string name : {"/good.plist", "/latin1.plist", "/empty.plist", "/missing", ""}) {
    window->DisplayContentsofPlistFile(name.empty() ? name : docs + name);
    EXPECT_EQ(Shown(), "<plist>\xc3\xa9</plist>") << name;
  }
}

TEST_F(SaveRestoreWindowTest, PrinterSettingsButtonsWriteTheHostsValuesAndHandThePathToIt) {
  prompter.paths = {docs + "/backup", docs + "/backup.plist", ""};
  Click("PrinterSettingSaveButton");
  const std::string saved = ReadFile(docs + "/backup.plist");
  EXPECT_EQ(saved, printer_settings::ToXml(FakeHost(prompter, restores).printer));
  EXPECT_EQ(Shown(), saved);
  window->findChild<QPlainTextEdit*>("ContentsOfPlist")->clear();
  // The file is shown, then a second passes before the main window restores;
  // even a cancelled panel reaches it.
  Click("PrinterSettingsRestoreButton");
  EXPECT_EQ(Shown(), saved);
  Click("PrinterSettingsRestoreButton");
  EXPECT_EQ(restores, (std::vector<std::string>{docs + "/backup.plist", ""}));
  EXPECT_EQ(waits.entries.size(), 3u);
  EXPECT_TRUE(service.Requests().empty());
}

// The driver settings through the window's buttons and the PPD service: a
// save collects the lists and the PPD's job log, a restore rewrites the PPD
// whole or not at all, and an unusable file is refused with an alert.
TEST_F(SaveRestoreWindowTest, DriverSettingsButtonsSaveTheListsAndRestoreIntoThePpd) {
  Click("DriverSettingsRestoreButton");  // cancelled: nothing happens
  EXPECT_TRUE(waits.entries.empty());
  driver_settings::DriverSettings file;
  file.Rotate180 = 2;
  file.JobLog.EnableLog = 1;
  file.JobLog.Separator = ";";
  file.JobLog.FileName = "Other.log";
  std::string error;
  ASSERT_TRUE(driver_settings::Write(file, docs + "/driver.plist", error)) << error;
  // Before any save the file is compared with a zero record: EnableLog 1
  // changes, Time 0 leaves the PPD's 1, and the texts are not touched.
  prompter.paths = {docs + "/driver.plist", docs + "/saved", docs + "/driver.plist"};
  Click("DriverSettingsRestoreButton");
  std::string expected = ReplaceLine(fixture, "*EnableLog: 0", "*EnableLog: 1");
  expected = ReplaceLine(expected, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back");
  EXPECT_EQ(ReadFile(ppd), expected);
  EXPECT_EQ(Shown(), ReadFile(docs + "/driver.plist"));
  EXPECT_EQ(service.Requests().size(), 2u);
  // A save keeps the lists' positions, -1 for monochrome as 0, and the PPD's
  // job log; it reads the PPD only.
  Click("DriverSettingSaveButton");
  driver_settings::DriverSettings collected{1, 2, 0, 0, {}};
  collected.JobLog.EnableLog = collected.JobLog.Time = 1;
  collected.JobLog.Separator = ",";
  collected.JobLog.FileName = "VKTS3.log";
  collected.JobLog.StaticText = "Orvex";
  EXPECT_EQ(ReadFile(docs + "/saved.plist"), driver_settings::ToXml(collected));
  EXPECT_EQ(prompter.savePanels.at(0).title, "Save Driver Setting");
  EXPECT_EQ(Shown(), ReadFile(docs + "/saved.plist"));
  EXPECT_EQ(service.Requests().size(), 2u);
  // Then against the values read: Time goes off, the texts change (a text
  // never read is saved empty, so StaticText is cleared).
  Click("DriverSettingsRestoreButton");
  expected = ReplaceLine(ReplaceLine(expected, "*Time: 1", "*Time: 0"), "*Separator:,", "*Separator:;");
  expected = ReplaceLine(ReplaceLine(expected, "*StaticText:Orvex", "*StaticText:"), "*FileName:VKTS3.log",
                         "*FileName:Other.log");
  EXPECT_EQ(ReadFile(ppd), expected);
  EXPECT_EQ(service.Requests().size(), 4u);
  EXPECT_EQ(waits.entries.size(), 4u);
  EXPECT_TRUE(prompter.prompts.empty());

  // A file that is no property list (the other reasons are the archive
  // format's), and job-log texts the PPD service would refuse: the PPD is
  // left, the first with an alert.
  std::ofstream(docs + "/junk.plist") << "this is not a property list";
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(docs + "/junk.plist"), 0);
  file.Rotate180 = 3;
  file.JobLog.FileName = "a\"b.log";
  ASSERT_TRUE(driver_settings::Write(file, docs + "/refused.plist", error)) << error;
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(docs + "/refused.plist"), -1);
  EXPECT_EQ(ReadFile(ppd), expected);
  EXPECT_EQ(service.Requests().size(), 4u);
  ASSERT_EQ(prompter.prompts.size(), 1u);
  const Prompter::Prompt& alert = prompter.prompts[0];
  EXPECT_EQ(alert.header + "|" + alert.message + "|" + alert.buttons.at(0) +
                (alert.level == Prompter::Level::kStop ? " stop" : ""),
            "Orvex Printer Settings|The file " + docs +
                "/junk.plist is not a property list. The driver settings were not changed.|OK stop");
}

}  // namespace
