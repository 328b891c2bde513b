// The job-log window: loading from the PPD, the enable rules, the length cuts
// of user edits, saving through the PPD service and deleting the log files.
#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <fstream>
#include <memory>

#include "FakePpdService.h"
#include "JobLog.h"
#include "PpdTestSupport.h"
#include "ScriptedPrompter.h"

namespace {

namespace fs = std::filesystem;
using ppd_test::ReadFile;
using ppd_test::ReplaceLine;
using ppd_test::ScopedEnv;
using ppd_test::ScratchDir;

void EnsureApplication() {
  if (QApplication::instance()) return;
  static int argc = 1;
  static char name[] = "joblog_tests";
  static char* argv[] = {name, nullptr};
  // Kept alive to the end of the process: Qt's globals go first.
  static QApplication* app = new QApplication(argc, argv);
  (void)app;
}

const char* const kContentBoxes[] = {"JobLogTime",       "JobLogDate", "PrinterSerialNumber",
                                     "PrinterIPAddress", "PrinterUserName", "SpoolerJobNumber",
                                     "Track1Data",       "Track2Data", "Track3Data"};

class JobLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    EnsureApplication();
    fixture = ReadFile(VKT_JOBLOG_PPD_FIXTURE);
    ppdPath = (scratch.path() / "Card.ppd").string();
    runDir = std::make_unique<ScopedEnv>("XDG_RUNTIME_DIR", (scratch.path() / "run").string());
    fs::create_directories(scratch.path() / "run");
    port = std::make_unique<ScopedEnv>("VKT_PPD_SERVICE_PORT", std::to_string(service.port()));
    logDir = (scratch.path() / "VKTS3S1Log").string() + "/";
    logEnv = std::make_unique<ScopedEnv>("VKT_JOBLOG_DIR", logDir);
  }

  // Installs `ppd` as the queue's PPD and opens the window on it.
  std::unique_ptr<JobLog> Open(const std::string& ppd) {
    ppd_test::WriteFile(ppdPath, ppd);
    return std::make_unique<JobLog>(ppdPath, prompter);
  }

  template <class T>
  static T* Child(JobLog& window, const char* name) {
    T* child = window.findChild<T*>(name);
    EXPECT_NE(child, nullptr) << name;
    return child;
  }
  static QCheckBox* Box(JobLog& window, const char* name) { return Child<QCheckBox>(window, name); }
  static QLineEdit* Field(JobLog& window, const char* name) { return Child<QLineEdit>(window, name); }

  std::string LoggingOn() const { return ReplaceLine(fixture, "*EnableLog: 0", "*EnableLog: 1"); }

  ScratchDir scratch;
  FakePpdService service;
  std::unique_ptr<ScopedEnv> runDir, port, logEnv;
  std::string fixture, ppdPath, logDir;
  ScriptedPrompter prompter;
};

// ---- loading and the enable rules ----

TEST_F(JobLogTest, LoggingOffButTimeOnLoadsTimeTickedAndDisabled) {
  auto window = Open(ReplaceLine(fixture, "*Time: 0", "*Time: 1"));
  EXPECT_FALSE(Box(*window, "EnableLogging")->isChecked());
  QCheckBox* time = Box(*window, "JobLogTime");
  EXPECT_TRUE(time->isChecked());
  EXPECT_FALSE(time->isEnabled());
  EXPECT_FALSE(Box(*window, "JobLogDate")->isChecked());
  EXPECT_FALSE(Box(*window, "StaticText")->isEnabled());
  EXPECT_FALSE(Child<QPushButton>(*window, "DeleteLog")->isEnabled());
  // The texts of the PPD still fill the fields, which stay unusable.
  EXPECT_EQ(Field(*window, "JobLogFileName")->text(), "VKTS3.log");
  EXPECT_FALSE(Field(*window, "JobLogFileName")->isEnabled());
  EXPECT_EQ(Field(*window, "JobLogSeparator")->text(), ",");
  EXPECT_EQ(Field(*window, "JobLogStaticTextField")->text(), "Orvex");
  EXPECT_TRUE(Field(*window, "JobLogStaticTextField")->isEnabled());
  EXPECT_TRUE(Box(*window, "StaticText")->isChecked());
  EXPECT_TRUE(prompter.prompts.empty());
}

