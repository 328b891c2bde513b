// The job-log settings: loading from the PPD, the enable rules, the length
// cuts of user edits, saving through the PPD service (the exact PPD lines)
// and deleting the log files; the model alone, then once through the window.
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <filesystem>
#include <fstream>
#include <memory>

#include "AppTestSupport.h"
#include "FakePpdService.h"
#include "JobLog.h"
#include "JobLogModel.h"
#include "PpdTestSupport.h"
#include "ScriptedPrompter.h"

namespace {

namespace fs = std::filesystem;
const std::string kSaved = "|Job log settings are saved successfully.|OK ";
using namespace ppd_test;

// The controls in one line: check boxes 1/0, fields quoted; "-" marks a
// disabled control. Order: logging, new file, the nine content boxes, static
// text, file name, separator, static text field, delete.
std::string State(JobLogModel::Outlets& ui) {
  auto toggle = [](const ToggleControl& t) {
    return (t.IsChecked() ? "1" : "0") + std::string(t.IsEnabled() ? "" : "-");
  };
  auto field = [](const TextControl& t) { return "'" + t.Text() + "'" + (t.IsEnabled() ? "" : "-"); };
  std::string s = toggle(ui.EnableLogging) + " " + toggle(ui.JobLogNewFile) + " ";
  for (ToggleControl* box : ui.ContentBoxes()) s += toggle(*box);
  return s + " " + toggle(ui.StaticText) + " " + field(ui.JobLogFileName) + " " + field(ui.JobLogSeparator) + " " +
         field(ui.JobLogStaticTextField) + (ui.DeleteLog.IsEnabled() ? " del" : " del-");
}

class JobLogTest : public ::testing::Test {
 protected:
  // Installs `ppd` as the queue's PPD and loads the model from it.
  JobLogModel& Open(const std::string& ppd) {
    ppd_test::WriteFile(ppdPath, ppd);
    model = std::make_unique<JobLogModel>(JobLogContext{&prompter, ""});
    model->LoadJobLogSettings(ppdPath);
    return *model;
  }
  // Each prompt as "header|message|buttons ", one after the other.
  std::string Prompts() const {
    std::string shown;
    for (const Prompter::Prompt& p : prompter.prompts) {
      shown += p.header + "|" + p.message + "|";
      for (const std::string& button : p.buttons) shown += button + " ";
    }
    return shown;
  }
  // Clicks `box` of the open model, then runs its rule; the state after.
  std::string Click(ToggleControl& box, void (JobLogModel::*rule)() = nullptr) {
    box.SetChecked(!box.IsChecked());
    if (rule) (model.get()->*rule)();
    return State(model->ui);
  }

