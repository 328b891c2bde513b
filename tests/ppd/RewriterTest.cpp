// The four saves against an in-process PPD service: each changes exactly the
// intended lines of the whole file, sends the one request, and handles
// nothing-to-do, -1 and a service that is down.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "FakePpdService.h"
#include "PPDHelper.h"
#include "PpdTestSupport.h"

namespace {

using namespace ppd_test;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;
namespace fs = std::filesystem;

// The file's own values, as PPDInformation: saving these changes nothing.
PPDInformation Vkts32FileValues() { return {0, 0, 0, 1, 4, 0, 0, 0, 0, 0, 0, "VKT3200001", "203.0.113.10"}; }

class Rewriter : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(dir.path() / "run");
    Install(ReadFile(FixturePath("VKTS32.ppd")) + "*% FrontX: 0 is the factory offset\n");
    StartService({});
  }
  // Installs text as the PPD and reads it.
  void Install(const std::string& text) {
    WriteFile(ppdPath, original = text);
    helper.InitPPD(ppdPath.string());
  }
  void StartService(FakePpdService::Options options, bool listening = true) {
    service = std::make_unique<FakePpdService>(options);
    ::setenv("VKT_PPD_SERVICE_PORT", std::to_string(listening ? service->port() : FakePpdService::UnusedPort()).c_str(),
             1);
  }
  // The lines of the PPD that differ from the installed text, as they are now.
  std::string Changed() const {
    std::istringstream was(original), now(ReadFile(ppdPath));
    std::string text;
    for (std::string a, b; std::getline(now, b);)
      if (!std::getline(was, a) || a != b) text += b + "\n";
    return was.peek() == EOF ? text : text + "(lines lost)";
  }

  ScratchDir dir;
  const fs::path ppdPath = dir.path() / "Card.ppd", tempPath = dir.path() / "run" / "Card.ppd";
  const std::string request = tempPath.string() + "|" + ppdPath.string();
  std::string original;
  ScopedEnv runDir{"XDG_RUNTIME_DIR", (dir.path() / "run").string()}, port{"VKT_PPD_SERVICE_PORT", std::nullopt};
  std::unique_ptr<FakePpdService> service;
  PPDHelper helper;
};

TEST_F(Rewriter, EachSettingOfSavePPDInformationChangesItsOwnLine) {
  using V = PPDInformation&;
  const struct {
    void (*apply)(PPDInformation&);
    const char* lines;
  } changes[] = {
      {[](V v) { v.Rotation = 3; }, "*DefaultVKTS32Rotation: 3Both\n"},
      {[](V v) { v.MonoOption = 3; }, "*DefaultVKTS32MonoConversion: 3Text\n"},
      {[](V v) { v.PrintingMode = 2; }, "*DefaultVKTS32PrintingMode: 2PrintEncodeSameSide\n"},
      {[](V v) { v.DualSide = 0; }, "*DefaultVKTS32DualSidePrinting: 0false\n"},
      {[](V v) { v.RibbonCombination = 14; }, "*DefaultVKTS32RibbonCombination: 14FrontYMCKO\n"},
      {[](V v) { v.RibbonType = 14; }, "*DefaultVKTS32RibbonName: 14hWhiteMonochrome\n"},
      {[](V v) { v.AutoHalf = 1; }, "*DefaultVKTS32AutoHalfPanel: 1true\n"},
      // The match is a plain substring over the whole text, comments included.
      {[](V v) { v.FrontX = 15; }, "*FrontX: 15\n*% FrontX: 15 is the factory offset\n"},
      {[](V v) { v.FrontY = -4; }, "*FrontY: -4\n"},
      {[](V v) { v.BackX = 7; }, "*BackX: 7\n"},
      {[](V v) { v.BackY = -12; }, "*BackY: -12\n"},
      {[](V v) { v.SerialNo = "VKT3299999"; }, "*PrinterSerialNo: VKT3299999\n"},
      {[](V v) { v.SerialNo = ""; }, "*PrinterSerialNo: \n"},  // an empty serial number does replace it
      {[](V v) { v.IPAddress = "198.51.100.200"; }, "*PrinterIPAddress: 198.51.100.200\n"},
  };
  for (const auto& change : changes) {
    SCOPED_TRACE(change.lines);
    Install(original);
    PPDInformation values = Vkts32FileValues();
    change.apply(values);
    EXPECT_EQ(helper.SavePPDInformation(values), 1);
    EXPECT_EQ(Changed(), change.lines);
    EXPECT_EQ(service->Requests().back(), request);
  }
  EXPECT_EQ(service->Requests().size(), std::size(changes));
  EXPECT_EQ(helper.PPD_strIPAddress, "198.51.100.200");  // read again after the save
}

TEST_F(Rewriter, NothingChangedWritesNothingAndMinusOneLeavesAnOptionAlone) {
  WriteFile(tempPath, "stale copy");
  PPDInformation values = Vkts32FileValues();
  values.IPAddress = "";  // an empty address never clears the stored one
  values.MonoOption = 5;  // no such line: the tool sends it for the KdO combinations
  EXPECT_EQ(helper.SavePPDInformation(values), 0);
  values.Rotation = values.MonoOption = values.PrintingMode = values.DualSide = values.RibbonCombination =
      values.RibbonType = values.AutoHalf = -1;
  EXPECT_EQ(helper.SavePPDInformation(values), 0);
  EXPECT_EQ(ReadFile(ppdPath), original);
  EXPECT_FALSE(fs::exists(tempPath));
  EXPECT_THAT(service->Requests(), IsEmpty());

  values.DualSide = 0;
  EXPECT_EQ(helper.SavePPDInformation(values), 1);
  EXPECT_EQ(Changed(), "*DefaultVKTS32DualSidePrinting: 0false\n");
}

