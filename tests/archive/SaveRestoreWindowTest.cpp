// The save/restore window on its own: the label, the file panels, the shown
// file, and the driver settings saved from and restored into a scratch PPD
// through an in-process stand-in for the PPD service.
#include <gtest/gtest.h>

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <filesystem>
#include <fstream>

#include "AppTestSupport.h"
#include "DriverSettingsArchive.h"
#include "FakeHost.h"
#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "RecordingWaits.h"
#include "vkts3saverestore.h"

namespace {

namespace fs = std::filesystem;
using archive_test::FakeHost;
using ppd_test::ReadFile;
using ppd_test::ReplaceLine;
using ppd_test::ScopedEnv;
using ppd_test::ScratchDir;
using Entry = RecordingWaits::Entry;

class SaveRestoreWindowTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    fixture = ReadFile(app_test::FixturePpd("VKTS32.ppd"));
    ppdPath = (scratch.path() / "Card.ppd").string();
    ppd_test::WriteFile(ppdPath, fixture);
    fs::create_directories(scratch.path() / "run");
    fs::create_directories(scratch.path() / "Documents");
    runDir = std::make_unique<ScopedEnv>("XDG_RUNTIME_DIR", (scratch.path() / "run").string());
    port = std::make_unique<ScopedEnv>("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
  }

  std::unique_ptr<vkts3saverestore> Open(const std::string& documents = {}) {
    auto host = std::make_unique<FakeHost>(prompter, restores);
    this->host = host.get();
    return std::make_unique<vkts3saverestore>(ppdPath, std::move(host), nullptr, documents);
  }

  std::string Documents() const { return (scratch.path() / "Documents").string(); }

  ScratchDir scratch;
  FakePpdService service;
  RecordingWaits waits;
  std::unique_ptr<ScopedEnv> runDir, port;
  std::string fixture, ppdPath;
  ScriptedPrompter prompter;
  std::vector<std::string> restores;
  FakeHost* host = nullptr;
};

TEST_F(SaveRestoreWindowTest, LabelNamesTheDocumentsFolder) {
  auto window = Open(Documents());
  EXPECT_EQ(window->findChild<QLabel*>("lblFilePathText")->text().toStdString(),
            "The default location where the configurations \n files stored is " + Documents());
  EXPECT_TRUE(window->findChild<QPlainTextEdit*>("ContentsOfPlist")->isReadOnly());
  // Without a folder given, the desktop's Documents folder (never /Users/...).
  ScopedEnv home("HOME", scratch.path().string());
  auto desktop = Open();
  EXPECT_EQ(desktop->defaultDirectoryPath().rfind("/Users/", 0), std::string::npos);
  EXPECT_FALSE(desktop->defaultDirectoryPath().empty());
}

TEST_F(SaveRestoreWindowTest, SaveFileAppendsPlistOnlyWhenItOccursNowhere) {
  auto window = Open(Documents());
  const std::string folder = Documents() + "/";
  prompter.paths = {folder + "backup", folder + "Archive.PLIST", folder + "my.plist.old", ""};
  EXPECT_EQ(window->SaveFile("Save Printer Setting"), folder + "backup.plist");
  EXPECT_EQ(window->SaveFile("Save Printer Setting"), folder + "Archive.PLIST");
  EXPECT_EQ(window->SaveFile("Save Printer Setting"), folder + "my.plist.old");
  EXPECT_EQ(window->SaveFile("Save Printer Setting"), "");
  ASSERT_EQ(prompter.savePanels.size(), 4u);
  EXPECT_EQ(prompter.savePanels[0].title, "Save Printer Setting");
  EXPECT_EQ(prompter.savePanels[0].directory, Documents());
  EXPECT_EQ(prompter.savePanels[0].types, (std::vector<std::string>{"plist", "PLIST"}));
}

