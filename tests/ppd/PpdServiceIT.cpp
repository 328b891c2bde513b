// PPDHelper saves through the real PPD service of the sandbox: the installed
// PPD of a queue changes in exactly the intended lines, and is put back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "FakePpdService.h"
#include "PPDHelper.h"
#include "Paths.h"
#include "PpdTestSupport.h"
#include "SandboxEnv.h"

namespace {

using ppd_test::ReadFile;
using ppd_test::ReplaceLine;
using ppd_test::ScopedEnv;
using ppd_test::ScratchDir;
using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace fs = std::filesystem;

// The VKTS32C.PPD queue: its keywords say VKTS3C, the case most easily got
// wrong. Only this model is used in this process (the value tables keep the
// first model).
constexpr const char* kQueue = "VKTS3CSocket";

size_t CountLines(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

class PpdThroughService : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(vkt_sandbox::Require());
    ASSERT_FALSE(vkt_sandbox::Var("VKT_PPD_SERVICE_PORT").empty()) << "the sandbox runs no PPD service";
    runDir = std::make_unique<ScopedEnv>("XDG_RUNTIME_DIR", scratch.path().string());
    ppdPath = vkt_paths::PpdPathForQueue(kQueue);
    ASSERT_EQ(ppdPath, vkt_sandbox::Base() + "/ppd/" + kQueue + ".ppd");
    original = ReadFile(vkt_sandbox::FixtureDir() + "/VKTS32C.ppd");
    ASSERT_EQ(ReadFile(ppdPath), original) << "the sandbox PPD was left changed by an earlier test";
    helper.InitPPD(ppdPath);
    ASSERT_EQ(helper.PrinterModel, "VKTS3C");
  }

  void TearDown() override {
    // Put the installed PPD back through the service, as any save would.
    if (::testing::Test::HasFatalFailure() || ppdPath.empty() || ReadFile(ppdPath) == original) return;
    const std::string copy = (scratch.path() / "restore.ppd").string();
    ppd_test::WriteFile(copy, original);
    EXPECT_EQ(SavePPDFileAsRoot(copy.c_str(), ppdPath.c_str()), 1);
    EXPECT_EQ(ReadFile(ppdPath), original) << "could not restore " << ppdPath;
  }

  std::string ServiceLog() const { return ReadFile(vkt_sandbox::Base() + "/log/ppd-service.log"); }

  ScratchDir scratch;
  std::unique_ptr<ScopedEnv> runDir;
  std::string ppdPath;
  std::string original;
  PPDHelper helper;
};

TEST_F(PpdThroughService, DriverDefaultsChangeExactlyTheirLines) {
  PPDInformation values;
  values.Rotation = 3;
  values.MonoOption = 0;
  values.PrintingMode = 0;
  values.DualSide = 1;
  values.RibbonCombination = 1;
  values.RibbonType = 10;
  values.AutoHalf = -1;
  values.FrontX = 5;
  values.FrontY = 0;
  values.BackX = -3;
  values.BackY = 0;
  values.SerialNo = "VKT3C09999";
  values.IPAddress = "198.51.100.23";
  EXPECT_EQ(helper.SavePPDInformation(values), 1);
  std::string expected = ReplaceLine(original, "*DefaultVKTS3CRotation: 0None", "*DefaultVKTS3CRotation: 3Both");
  expected = ReplaceLine(expected, "*DefaultVKTS3CRibbonCombination: 4FrontYmckoBackK",
                         "*DefaultVKTS3CRibbonCombination: 1FrontYmckoBackYmcko");
  expected = ReplaceLine(expected, "*DefaultVKTS3CRibbonName: 0YMCKO100", "*DefaultVKTS3CRibbonName: 10KResin");
  expected = ReplaceLine(expected, "*FrontX: 0", "*FrontX: 5");
  expected = ReplaceLine(expected, "*BackX: 0", "*BackX: -3");
  expected = ReplaceLine(expected, "*PrinterSerialNo: VKT3C00001", "*PrinterSerialNo: VKT3C09999");
  expected = ReplaceLine(expected, "*PrinterIPAddress: 203.0.113.10", "*PrinterIPAddress: 198.51.100.23");
  EXPECT_EQ(ReadFile(ppdPath), expected);
  // The helper reads the installed file again after the save.
  EXPECT_EQ(helper.GetPPDDefaultValues(), (std::array<int, 7>{3, 0, 0, 1, 1, 10, 0}));
  EXPECT_EQ(helper.PPD_nBackX, -3);
  EXPECT_EQ(helper.PPD_strPrinterSerialNo, "VKT3C09999");
}

