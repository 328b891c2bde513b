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

using ppd_test::FixturePath;
using ppd_test::ReadFile;
using ppd_test::ReplaceLine;
using ppd_test::ScopedEnv;
using ppd_test::ScratchDir;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace fs = std::filesystem;

// The file's own values, as PPDInformation: saving these changes nothing.
PPDInformation Vkts32FileValues() {
  PPDInformation v;
  v.Rotation = 0;
  v.MonoOption = 0;
  v.PrintingMode = 0;
  v.DualSide = 1;
  v.RibbonCombination = 4;
  v.RibbonType = 0;
  v.AutoHalf = 0;
  v.SerialNo = "VKT3200001";
  v.IPAddress = "203.0.113.10";
  return v;
}

class Rewriter : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(dir.path() / "ppd");
    fs::create_directories(dir.path() / "run");
    fs::copy_file(FixturePath("VKTS32.ppd"), ppdPath);
    original = ReadFile(ppdPath);
    StartService(FakePpdService::Options{});
    helper.InitPPD(ppdPath.string());
  }
  void StartService(FakePpdService::Options options) {
    port.reset();  // restores the variable before the next one is set
    service = std::make_unique<FakePpdService>(options);
    port = std::make_unique<ScopedEnv>("VKT_PPD_SERVICE_PORT", std::to_string(service->port()));
  }
  void StopService() {
    port.reset();
    service.reset();
    port = std::make_unique<ScopedEnv>("VKT_PPD_SERVICE_PORT", std::to_string(FakePpdService::UnusedPort()));
  }
  std::string ExpectedRequest() const { return tempPath.string() + "|" + ppdPath.string(); }

  ScratchDir dir;
  const fs::path ppdPath = dir.path() / "ppd" / "Card.ppd";
  const fs::path tempPath = dir.path() / "run" / "Card.ppd";
  ScopedEnv runDir{"XDG_RUNTIME_DIR", (dir.path() / "run").string()};
  std::unique_ptr<FakePpdService> service;
  std::unique_ptr<ScopedEnv> port;
  std::string original;
  PPDHelper helper;
};