TEST_F(SaveRestoreWindowTest, OpenPanelKindsAndTheSecondAfterAChoice) {
  prompter.paths = {"/x/fw.bin", "/x/job.prn", "/x/s.plist", ""};
  EXPECT_EQ(vkts3saverestore::GetSelectedFilePath(prompter, 1), "/x/fw.bin");
  EXPECT_EQ(vkts3saverestore::GetSelectedFilePath(prompter, 2), "/x/job.prn");
  EXPECT_EQ(vkts3saverestore::GetSelectedFilePath(prompter, 3), "/x/s.plist");
  EXPECT_EQ(vkts3saverestore::GetSelectedFilePath(prompter, 3), "");
  ASSERT_EQ(prompter.openPanels.size(), 4u);
  EXPECT_EQ(prompter.openPanels[0].types, (std::vector<std::string>{"bin", "BIN"}));
  EXPECT_EQ(prompter.openPanels[1].types, (std::vector<std::string>{"prn", "PRN"}));
  EXPECT_EQ(prompter.openPanels[2].types, (std::vector<std::string>{"plist", "PLIST"}));
  // One second of event loop after each choice, none after the cancel.
  const Entry second{Entry::kEventLoop, std::chrono::seconds(1)};
  EXPECT_EQ(waits.entries, (std::vector<Entry>{second, second, second}));
}

TEST_F(SaveRestoreWindowTest, ShowsOnlyUtf8TextFiles) {
  auto window = Open(Documents());
  auto* view = window->findChild<QPlainTextEdit*>("ContentsOfPlist");
  const std::string good = (scratch.path() / "good.plist").string();
  const std::string latin1 = (scratch.path() / "latin1.plist").string();
  const std::string empty = (scratch.path() / "empty.plist").string();
  std::ofstream(good) << "<plist>\xc3\xa9</plist>";
  std::ofstream(latin1) << "<plist>\xe9</plist>";
  std::ofstream(empty) << "";
  window->DisplayContentsofPlistFile(good);
  EXPECT_EQ(view->toPlainText(), QString::fromUtf8("<plist>\xc3\xa9</plist>"));
  for (const std::string& path : {latin1, empty, (scratch.path() / "missing").string(), std::string()}) {
    window->DisplayContentsofPlistFile(path);
    EXPECT_EQ(view->toPlainText(), QString::fromUtf8("<plist>\xc3\xa9</plist>")) << path;
  }
}

TEST_F(SaveRestoreWindowTest, PrinterSettingsSaveWritesTheHostsValuesAndShowsThem) {
  auto window = Open(Documents());
  host->printer.FrontXOffset = "-12";
  host->printer.SerialNo = "VKT3200001";
  host->printer.Coercivity = "Low Coercivity";
  prompter.paths = {Documents() + "/backup"};
  window->findChild<QPushButton*>("PrinterSettingSaveButton")->click();
  const std::string path = Documents() + "/backup.plist";
  ASSERT_TRUE(fs::exists(path));
  EXPECT_EQ(ReadFile(path), printer_settings::ToXml(host->printer));
  EXPECT_EQ(window->findChild<QPlainTextEdit*>("ContentsOfPlist")->toPlainText().toStdString(), ReadFile(path));
  ASSERT_EQ(prompter.savePanels.size(), 1u);
  EXPECT_EQ(prompter.savePanels[0].title, "Save Printer Setting");
}

TEST_F(SaveRestoreWindowTest, PrinterSettingsRestoreHandsEvenACancelToTheMainWindow) {
  auto window = Open(Documents());
  const std::string path = Documents() + "/saved.plist";
  std::string error;
  ASSERT_TRUE(printer_settings::Write({}, path, error));
  prompter.paths = {path};
  window->PrinterSettingsRestoreButton();
  window->PrinterSettingsRestoreButton();  // cancelled panel
  EXPECT_EQ(restores, (std::vector<std::string>{path, ""}));
  // The file is shown, then a second passes before the printer is addressed.
  EXPECT_EQ(window->findChild<QPlainTextEdit*>("ContentsOfPlist")->toPlainText().toStdString(), ReadFile(path));
  EXPECT_EQ(waits.entries.size(), 3u);
}