TEST_F(JobLogTest, LoggingOnLoadsEveryFlagAndText) {
  std::string ppd = LoggingOn();
  ppd = ReplaceLine(ppd, "*MTrack2: 0", "*MTrack2: 1");
  ppd = ReplaceLine(ppd, "*FileName:VKTS3.log", "*FileName:Cards.log");
  auto window = Open(ppd);
  EXPECT_TRUE(Box(*window, "EnableLogging")->isChecked());
  for (const char* name : kContentBoxes) {
    EXPECT_TRUE(Box(*window, name)->isEnabled()) << name;
    EXPECT_EQ(Box(*window, name)->isChecked(), std::string(name) == "Track2Data") << name;
  }
  EXPECT_TRUE(Child<QPushButton>(*window, "DeleteLog")->isEnabled());
  EXPECT_FALSE(Box(*window, "JobLogNewFile")->isChecked());
  // A new file each day is off: the name field is usable. Its text comes
  // from the PPD after the new-file rule emptied it.
  EXPECT_TRUE(Field(*window, "JobLogFileName")->isEnabled());
  EXPECT_EQ(Field(*window, "JobLogFileName")->text(), "Cards.log");
  EXPECT_EQ(Field(*window, "JobLogSeparator")->text(), ",");
}

TEST_F(JobLogTest, UnreadablePpdShowsEverythingOffAndTheDefaultName) {
  auto window = std::make_unique<JobLog>((scratch.path() / "missing.ppd").string(), prompter);
  EXPECT_FALSE(Box(*window, "EnableLogging")->isChecked());
  for (const char* name : kContentBoxes) EXPECT_FALSE(Box(*window, name)->isChecked()) << name;
  EXPECT_EQ(Field(*window, "JobLogFileName")->text(), "VKTS3.log");
  EXPECT_EQ(Field(*window, "JobLogSeparator")->text(), "");
}

TEST_F(JobLogTest, TurningLoggingOffClearsAndDisablesEverything) {
  auto window = Open(ReplaceLine(LoggingOn(), "*Date: 0", "*Date: 1"));
  Box(*window, "EnableLogging")->click();
  EXPECT_FALSE(Box(*window, "JobLogDate")->isChecked());
  for (const char* name : kContentBoxes) EXPECT_FALSE(Box(*window, name)->isEnabled()) << name;
  for (const char* name : {"JobLogNewFile", "StaticText"}) {
    EXPECT_FALSE(Box(*window, name)->isChecked()) << name;
    EXPECT_FALSE(Box(*window, name)->isEnabled()) << name;
  }
  for (const char* name : {"JobLogFileName", "JobLogSeparator", "JobLogStaticTextField"}) {
    EXPECT_FALSE(Field(*window, name)->isEnabled()) << name;
    EXPECT_EQ(Field(*window, name)->text(), "") << name;
  }
  EXPECT_FALSE(Child<QPushButton>(*window, "DeleteLog")->isEnabled());

  // Back on: the controls are usable again; the static-text field waits for its box.
  Box(*window, "EnableLogging")->click();
  for (const char* name : kContentBoxes) EXPECT_TRUE(Box(*window, name)->isEnabled()) << name;
  EXPECT_TRUE(Box(*window, "StaticText")->isEnabled());
  EXPECT_FALSE(Field(*window, "JobLogStaticTextField")->isEnabled());
  Box(*window, "StaticText")->click();
  EXPECT_TRUE(Field(*window, "JobLogStaticTextField")->isEnabled());
  Box(*window, "StaticText")->click();
  EXPECT_FALSE(Field(*window, "JobLogStaticTextField")->isEnabled());
}

TEST_F(JobLogTest, NewFileEachDayUsesTheDefaultNameAndOffEmptiesNameAndSeparator) {
  auto window = Open(ReplaceLine(LoggingOn(), "*FileName:VKTS3.log", "*FileName:Cards.log"));
  QCheckBox* newFile = Box(*window, "JobLogNewFile");
  newFile->click();
  EXPECT_EQ(Field(*window, "JobLogFileName")->text(), "VKTS3.log");
  EXPECT_FALSE(Field(*window, "JobLogFileName")->isEnabled());
  EXPECT_EQ(Field(*window, "JobLogSeparator")->text(), ",");
  newFile->click();
  EXPECT_TRUE(Field(*window, "JobLogFileName")->isEnabled());
  EXPECT_EQ(Field(*window, "JobLogFileName")->text(), "");
  EXPECT_EQ(Field(*window, "JobLogSeparator")->text(), "");
}

// ---- length cuts ----

TEST_F(JobLogTest, UserEditsAreCutToTheirLengths) {
  auto window = Open(LoggingOn());
  window->show();
  QLineEdit* name = Field(*window, "JobLogFileName");
  name->clear();
  const QString thirtyTwo(32, QChar('a'));
  QTest::keyClicks(name, thirtyTwo + "b");
  EXPECT_EQ(name->text(), thirtyTwo);

  QLineEdit* separator = Field(*window, "JobLogSeparator");
  separator->clear();
  QTest::keyClicks(separator, ";|");
  EXPECT_EQ(separator->text(), ";");

  ASSERT_TRUE(Box(*window, "StaticText")->isChecked());  // the PPD's static text "Orvex"
  QLineEdit* text = Field(*window, "JobLogStaticTextField");
  text->clear();
  QTest::keyClicks(text, "ABCDEFGHIJKLMNOPQ");
  EXPECT_EQ(text->text(), "ABCDEFGHIJKLMNOP");

  // A text the program puts in is not the user's edit and is not cut.
  name->setText(thirtyTwo + "cd");
  EXPECT_EQ(name->text().size(), 34);
}

