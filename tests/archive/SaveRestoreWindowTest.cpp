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
  const std::string fixture = ReadFile(app_test::FixturePpd("VKTS32.ppd"));
  const std::string ppd = (scratch.path() / "Card.ppd").string(), docs = scratch.path().string();
  ScriptedPrompter prompter;
  std::vector<std::string> restores;
  std::unique_ptr<vkts3saverestore> window;
};

TEST_F(SaveRestoreWindowTest, LabelFilePanelsAndTheShownFile) {
  EXPECT_EQ(window->findChild<QLabel*>("lblFilePathText")->text().toStdString(),
            "The default location where the configurations \n files stored is " + docs);
  EXPECT_TRUE(window->findChild<QPlainTextEdit*>("ContentsOfPlist")->isReadOnly());
  // ".plist" is appended only when it occurs nowhere in the chosen path.
  prompter.paths = {docs + "/backup", docs + "/Archive.PLIST", docs + "/my.plist.old", ""};
  for (const std::string& expected : {docs + "/backup.plist", docs + "/Archive.PLIST", docs + "/my.plist.old", ""s})
    EXPECT_EQ(window->SaveFile("Save Printer Setting"), expected);
  EXPECT_EQ(prompter.savePanels.at(3).title, "Save Printer Setting");
  EXPECT_EQ(prompter.savePanels[3].directory, docs);
  EXPECT_EQ(prompter.savePanels[3].types, (std::vector<std::string>{"plist", "PLIST"}));
  // An existing file of the real name is replaced only after a question.
  std::ofstream(docs + "/old.plist") << "kept";
  prompter.paths = {docs + "/old", docs + "/old"};
  prompter.answers = {1, 0};
  EXPECT_EQ(window->SaveFile("Save Printer Setting"), "");
  EXPECT_EQ(window->SaveFile("Save Printer Setting"), docs + "/old.plist");
  ASSERT_EQ(prompter.prompts.size(), 2u);
  EXPECT_EQ(prompter.prompts[0].message, docs + "/old.plist already exists. Do you want to replace it?");
  EXPECT_EQ(prompter.prompts[0].buttons, (std::vector<std::string>{"Yes", "No"}));
  // Open panels by kind; one second of event loop after each choice, none after a cancel.
  prompter.paths = {"/x/fw.bin", "/x/job.prn", "/x/s.plist", ""};
  EXPECT_EQ(vkts3saverestore::GetSelectedFilePath(prompter, 1), "/x/fw.bin");
  EXPECT_EQ(vkts3saverestore::GetSelectedFilePath(prompter, 2), "/x/job.prn");
  EXPECT_EQ(window->GetSelectedFilePath(3), "/x/s.plist");
  EXPECT_EQ(window->GetSelectedFilePath(3), "");
  EXPECT_EQ(prompter.openPanels.at(0).types, (std::vector<std::string>{"bin", "BIN"}));
  EXPECT_EQ(prompter.openPanels.at(1).types, (std::vector<std::string>{"prn", "PRN"}));
  EXPECT_EQ(prompter.openPanels.at(3).types, (std::vector<std::string>{"plist", "PLIST"}));
  EXPECT_EQ(prompter.openPanels[3].directory, docs);
  const Entry second{Entry::kEventLoop, std::chrono::seconds(1)};
  EXPECT_EQ(waits.entries, (std::vector<Entry>{second, second, second}));
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

TEST_F(SaveRestoreWindowTest, DriverSettingsButtonsSaveTheListsAndRestoreIntoThePpd) {
  Click("DriverSettingsRestoreButton");  // cancelled: nothing happens
  EXPECT_TRUE(waits.entries.empty());
  prompter.paths = {docs + "/driver", docs + "/driver.plist"};
  Click("DriverSettingSaveButton");
  EXPECT_EQ(prompter.savePanels.at(0).title, "Save Driver Setting");
  std::string error;
  const auto file = driver_settings::Read(docs + "/driver.plist", error);
  ASSERT_TRUE(file) << error;
  EXPECT_EQ(std::to_string(file->PrintOnBothSides) + std::to_string(file->Rotate180) +
                std::to_string(file->MonoConversion) + std::to_string(file->PrintingMode),
            "1200");
  EXPECT_EQ(Shown(), ReadFile(docs + "/driver.plist"));
  EXPECT_TRUE(service.Requests().empty());  // a save reads the PPD only
  Click("DriverSettingsRestoreButton");
  std::string expected = ReplaceLine(fixture, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back");
  EXPECT_EQ(ReadFile(ppd), expected);
  EXPECT_EQ(service.Requests().size(), 2u);
  EXPECT_EQ(waits.entries.size(), 2u);
  EXPECT_TRUE(prompter.prompts.empty());
}

}  // namespace