  ppd_test::ScratchDir scratch;
  FakePpdService service;
  ScopedEnv port{"VKT_PPD_SERVICE_PORT", std::to_string(service.port())};
  std::string logDir = (scratch.path() / "VKTS3S1Log").string() + "/";
  ScopedEnv logEnv{"VKT_JOBLOG_DIR", logDir};
  std::string fixture = ReadFile(app_test::FixturePpd("VKTS32.ppd")), ppdPath = (scratch.path() / "Card.ppd").string();
  std::string on = ReplaceLine(fixture, "*EnableLog: 0", "*EnableLog: 1");
  ScriptedPrompter prompter;
  std::unique_ptr<JobLogModel> model;
};

TEST_F(JobLogTest, LoadingShowsThePpdByTheEnableRules) {
  const std::pair<std::string, std::string> cases[] = {
      // Logging off: the flags and texts show, unusable; the static text field stays usable.
      {ReplaceLine(fixture, "*Time: 0", "*Time: 1"), "0 0- 1-0-0-0-0-0-0-0-0- 1- 'VKTS3.log'- ','- 'Orvex' del-"},
      // A new file each day is off: its rule empties the name, then the PPD's name shows.
      {ReplaceLine(ReplaceLine(on, "*MTrack2: 0", "*MTrack2: 1"), "*FileName:VKTS3.log", "*FileName:Cards.log"),
       "1 0 000000010 1 'Cards.log' ',' 'Orvex' del"},
      // No separator line, or an empty one: the field stays empty.
      {ReplaceLine(on, "*Separator:,", ""), "1 0 000000000 1 'VKTS3.log' '' 'Orvex' del"},
      {ReplaceLine(on, "*Separator:,", "*Separator:"), "1 0 000000000 1 'VKTS3.log' '' 'Orvex' del"},
      {"", "0 0- 0-0-0-0-0-0-0-0-0- 0- 'VKTS3.log'- ''- ''- del-"}};  // unreadable
  for (const auto& [ppd, state] : cases) EXPECT_EQ(State(Open(ppd).ui), state);
  EXPECT_TRUE(prompter.prompts.empty());
}

TEST_F(JobLogTest, CheckBoxRules) {
  JobLogModel& m = Open(ReplaceLine(on, "*Date: 0", "*Date: 1"));
  EXPECT_EQ(Click(m.ui.EnableLogging, &JobLogModel::EnableLogging), "0 0- 0-0-0-0-0-0-0-0-0- 0- ''- ''- ''- del-");
  // The static-text field waits for its box.
  EXPECT_EQ(Click(m.ui.EnableLogging, &JobLogModel::EnableLogging), "1 0 000000000 0 '' '' ''- del");
  EXPECT_EQ(Click(m.ui.StaticText, &JobLogModel::StaticTextField), "1 0 000000000 1 '' '' '' del");
  m.ui.JobLogStaticTextField.SetText("X");
  EXPECT_EQ(Click(m.ui.StaticText, &JobLogModel::StaticTextField), "1 0 000000000 0 '' '' ''- del");
  // A new file each day has the default name; off again empties name and separator.
  JobLogModel& other = Open(ReplaceLine(on, "*FileName:VKTS3.log", "*FileName:Cards.log"));
  EXPECT_EQ(Click(other.ui.JobLogNewFile, &JobLogModel::CheckedCreateNewFile),
            "1 1 000000000 1 'VKTS3.log'- ',' 'Orvex' del");
  EXPECT_EQ(Click(other.ui.JobLogNewFile, &JobLogModel::CheckedCreateNewFile), "1 0 000000000 1 '' '' 'Orvex' del");
}

// User edits keep what the PPD service accepts, cut to the field's length in
// characters; a field not of the window is left alone.
TEST_F(JobLogTest, UserEditsAreCutByTheirFieldsRule) {
  JobLogModel& m = Open(on);
  TextControl other;
  const std::pair<TextControl*, std::string> edits[] = {{&m.ui.JobLogFileName, "/etc/\u00e9 " + std::string(32, 'a')},
                                                        {&m.ui.JobLogSeparator, "\u00e9\t;|"},
                                                        {&m.ui.JobLogStaticTextField, "\u00e4\"\001BCDEFGHIJKLMNOPQ"},
                                                        {&other, "x"}};
  std::string kept;
  for (const auto& [field, text] : edits) m.controlTextDidChange(*field, text), kept += field->Text() + "|";
  EXPECT_EQ(kept, "etc" + std::string(29, 'a') + "|;|\u00e4BCDEFGHIJKLMNOP||");
}

TEST_F(JobLogTest, SavingWritesTheShownSettingsAndAlwaysSaysSaved) {
  const std::string ppd = ReplaceLine(on, "*Time: 0", "*Time: 1");
  JobLogModel& m = Open(ppd);
  Click(m.ui.EnableLogging, &JobLogModel::EnableLogging);
  EXPECT_EQ(m.SaveJobLogClick(), 1);
  std::string expected = ReplaceLine(ReplaceLine(ppd, "*EnableLog: 1", "*EnableLog: 0"), "*Time: 1", "*Time: 0");
  expected = ReplaceLine(ReplaceLine(expected, "*Separator:,", "*Separator:"), "*FileName:VKTS3.log", "*FileName:");
  EXPECT_EQ(ReadFile(ppdPath), ReplaceLine(expected, "*StaticText:Orvex", "*StaticText:"));
  EXPECT_EQ(Prompts(), kSaved);
  // Each content box is its own flag.
  Click(Open(on).ui.JobLogDate);
  Click(model->ui.Track3Data);
  EXPECT_EQ(model->SaveJobLog(), 1);
  EXPECT_EQ(ReadFile(ppdPath), ReplaceLine(ReplaceLine(on, "*Date: 0", "*Date: 1"), "*MTrack3: 0", "*MTrack3: 1"));
  // A failed save still shows the notice and leaves the PPD.
  ScopedEnv nobody("VKT_PPD_SERVICE_PORT", std::to_string(FakePpdService::UnusedPort()));
  Click(Open(on).ui.JobLogTime);
  EXPECT_EQ(model->SaveJobLogClick(), -1);
  EXPECT_EQ(ReadFile(ppdPath), on);
  EXPECT_EQ(Prompts(), kSaved + kSaved);
}

TEST_F(JobLogTest, DeletingAsksThenEmptiesTheLogFolderAndSaysSo) {
  JobLogModel& m = Open(on);
  m.DeleteLogFiles();  // no folder yet: only the question
  fs::create_directories(logDir + "old");
  std::ofstream(logDir + "VKTS3.log") << "line\n";
  std::ofstream(logDir + "old/VKTS3-2026-11-21.log") << "line\n";
  prompter.answers = {1, 0};  // "No" keeps everything
  m.DeleteLogFiles();
  EXPECT_TRUE(fs::exists(logDir + "VKTS3.log"));
  m.DeleteLogFiles();
  EXPECT_TRUE(fs::is_directory(logDir) && fs::is_empty(logDir));
  const std::string question = "Delete Job Log File |Do you want to delete the log file?|Yes No ";
  EXPECT_EQ(Prompts(),
            question + question + question + "Delete Job Log File |Log files have been deleted successfully.|Ok ");
}

// The window binds its widgets to the model: clicks run the rules, typing is cut.
TEST_F(JobLogTest, WindowRunsTheRulesOfItsWidgets) {
  app_test::EnsureApplication();
  ppd_test::WriteFile(ppdPath, on);
  JobLog window(ppdPath, prompter);
  auto* file = window.findChild<QLineEdit*>("JobLogFileName");
  file->clear();
  QTest::keyClicks(file, QString(33, QChar('a')));
  EXPECT_EQ(file->text(), QString(32, QChar('a')));
  window.findChild<QCheckBox*>("JobLogNewFile")->click();  // a new file each day has the default name
  EXPECT_EQ(file->text() + (file->isEnabled() ? " on" : " off"), "VKTS3.log off");
  window.findChild<QCheckBox*>("EnableLogging")->click();
  EXPECT_FALSE(window.findChild<QCheckBox*>("StaticText")->isEnabled());
  window.findChild<QPushButton*>("SaveLog")->click();
  EXPECT_EQ(Prompts(), kSaved);
}

}  // namespace