TEST_F(SaveRestoreWindowTest, DriverSaveKeepsMinusOneExceptForMonochrome) {
  auto window = Open(Documents());
  host->lists = {-1, -1, -1, -1};
  prompter.paths = {Documents() + "/driver"};
  window->DriverSettingSaveButton();
  std::string error;
  auto file = driver_settings::Read(Documents() + "/driver.plist", error);
  ASSERT_TRUE(file) << error;
  EXPECT_EQ(file->PrintOnBothSides, -1);
  EXPECT_EQ(file->Rotate180, -1);
  EXPECT_EQ(file->MonoConversion, 0);
  EXPECT_EQ(file->PrintingMode, -1);
  // The job-log part comes from the PPD.
  EXPECT_EQ(file->JobLog.EnableLog, 0);
  EXPECT_EQ(file->JobLog.Separator, ",");
  EXPECT_EQ(file->JobLog.FileName, "VKTS3.log");
  EXPECT_EQ(file->JobLog.StaticText, "Orvex");
  EXPECT_EQ(prompter.savePanels.at(0).title, "Save Driver Setting");
  EXPECT_TRUE(service.Requests().empty());  // a save reads the PPD only
}

TEST_F(SaveRestoreWindowTest, RestoreWithoutASaveComparesAgainstAZeroRecord) {
  const std::string path = Documents() + "/driver.plist";
  driver_settings::DriverSettings saved;
  saved.Rotate180 = 2;
  saved.MonoConversion = 0;
  saved.JobLog.EnableLog = 1;
  saved.JobLog.Time = 0;
  saved.JobLog.Separator = ";";
  saved.JobLog.FileName = "Other.log";
  std::string error;
  ASSERT_TRUE(driver_settings::Write(saved, path, error));
  ppd_test::WriteFile(ppdPath, ReplaceLine(fixture, "*Time: 0", "*Time: 1"));
  auto window = Open(Documents());
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(path), 1);
  // EnableLog 1 in the file, 0 in the zero record: changed. Time 0 in the file
  // equals the zero record: its line keeps 1. The texts are not touched.
  std::string expected = ReplaceLine(fixture, "*EnableLog: 0", "*EnableLog: 1");
  expected = ReplaceLine(expected, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back");
  expected = ReplaceLine(expected, "*Time: 0", "*Time: 1");
  EXPECT_EQ(ReadFile(ppdPath), expected);
  EXPECT_TRUE(prompter.prompts.empty());
}

TEST_F(SaveRestoreWindowTest, UnusableFilesLeaveThePpdAndTellTheUser) {
  auto window = Open(Documents());
  const std::string notXml = Documents() + "/junk.plist";
  const std::string printerFile = Documents() + "/printer.plist";
  std::ofstream(notXml) << "this is not a property list";
  std::string error;
  ASSERT_TRUE(printer_settings::Write({}, printerFile, error));
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(notXml), 0);
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(printerFile), 0);
  EXPECT_TRUE(service.Requests().empty());
  EXPECT_EQ(ReadFile(ppdPath), fixture);
  ASSERT_EQ(prompter.prompts.size(), 2u);
  EXPECT_EQ(prompter.prompts[0].header, "Orvex Printer Settings");
  EXPECT_EQ(prompter.prompts[0].message,
            "The file " + notXml + " is not a property list. The driver settings were not changed.");
  EXPECT_EQ(prompter.prompts[1].message, "The file " + printerFile +
                                             " holds no driver settings (\"VKTS3PrinterConfig\" is missing). The "
                                             "driver settings were not changed.");
  EXPECT_EQ(prompter.prompts[1].buttons, std::vector<std::string>{"OK"});
}

TEST_F(SaveRestoreWindowTest, CancelledDriverRestoreDoesNothing) {
  auto window = Open(Documents());
  window->DriverSettingsRestoreButton();
  EXPECT_EQ(prompter.openPanels.size(), 1u);
  EXPECT_TRUE(prompter.prompts.empty());
  EXPECT_TRUE(waits.entries.empty());
  EXPECT_TRUE(service.Requests().empty());
}

}  // namespace