TEST_F(Rewriter, RotationThreeRewritesOnlyItsDefaultLine) {
  PPDInformation values = Vkts32FileValues();
  values.Rotation = 3;
  CaptureStderr();
  EXPECT_EQ(helper.SavePPDInformation(values), 1);
  const std::string log = GetCapturedStderr();
  const std::string expected = ReplaceLine(original, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both");
  EXPECT_EQ(ReadFile(ppdPath), expected);
  EXPECT_EQ(ReadFile(tempPath), expected);
  EXPECT_THAT(service->Requests(), ElementsAre(ExpectedRequest()));
  EXPECT_THAT(log, HasSubstr("FileContent " + expected));
  EXPECT_THAT(log, HasSubstr("Data received is OK \n"));
  EXPECT_EQ(helper.PPD_nRotation, 3);  // re-read after the save
}

TEST_F(Rewriter, EachSettingOfSavePPDInformationChangesItsOwnLine) {
  struct Change {
    const char* what;
    void (*apply)(PPDInformation&);
    const char* from;
    const char* to;
  };
  const Change changes[] = {
      {"mono", [](PPDInformation& v) { v.MonoOption = 3; }, "*DefaultVKTS32MonoConversion: 0Diffusion",
       "*DefaultVKTS32MonoConversion: 3Text"},
      {"printing mode", [](PPDInformation& v) { v.PrintingMode = 2; }, "*DefaultVKTS32PrintingMode: 0PrintnEncode",
       "*DefaultVKTS32PrintingMode: 2PrintEncodeSameSide"},
      {"two-sided", [](PPDInformation& v) { v.DualSide = 0; }, "*DefaultVKTS32DualSidePrinting: 1true",
       "*DefaultVKTS32DualSidePrinting: 0false"},
      {"combination", [](PPDInformation& v) { v.RibbonCombination = 14; },
       "*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 14FrontYMCKO"},
      {"ribbon", [](PPDInformation& v) { v.RibbonType = 14; }, "*DefaultVKTS32RibbonName: 0YMCKO100",
       "*DefaultVKTS32RibbonName: 14hWhiteMonochrome"},
      {"half panel", [](PPDInformation& v) { v.AutoHalf = 1; }, "*DefaultVKTS32AutoHalfPanel: 0false",
       "*DefaultVKTS32AutoHalfPanel: 1true"},
      {"front x", [](PPDInformation& v) { v.FrontX = 15; }, "*FrontX: 0", "*FrontX: 15"},
      {"front y", [](PPDInformation& v) { v.FrontY = -4; }, "*FrontY: 0", "*FrontY: -4"},
      {"back x", [](PPDInformation& v) { v.BackX = 7; }, "*BackX: 0", "*BackX: 7"},
      {"back y", [](PPDInformation& v) { v.BackY = -12; }, "*BackY: 0", "*BackY: -12"},
      {"serial", [](PPDInformation& v) { v.SerialNo = "VKT3299999"; }, "*PrinterSerialNo: VKT3200001",
       "*PrinterSerialNo: VKT3299999"},
      // An empty serial number does replace the stored one.
      {"empty serial", [](PPDInformation& v) { v.SerialNo = ""; }, "*PrinterSerialNo: VKT3200001",
       "*PrinterSerialNo: "},
      {"ip", [](PPDInformation& v) { v.IPAddress = "198.51.100.200"; }, "*PrinterIPAddress: 203.0.113.10",
       "*PrinterIPAddress: 198.51.100.200"},
  };
  size_t requests = 0;
  for (const Change& change : changes) {
    SCOPED_TRACE(change.what);
    ppd_test::WriteFile(ppdPath, original);
    helper.InitPPD(ppdPath.string());
    PPDInformation values = Vkts32FileValues();
    change.apply(values);
    EXPECT_EQ(helper.SavePPDInformation(values), 1);
    EXPECT_EQ(ReadFile(ppdPath), ReplaceLine(original, change.from, change.to));
    EXPECT_EQ(service->Requests().size(), ++requests);
  }
}

TEST_F(Rewriter, AllSettingsAtOnce) {
  PPDInformation values;
  values.Rotation = 3;
  values.MonoOption = 2;
  values.PrintingMode = 1;
  values.DualSide = 0;
  values.RibbonCombination = 9;
  values.RibbonType = 15;
  values.AutoHalf = 1;
  values.FrontX = 1;
  values.FrontY = 2;
  values.BackX = 3;
  values.BackY = 4;
  values.SerialNo = "S-2";
  values.IPAddress = "192.0.2.9";
  EXPECT_EQ(helper.SavePPDInformation(values), 1);
  std::string expected = original;
  for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
           {"*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 2Barcode"},
           {"*DefaultVKTS32PrintingMode: 0PrintnEncode", "*DefaultVKTS32PrintingMode: 1EncodeOnly"},
           {"*DefaultVKTS32DualSidePrinting: 1true", "*DefaultVKTS32DualSidePrinting: 0false"},
           {"*DefaultVKTS32RibbonCombination: 4FrontYmckoBackK", "*DefaultVKTS32RibbonCombination: 9FrontKdOBackKdO"},
           {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 15KDO500"},
           {"*DefaultVKTS32AutoHalfPanel: 0false", "*DefaultVKTS32AutoHalfPanel: 1true"},
           {"*FrontX: 0", "*FrontX: 1"},
           {"*FrontY: 0", "*FrontY: 2"},
           {"*BackX: 0", "*BackX: 3"},
           {"*BackY: 0", "*BackY: 4"},
           {"*PrinterSerialNo: VKT3200001", "*PrinterSerialNo: S-2"},
           {"*PrinterIPAddress: 203.0.113.10", "*PrinterIPAddress: 192.0.2.9"},
       })
    expected = ReplaceLine(expected, from, to);
  EXPECT_EQ(ReadFile(ppdPath), expected);
  EXPECT_EQ(helper.GetPPDDefaultValues(), (std::array<int, 7>{3, 2, 1, 0, 9, 15, 1}));
  EXPECT_EQ(helper.PPD_nBackY, 4);
  EXPECT_EQ(helper.PPD_strIPAddress, "192.0.2.9");
}

