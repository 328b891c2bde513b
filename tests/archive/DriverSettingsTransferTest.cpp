// The driver-settings save and restore over a scratch PPD and an in-process
// PPD service: what a save collects, what a restore rewrites, and the alert
// for a file that holds no driver settings.
#include <gtest/gtest.h>

#include <fstream>

#include "DriverSettingsTransfer.h"
#include "FakePpdService.h"
#include "PpdTestSupport.h"
#include "PrinterSettingsArchive.h"
#include "ScriptedPrompter.h"

namespace {

using namespace ppd_test;

class DriverSettingsTransfer : public ::testing::Test {
 protected:
  void SetUp() override { WriteFile(ppd, original); }
  std::string Path(const char* name) const { return (dir.path() / name).string(); }

  ScratchDir dir;
  FakePpdService service;
  ScopedEnv runDir{"XDG_RUNTIME_DIR", dir.path().string()};
  ScopedEnv port{"VKT_PPD_SERVICE_PORT", std::to_string(service.port())};
  const std::string ppd = Path("Card.ppd"), original = ReadFile(FixturePath("VKTS32.ppd"));
  ScriptedPrompter prompter;
};

TEST_F(DriverSettingsTransfer, RestoreComparesTheJobLogAgainstTheLastCollectOrAZeroRecord) {
  driver_settings::DriverSettings saved;
  saved.Rotate180 = 2;
  saved.JobLog.EnableLog = 1;
  saved.JobLog.Separator = ";";
  saved.JobLog.FileName = "Other.log";
  std::string error;
  ASSERT_TRUE(driver_settings::Write(saved, Path("driver.plist"), error));
  WriteFile(ppd, ReplaceLine(original, "*Time: 0", "*Time: 1"));
  PPDHelper helper;
  helper.InitPPD(ppd);
  // EnableLog 1 in the file, 0 in the zero record: changed. Time 0 in the file
  // equals the zero record: its line keeps 1. The texts are not touched.
  EXPECT_EQ(driver_settings::Restore(helper, Path("driver.plist"), prompter), 1);
  std::string expected = ReplaceLine(original, "*EnableLog: 0", "*EnableLog: 1");
  expected = ReplaceLine(expected, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back");
  EXPECT_EQ(ReadFile(ppd), ReplaceLine(expected, "*Time: 0", "*Time: 1"));

  // A save keeps -1 except for monochrome, and reads the job log from the PPD.
  const driver_settings::DriverSettings collected = driver_settings::Collect(helper, {-1, 2, -1, -1});
  EXPECT_EQ(std::to_string(collected.PrintOnBothSides) + std::to_string(collected.Rotate180) +
                std::to_string(collected.MonoConversion) + std::to_string(collected.PrintingMode),
            "-120-1");
  JobLog_ log;
  log.EnableLog = log.Time = 1;
  log.Separator = ",";
  log.FileName = "VKTS3.log";
  log.StaticText = "Orvex";
  EXPECT_EQ(collected.JobLog, log);
  // Then against the values it read: Time goes off, the texts change (a text
  // never read is saved empty, so StaticText is cleared).
  EXPECT_EQ(driver_settings::Restore(helper, Path("driver.plist"), prompter), 1);
  expected = ReplaceLine(expected, "*Separator:,", "*Separator:;");
  expected = ReplaceLine(expected, "*StaticText:Orvex", "*StaticText:");
  EXPECT_EQ(ReadFile(ppd), ReplaceLine(expected, "*FileName:VKTS3.log", "*FileName:Other.log"));
  EXPECT_TRUE(prompter.prompts.empty());
  EXPECT_EQ(service.Requests().size(), 4u);  // a save reads the PPD only
}

TEST_F(DriverSettingsTransfer, UnusableFilesLeaveThePpdAndTellTheUser) {
  std::ofstream(Path("junk.plist")) << "this is not a property list";
  std::string error;
  ASSERT_TRUE(printer_settings::Write({}, Path("printer.plist"), error));
  PPDHelper helper;
  helper.InitPPD(ppd);
  EXPECT_EQ(driver_settings::Restore(helper, Path("junk.plist"), prompter), 0);
  EXPECT_EQ(driver_settings::Restore(helper, Path("printer.plist"), prompter), 0);
  EXPECT_TRUE(service.Requests().empty());
  EXPECT_EQ(ReadFile(ppd), original);
  ASSERT_EQ(prompter.prompts.size(), 2u);
  EXPECT_EQ(prompter.prompts[0].header, "Orvex Printer Settings");
  EXPECT_EQ(prompter.prompts[0].message,
            "The file " + Path("junk.plist") + " is not a property list. The driver settings were not changed.");
  EXPECT_EQ(prompter.prompts[1].message, "The file " + Path("printer.plist") +
                                             " holds no driver settings (\"VKTS3PrinterConfig\" is missing). The "
                                             "driver settings were not changed.");
  EXPECT_EQ(prompter.prompts[1].buttons, std::vector<std::string>{"OK"});
  EXPECT_EQ(prompter.prompts[1].level, Prompter::Level::kStop);

  // A job-log text the PPD service would refuse stops the whole restore
  // before anything is written, the four options included.
  for (const std::string& fileName : {std::string("a\"b.log"), std::string(256, 'x')}) {
    SCOPED_TRACE(fileName.size());
    driver_settings::DriverSettings settings;
    settings.Rotate180 = 3;
    settings.JobLog.FileName = fileName;
    ASSERT_TRUE(driver_settings::Write(settings, Path("refused.plist"), error)) << error;
    testing::internal::CaptureStderr();
    EXPECT_EQ(driver_settings::Restore(helper, Path("refused.plist"), prompter), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(": the value of FileName "), std::string::npos);
  }
  EXPECT_TRUE(service.Requests().empty());
  EXPECT_EQ(ReadFile(ppd), original);
}

}  // namespace