TEST_F(PpdThroughService, JobLogSettingsAndRestore) {
  JobLog_ record = helper.GetPPDJobLogDefaultValues();
  record.EnableLog = 1;
  record.Date = 1;
  record.FileName = "Cards.log";
  record.Separator = ";";
  EXPECT_EQ(helper.SaveJobLogSettings(record), 1);
  std::string expected = ReplaceLine(original, "*EnableLog: 0", "*EnableLog: 1");
  expected = ReplaceLine(expected, "*Date: 0", "*Date: 1");
  expected = ReplaceLine(expected, "*Separator:,", "*Separator:;");
  expected = ReplaceLine(expected, "*FileName:VKTS3.log", "*FileName:Cards.log");
  EXPECT_EQ(ReadFile(ppdPath), expected);

  EXPECT_EQ(helper.RestorePPDSettings({2, 1, 2, 0}), 1);
  expected = ReplaceLine(expected, "*DefaultVKTS3CRotation: 0None", "*DefaultVKTS3CRotation: 2Back");
  expected = ReplaceLine(expected, "*DefaultVKTS3CMonoConversion: 0Diffusion", "*DefaultVKTS3CMonoConversion: 1HalfTone");
  expected = ReplaceLine(expected, "*DefaultVKTS3CPrintingMode: 0PrintnEncode",
                         "*DefaultVKTS3CPrintingMode: 2PrintEncodeSameSide");
  expected =
      ReplaceLine(expected, "*DefaultVKTS3CDualSidePrinting: 1true", "*DefaultVKTS3CDualSidePrinting: 0false");
  EXPECT_EQ(ReadFile(ppdPath), expected);
}

TEST_F(PpdThroughService, RibbonTypeAndNothingToSave) {
  const size_t logLines = CountLines(ServiceLog());
  PPDInformation same;
  same.Rotation = 0;
  same.MonoOption = 0;
  same.PrintingMode = 0;
  same.DualSide = 1;
  same.RibbonCombination = 4;
  same.RibbonType = 0;
  same.AutoHalf = 0;
  same.SerialNo = "VKT3C00001";
  EXPECT_EQ(helper.SavePPDInformation(same), 0);
  EXPECT_EQ(CountLines(ServiceLog()), logLines) << "the service was asked although nothing changed";

  // The same ribbon is still written and sent: the service is asked and the
  // file stays as it was.
  EXPECT_EQ(helper.SaveRibbonType(0), 1);
  EXPECT_GT(CountLines(ServiceLog()), logLines);
  EXPECT_EQ(ReadFile(ppdPath), original);

  EXPECT_EQ(helper.SaveRibbonType(17), 1);
  EXPECT_EQ(ReadFile(ppdPath),
            ReplaceLine(original, "*DefaultVKTS3CRibbonName: 0YMCKO100", "*DefaultVKTS3CRibbonName: 17KrO500"));
  EXPECT_EQ(helper.PPD_nRibbonType, 17);
}

TEST_F(PpdThroughService, ARefusedEditFailsAndChangesNothing) {
  // A hand-made copy that adds a filter line: the service must refuse it.
  const std::string copy = (scratch.path() / (std::string(kQueue) + ".ppd")).string();
  ppd_test::WriteFile(copy, original + "*cupsFilter2: \"application/pdf application/pdf 0 /bin/sh\"\n");
  CaptureStderr();
  EXPECT_EQ(SavePPDFileAsRoot(copy.c_str(), ppdPath.c_str()), -1);
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("Data received is ERROR: "));
  EXPECT_EQ(ReadFile(ppdPath), original);
}

TEST_F(PpdThroughService, ServiceDownLeavesTheInstalledPpdAlone) {
  ScopedEnv port("VKT_PPD_SERVICE_PORT", std::to_string(FakePpdService::UnusedPort()));
  CaptureStderr();
  EXPECT_EQ(helper.SaveRibbonType(5), -1);
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("Error connecting socket :: Connection refused\n"));
  EXPECT_EQ(ReadFile(ppdPath), original);
}

}  // namespace