TEST_F(Rewriter, EveryOccurrenceOfTheOldTextIsReplaced) {
  // The match is a plain substring over the whole text, not a line.
  const std::string withNote = original + "*% FrontX: 0 is the factory offset\n";
  ppd_test::WriteFile(ppdPath, withNote);
  PPDInformation values = Vkts32FileValues();
  values.FrontX = 4;
  EXPECT_EQ(helper.SavePPDInformation(values), 1);
  EXPECT_EQ(ReadFile(ppdPath), ReplaceLine(ReplaceLine(withNote, "*FrontX: 0", "*FrontX: 4"),
                                           "*% FrontX: 0 is the factory offset", "*% FrontX: 4 is the factory offset"));
}

TEST_F(Rewriter, NothingChangedWritesNothingAndCallsNobody) {
  ppd_test::WriteFile(tempPath, "stale copy");
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
}

TEST_F(Rewriter, MinusOneLeavesAnOptionAlone) {
  PPDInformation values = Vkts32FileValues();
  values.Rotation = -1;
  values.RibbonType = -1;
  values.DualSide = 0;
  EXPECT_EQ(helper.SavePPDInformation(values), 1);
  EXPECT_EQ(ReadFile(ppdPath),
            ReplaceLine(original, "*DefaultVKTS32DualSidePrinting: 1true", "*DefaultVKTS32DualSidePrinting: 0false"));
}

TEST_F(Rewriter, ServiceDownEverySaveFailsAndThePpdIsUntouched) {
  StopService();
  PPDInformation values = Vkts32FileValues();
  values.RibbonType = 3;
  JobLog_ log = helper.GetPPDJobLogDefaultValues();
  log.EnableLog = 1;
  CaptureStderr();
  EXPECT_EQ(helper.SavePPDInformation(values), -1);
  EXPECT_EQ(helper.SaveRibbonType(3), -1);
  EXPECT_EQ(helper.RestorePPDSettings({3, 1, 1, 0}), -1);
  EXPECT_EQ(helper.SaveJobLogSettings(log), -1);
  const std::string stderrText = GetCapturedStderr();
  EXPECT_THAT(stderrText, HasSubstr("Error connecting socket :: Connection refused\n"));
  EXPECT_EQ(ReadFile(ppdPath), original);
  EXPECT_EQ(helper.PPD_nRibbonType, 0);  // re-read from the unchanged file
}

TEST_F(Rewriter, SaveRibbonTypeWritesAndCallsEvenWhenUnchanged) {
  EXPECT_EQ(helper.SaveRibbonType(0), 1);
  EXPECT_EQ(ReadFile(tempPath), original);
  EXPECT_THAT(service->Requests(), ElementsAre(ExpectedRequest()));
  EXPECT_EQ(ReadFile(ppdPath), original);

  EXPECT_EQ(helper.SaveRibbonType(12), 1);
  EXPECT_EQ(ReadFile(ppdPath),
            ReplaceLine(original, "*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 12Monochrome2000"));
  EXPECT_EQ(helper.PPD_nRibbonType, 12);
  EXPECT_EQ(service->Requests().size(), 2u);
}