TEST_F(Rewriter, SaveRibbonTypeAndRestoreWriteAndCallEvenWhenUnchanged) {
  EXPECT_EQ(helper.SaveRibbonType(0), 1);
  EXPECT_EQ(ReadFile(tempPath), original);
  std::vector<int> two = {-1, -1, 2, 0};
  two.resize(2);  // missing elements count as -1, whatever lies past the end
  EXPECT_EQ(helper.RestorePPDSettings(two), 1);
  EXPECT_EQ(ReadFile(ppdPath), original);
  EXPECT_THAT(service->Requests(), ElementsAre(request, request));
  EXPECT_EQ(helper.SaveRibbonType(12), 1);
  EXPECT_EQ(Changed(), "*DefaultVKTS32RibbonName: 12Monochrome2000\n");
  EXPECT_EQ(helper.PPD_nRibbonType, 12);
  // The restore rewrites four options and does not read the file again.
  EXPECT_EQ(helper.RestorePPDSettings({2, 3, 1, 0, 99, 99}), 1);  // elements after the fourth are ignored
  EXPECT_EQ(Changed(),
            "*DefaultVKTS32DualSidePrinting: 0false\n*DefaultVKTS32Rotation: 2Back\n*DefaultVKTS32MonoConversion: "
            "3Text\n*DefaultVKTS32PrintingMode: 1EncodeOnly\n*DefaultVKTS32RibbonName: 12Monochrome2000\n");
  EXPECT_EQ(helper.PPD_nRotation * 10 + helper.PPD_nDualSettings, 1);
}

TEST_F(Rewriter, JobLogSaveRewritesTheChangedFieldsAgainstTheOldValues) {
  // Only whole lines of the field's own keyword change: the printer's address
  // line, which holds "IPAddress: 1", and a comment naming a field stay.
  Install(ReplaceLine(
              ReplaceLine(ReplaceLine(original, "*PrinterIPAddress: 203.0.113.10", "*PrinterIPAddress: 192.168.1.20"),
                          "*IPAddress: 0", "*IPAddress: 1"),
              "*MTrack2: 0", "*MTrack2: 0\r") +
          "*% *EnableLog: 0\r\n");  // a CR before a line's feed stays where it was
  JobLog_ values = helper.GetPPDJobLogDefaultValues();
  values.EnableLog = values.MTrack2 = 1;
  values.IPAddress = 0;
  values.Separator = ";";
  values.FileName = "Cards.log";
  EXPECT_EQ(helper.SaveJobLogSettings(values), 1);
  EXPECT_EQ(Changed(), "*EnableLog: 1\n*IPAddress: 0\n*MTrack2: 1\r\n*Separator:;\n*FileName:Cards.log\n");
  EXPECT_THAT(service->Requests(), ElementsAre(request));
  // oldLogvalues is not updated by the save.
  EXPECT_EQ(helper.oldLogvalues.EnableLog, 0);
  EXPECT_EQ(helper.oldLogvalues.FileName, "VKTS3.log");
}

TEST_F(Rewriter, FailuresLeaveThePpdAloneAndAnUnreadablePpdSendsNothing) {
  PPDInformation values = Vkts32FileValues();
  values.Rotation = 1;
  JobLog_ jobLog = helper.GetPPDJobLogDefaultValues();
  jobLog.EnableLog = 1;
  const auto allFail = [&](const std::string& log, size_t requests) {
    CaptureStderr();
    const std::vector<int> results = {helper.SavePPDInformation(values), helper.SaveRibbonType(3),
                                      helper.RestorePPDSettings({3, 1, 1, 0}), helper.SaveJobLogSettings(jobLog)};
    EXPECT_THAT(GetCapturedStderr(), HasSubstr(log));
    EXPECT_EQ(results, std::vector<int>(4, -1));
    EXPECT_EQ(service->Requests().size(), requests);  // one for each save that gets that far
    EXPECT_EQ(helper.PPD_nRotation, 0);
    EXPECT_EQ(fs::exists(ppdPath) ? ReadFile(ppdPath) : "gone", original);
  };
  {  // The temporary copy cannot be written: the service is not asked.
    const std::string noFolder = (dir.path() / "no-such-folder").string();
    ScopedEnv badRun("XDG_RUNTIME_DIR", noFolder);
    allFail("Error writing file at " + noFolder + "/Card.ppd\nNo such file or directory\n", 0);
  }
  // The service refuses: the file it left alone is read again.
  StartService({.copySourceOverDestination = false, .reply = "ERROR: refused"});
  allFail("Data received is ERROR: refused \n", 4);
  StartService({}, false);  // nobody listens
  allFail("Error connecting socket :: Connection refused\n", 0);
  // The PPD cannot be read: nothing is sent.
  StartService({});
  fs::remove(ppdPath);
  original = "gone";
  allFail("FileContent (null)\n", 0);
}

}  // namespace