// ---- saving ----

TEST_F(JobLogTest, SavingWithLoggingOffWritesZerosAndEmptyTexts) {
  std::string ppd = ReplaceLine(LoggingOn(), "*Time: 0", "*Time: 1");
  auto window = Open(ppd);
  Box(*window, "EnableLogging")->click();
  Child<QPushButton>(*window, "SaveLog")->click();

  std::string expected = ReplaceLine(ppd, "*EnableLog: 1", "*EnableLog: 0");
  expected = ReplaceLine(expected, "*Time: 1", "*Time: 0");
  expected = ReplaceLine(expected, "*Separator:,", "*Separator:");
  expected = ReplaceLine(expected, "*FileName:VKTS3.log", "*FileName:");
  expected = ReplaceLine(expected, "*StaticText:Orvex", "*StaticText:");
  EXPECT_EQ(ReadFile(ppdPath), expected);
  ASSERT_EQ(prompter.prompts.size(), 1u);
  EXPECT_EQ(prompter.prompts[0].header, "");
  EXPECT_EQ(prompter.prompts[0].message, "Job log settings are saved successfully.");
  EXPECT_EQ(prompter.prompts[0].buttons, std::vector<std::string>{"OK"});
}

TEST_F(JobLogTest, SecondSaveThatReturnsAFlagToItsLoadedValueChangesNothing) {
  auto window = Open(LoggingOn());
  QCheckBox* date = Box(*window, "JobLogDate");
  date->click();
  EXPECT_EQ(window->SaveJobLogClick(), 1);
  const std::string afterFirst = ReadFile(ppdPath);
  EXPECT_EQ(afterFirst, ReplaceLine(LoggingOn(), "*Date: 0", "*Date: 1"));

  // Both saves compare against the values read when the window opened.
  date->click();
  EXPECT_EQ(window->SaveJobLogClick(), 1);
  EXPECT_EQ(ReadFile(ppdPath), afterFirst);
  EXPECT_EQ(service.Requests().size(), 2u);

  // Reopened, the window shows what the file now holds.
  auto reopened = Open(ReadFile(ppdPath));
  EXPECT_TRUE(Box(*reopened, "JobLogDate")->isChecked());
}

TEST_F(JobLogTest, FailedSaveStillShowsTheNoticeAndLeavesThePpd) {
  const std::string ppd = LoggingOn();
  auto window = Open(ppd);
  ScopedEnv nobody("VKT_PPD_SERVICE_PORT", std::to_string(FakePpdService::UnusedPort()));
  Box(*window, "JobLogTime")->click();
  EXPECT_EQ(window->SaveJobLogClick(), -1);
  EXPECT_EQ(ReadFile(ppdPath), ppd);
  ASSERT_EQ(prompter.prompts.size(), 1u);
  EXPECT_EQ(prompter.prompts[0].message, "Job log settings are saved successfully.");
}

// ---- deleting the log files ----

TEST_F(JobLogTest, DeletingWithoutTheLogFolderShowsOnlyTheQuestion) {
  auto window = Open(LoggingOn());
  Child<QPushButton>(*window, "DeleteLog")->click();
  ASSERT_EQ(prompter.prompts.size(), 1u);
  EXPECT_EQ(prompter.prompts[0].header, "Delete Job Log File ");
  EXPECT_EQ(prompter.prompts[0].message, "Do you want to delete the log file?");
  EXPECT_EQ(prompter.prompts[0].buttons, (std::vector<std::string>{"Yes", "No"}));
}

TEST_F(JobLogTest, DeletingRemovesEveryEntryAndSaysSo) {
  fs::create_directories(logDir + "old");
  std::ofstream(logDir + "VKTS3.log") << "line\n";
  std::ofstream(logDir + "old/VKTS3-2026-11-21.log") << "line\n";
  auto window = Open(LoggingOn());

  prompter.answers = {1};  // "No" keeps everything
  window->DeleteLogFiles();
  EXPECT_TRUE(fs::exists(logDir + "VKTS3.log"));
  ASSERT_EQ(prompter.prompts.size(), 1u);

  prompter.answers = {0};
  window->DeleteLogFiles();
  EXPECT_TRUE(fs::is_directory(logDir));
  EXPECT_TRUE(fs::is_empty(logDir));
  ASSERT_EQ(prompter.prompts.size(), 3u);
  EXPECT_EQ(prompter.prompts[2].header, "Delete Job Log File ");
  EXPECT_EQ(prompter.prompts[2].message, "Log files have been deleted successfully.");
  EXPECT_EQ(prompter.prompts[2].buttons, std::vector<std::string>{"Ok"});
}

}  // namespace