TEST_F(Rewriter, RestoreRewritesFourOptionsAndDoesNotReRead) {
  EXPECT_EQ(helper.RestorePPDSettings({2, 3, 1, 0, 99, 99}), 1);  // elements after the fourth are ignored
  std::string expected = ReplaceLine(original, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back");
  expected = ReplaceLine(expected, "*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 3Text");
  expected = ReplaceLine(expected, "*DefaultVKTS32PrintingMode: 0PrintnEncode", "*DefaultVKTS32PrintingMode: 1EncodeOnly");
  expected =
      ReplaceLine(expected, "*DefaultVKTS32DualSidePrinting: 1true", "*DefaultVKTS32DualSidePrinting: 0false");
  EXPECT_EQ(ReadFile(ppdPath), expected);
  EXPECT_EQ(helper.PPD_nRotation, 0);  // still the values read before the restore
  EXPECT_EQ(helper.PPD_nDualSettings, 1);

  // Missing elements count as -1; the file is written and sent in every case.
  ppd_test::WriteFile(ppdPath, original);
  EXPECT_EQ(helper.RestorePPDSettings({-1, -1}), 1);
  EXPECT_EQ(ReadFile(ppdPath), original);
  EXPECT_EQ(service->Requests().size(), 2u);
}

TEST_F(Rewriter, JobLogSaveRewritesTheChangedFieldsAgainstTheOldValues) {
  JobLog_ values = helper.GetPPDJobLogDefaultValues();
  values.EnableLog = 1;
  values.MTrack2 = 1;
  values.Separator = ";";
  values.FileName = "Cards.log";
  EXPECT_EQ(helper.SaveJobLogSettings(values), 1);
  std::string expected = ReplaceLine(original, "*EnableLog: 0", "*EnableLog: 1");
  expected = ReplaceLine(expected, "*MTrack2: 0", "*MTrack2: 1");
  expected = ReplaceLine(expected, "*Separator:,", "*Separator:;");
  expected = ReplaceLine(expected, "*FileName:VKTS3.log", "*FileName:Cards.log");
  EXPECT_EQ(ReadFile(ppdPath), expected);
  EXPECT_THAT(service->Requests(), ElementsAre(ExpectedRequest()));
  // oldLogvalues is not updated by the save.
  EXPECT_EQ(helper.oldLogvalues.EnableLog, 0);
  EXPECT_EQ(helper.oldLogvalues.FileName, "VKTS3.log");
}

TEST_F(Rewriter, JobLogSaveWithoutOldValuesChangesFlagsOnlyAndNeverWritesAMissingText) {
  // No GetPPDJobLogDefaultValues: the old values are the zero record.
  JobLog_ values;
  values.Time = 1;
  values.Separator = "|";
  values.StaticText = "New";
  EXPECT_EQ(helper.SaveJobLogSettings(values), 1);
  EXPECT_EQ(ReadFile(ppdPath), ReplaceLine(original, "*Time: 0", "*Time: 1"));

  // A text never read in the new record (an archive without the key) leaves
  // the file's line alone.
  ppd_test::WriteFile(ppdPath, original);
  JobLog_ fromFile = helper.GetPPDJobLogDefaultValues();
  JobLog_ partial = fromFile;
  partial.FileName.reset();
  partial.StaticText = "Card shop";
  EXPECT_EQ(helper.SaveJobLogSettings(partial), 1);
  EXPECT_EQ(ReadFile(ppdPath), ReplaceLine(original, "*StaticText:Orvex", "*StaticText:Card shop"));
}

TEST_F(Rewriter, UnwritableTemporaryFileFailsBeforeTheService) {
  ScopedEnv badRun("XDG_RUNTIME_DIR", (dir.path() / "no-such-folder").string());
  PPDInformation values = Vkts32FileValues();
  values.Rotation = 1;
  CaptureStderr();
  EXPECT_EQ(helper.SavePPDInformation(values), -1);
  EXPECT_THAT(GetCapturedStderr(),
              HasSubstr("Error writing file at " + (dir.path() / "no-such-folder" / "Card.ppd").string() +
                        "\nNo such file or directory\n"));
  EXPECT_THAT(service->Requests(), IsEmpty());
  EXPECT_EQ(ReadFile(ppdPath), original);
  EXPECT_EQ(helper.PPD_nRotation, 0);
}

TEST_F(Rewriter, UnreadablePpdSendsNothing) {
  fs::remove(ppdPath);
  CaptureStderr();
  EXPECT_EQ(helper.SaveRibbonType(2), -1);
  EXPECT_EQ(helper.RestorePPDSettings({1, 1, 1, 1}), -1);
  PPDInformation values = Vkts32FileValues();
  values.BackY = 9;
  EXPECT_EQ(helper.SavePPDInformation(values), -1);
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("FileContent (null)\n"));
  EXPECT_THAT(service->Requests(), IsEmpty());
  EXPECT_FALSE(fs::exists(ppdPath));
}

TEST_F(Rewriter, ARefusalIsAFailedSave) {
  StartService({.copySourceOverDestination = false, .answer = true, .reply = "ERROR: refused"});
  PPDInformation values = Vkts32FileValues();
  values.FrontX = 3;
  CaptureStderr();
  EXPECT_EQ(helper.SavePPDInformation(values), -1);
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("Data received is ERROR: refused \n"));
  EXPECT_EQ(ReadFile(ppdPath), original);
  EXPECT_EQ(helper.PPD_nFrontX, 0);  // re-read from the file the service left alone
}

}  // namespace
