// Reading driver defaults: option defaults, attributes, the job-log record,
// the ribbon dictionaries, unreadable files, and the file helpers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "PPDHelper.h"
#include "PpdTestSupport.h"

namespace {

using ppd_test::DataPath;
using ppd_test::FixturePath;
using ppd_test::ScopedEnv;
using ppd_test::ScratchDir;
using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;

// The value tables take the first model of the process; every test of this
// binary works on VKTS32 PPDs, whatever order the tests run in.
class Vkts32First : public ::testing::Environment {
 public:
  void SetUp() override { PPDHelper().InitPPD(FixturePath("VKTS32.ppd")); }
};
[[maybe_unused]] ::testing::Environment* const kVkts32First = ::testing::AddGlobalTestEnvironment(new Vkts32First);

struct PpdClose {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};

TEST(Reader, UnusualDefaultsAndMissingEntries) {
  PPDHelper helper;
  CaptureStderr();
  helper.InitPPD(DataPath("VKTS32-odd.ppd"));
  const std::string log = GetCapturedStderr();
  EXPECT_EQ(helper.PPD_nPrinterModel, 0);
  EXPECT_EQ(helper.PPD_nRibbonType, 10);    // *DefaultVKTS32RibbonName: 10KResin
  EXPECT_EQ(helper.PPD_nRotation, 2);       // 2Back
  EXPECT_EQ(helper.PPD_nMonoOption, 0);     // "Diffusion": no leading digits
  EXPECT_EQ(helper.PPD_nRibbonComb, 0);     // option missing
  EXPECT_EQ(helper.PPD_nAutoHalf, 0);       // option missing
  EXPECT_EQ(helper.PPD_nDualSettings, 1);
  EXPECT_EQ(helper.PPD_nFrontX, 0);         // attribute missing
  EXPECT_EQ(helper.PPD_nBackX, -7);
  EXPECT_EQ(helper.PPD_nFrontY, 12);
  EXPECT_EQ(helper.PPD_nBackY, 3);
  EXPECT_EQ(helper.PPD_strPrinterSerialNo, "");  // attribute missing
  EXPECT_EQ(helper.PPD_strIPAddress, "198.51.100.4");
  EXPECT_THAT(log, HasSubstr("attr value is 198.51.100.4\n"));
  EXPECT_THAT(log, HasSubstr("attr value is -7\n"));
  EXPECT_THAT(log, HasSubstr("No such a option name found "));
  EXPECT_EQ(helper.GetPPDDefaultValues(), (std::array<int, 7>{2, 0, 0, 1, 0, 10, 0}));
}

TEST(Reader, JobLogRecordAndOldValues) {
  PPDHelper helper;
  helper.InitPPD(DataPath("VKTS32-odd.ppd"));
  const JobLog_ record = helper.GetPPDJobLogDefaultValues();
  JobLog_ expected;
  expected.EnableLog = 1;
  expected.Time = 1;
  expected.SerialNumber = 1;
  expected.UserName = 1;
  expected.MTrack1 = 1;
  expected.MTrack3 = 1;
  expected.Separator = ";";
  expected.FileName = "Cards.log";
  expected.StaticText = "";  // missing attribute: empty, not "never read"
  EXPECT_EQ(record, expected);
  EXPECT_EQ(helper.oldLogvalues, expected);
  EXPECT_EQ(helper.PPD_JL_nEnable_Log, 1);
  EXPECT_EQ(helper.PPD_JL_nEveryDay_Log, 0);
  EXPECT_EQ(helper.PPD_JL_nTime, 1);
  EXPECT_EQ(helper.PPD_JL_nSerialNo, 1);
  EXPECT_EQ(helper.PPD_JL_nUserName, 1);
  EXPECT_EQ(helper.PPD_JL_nTrack1, 1);
  EXPECT_EQ(helper.PPD_JL_nTrack2, 0);
  EXPECT_EQ(helper.PPD_JL_nTrack3, 1);
  EXPECT_EQ(helper.PPD_JL_strSeparator, ";");
  EXPECT_EQ(helper.PPD_JL_strFileName, "Cards.log");
  EXPECT_EQ(helper.PPD_JL_strStaticText, "");
}

TEST(Reader, RibbonDictionaryKeyedByLeadingNumber) {
  PPDHelper helper;
  helper.InitPPD(FixturePath("VKTS32.ppd"));
  const auto ribbons = helper.GetAllSupportedRibbonTypes();
  ASSERT_TRUE(ribbons.has_value());
  ASSERT_EQ(ribbons->size(), 19u);
  for (int i = 0; i < 19; ++i) EXPECT_EQ(ribbons->count(std::to_string(i)), 1u) << i;
  EXPECT_EQ(ribbons->at("0"), "YMCKO 100 Prints");
  EXPECT_EQ(ribbons->at("10"), "Black Resin");
  EXPECT_EQ(ribbons->at("14"), "High Capacity White Monochrome");
  const auto combinations = helper.GetAllRibbonCombination();
  ASSERT_TRUE(combinations.has_value());
  ASSERT_EQ(combinations->size(), 17u);
  EXPECT_EQ(combinations->at("4"), "Front YMCKO, Back K");
  EXPECT_EQ(combinations->at("16"), "Front Wr");

  // A later choice with the same leading number replaces the earlier one; a
  // missing option gives no dictionary.
  helper.InitPPD(DataPath("VKTS32-odd.ppd"));
  const auto odd = helper.GetAllSupportedRibbonTypes();
  ASSERT_TRUE(odd.has_value());
  EXPECT_EQ(odd->size(), 19u);
  EXPECT_EQ(odd->at("3"), "Spare Third Ribbon");
  CaptureStderr();
  EXPECT_FALSE(helper.GetAllRibbonCombination().has_value());
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("No such a option name found\n"));
}

TEST(Reader, UnopenableFileLeavesValuesAlone) {
  for (const std::string& path : {DataPath("not-a-ppd.ppd"), DataPath("no-such-file.ppd")}) {
    SCOPED_TRACE(path);
    PPDHelper fresh;
    CaptureStdout();
    fresh.InitPPD(path);
    EXPECT_THAT(GetCapturedStdout(), ::testing::StartsWith("PPD open failed "));
    EXPECT_EQ(fresh.PPD_nPrinterModel, -1);
    EXPECT_EQ(fresh.PrinterModel, "");
    EXPECT_EQ(fresh.PPD_DUAL_SIDE, "DualSidePrinting");  // bare keyword
    EXPECT_EQ(fresh.GetPPDDefaultValues(), (std::array<int, 7>{}));
    EXPECT_FALSE(fresh.GetAllSupportedRibbonTypes().has_value());
    EXPECT_FALSE(fresh.GetAllRibbonCombination().has_value());

    // A helper that had read a good file keeps its values and old job-log
    // values when the file goes away.
    PPDHelper helper;
    helper.InitPPD(DataPath("VKTS32-odd.ppd"));
    helper.GetPPDJobLogDefaultValues();
    const JobLog_ before = helper.oldLogvalues;
    helper.PPDFileName = path;
    CaptureStdout();
    EXPECT_EQ(helper.GetPPDJobLogDefaultValues(), JobLog_{});  // all zero, texts never read
    helper.LoadPPDDefaults();
    GetCapturedStdout();
    EXPECT_EQ(helper.oldLogvalues, before);
    EXPECT_EQ(helper.PPD_JL_nEnable_Log, 1);
    EXPECT_EQ(helper.PPD_nRibbonType, 10);
    EXPECT_EQ(helper.PPD_nBackX, -7);
  }
}

TEST(Reader, OptionAndAttributeLookups) {
  PPDHelper helper;
  helper.InitPPD(FixturePath("VKTS32.ppd"));
  EXPECT_EQ(helper.GetPPDOptions("VKTS32DualSidePrinting", nullptr), 0);
  EXPECT_EQ(helper.GetPPDAttributeStr("PrinterSerialNo", nullptr), std::nullopt);
  EXPECT_EQ(helper.GetPPDAttributeInt("FrontX", nullptr), 0);

  std::unique_ptr<ppd_file_t, PpdClose> ppd(ppdOpenFile(FixturePath("VKTS32.ppd").c_str()));
  ASSERT_TRUE(ppd);
  EXPECT_EQ(helper.GetPPDOptions("", ppd.get()), 0);
  EXPECT_EQ(helper.GetPPDAttributeStr("", ppd.get()), std::nullopt);
  EXPECT_EQ(helper.GetPPDOptions("VKTS32RibbonCombination", ppd.get()), 4);
  CaptureStderr();
  EXPECT_EQ(helper.GetPPDAttributeStr("PrinterSerialNo", ppd.get()), "VKT3200001");
  EXPECT_EQ(GetCapturedStderr(), "attr value is VKT3200001\n");
  CaptureStderr();
  EXPECT_EQ(helper.GetPPDAttributeStr("NoSuchAttribute", ppd.get()), "");
  EXPECT_EQ(helper.GetPPDAttributeInt("NoSuchAttribute", ppd.get()), 0);
  EXPECT_EQ(helper.GetPPDOptions("NoSuchOption", ppd.get()), 0);
  const std::string log = GetCapturedStderr();
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 3) << log;
  EXPECT_THAT(log, ::testing::StartsWith("No such a option name found "));
}

TEST(FileHelpers, DeleteFile) {
  ScratchDir dir;
  const auto file = dir.path() / "Card.ppd";
  ppd_test::WriteFile(file, "x");
  const auto target = dir.path() / "target";
  ppd_test::WriteFile(target, "kept");
  const auto link = dir.path() / "link.ppd";
  std::filesystem::create_symlink(target, link);
  const auto folder = dir.path() / "folder";
  std::filesystem::create_directory(folder);
  ppd_test::WriteFile(folder / "inside", "kept");

  CaptureStderr();
  PPDHelper::DeleteFile(file.string());
  PPDHelper::DeleteFile((dir.path() / "missing").string());
  PPDHelper::DeleteFile(link.string());
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_FALSE(std::filesystem::is_symlink(link));
  EXPECT_EQ(ppd_test::ReadFile(target), "kept");

  // A folder with contents is never removed with them.
  CaptureStderr();
  PPDHelper::DeleteFile(folder.string());
  EXPECT_THAT(GetCapturedStderr(), ::testing::StartsWith("Error removing file at path: "));
  EXPECT_TRUE(std::filesystem::exists(folder / "inside"));
}

TEST(FileHelpers, GetFileDataAndSaveFileData) {
  ScratchDir dir;
  const auto file = dir.path() / "a.ppd";
  const std::string text = "*PPD-Adobe: \"4.3\"\n*% caf\xC3\xA9\n";
  EXPECT_EQ(PPDHelper::SaveFileData(text, file.string()), 0);
  EXPECT_EQ(ppd_test::ReadFile(file), text);
  EXPECT_EQ(PPDHelper::GetFileData(file.string()), text);
  EXPECT_EQ(PPDHelper::SaveFileData("short", file.string()), 0);  // replaces, not appends
  EXPECT_EQ(PPDHelper::GetFileData(file.string()), "short");

  EXPECT_EQ(PPDHelper::GetFileData((dir.path() / "missing").string()), std::nullopt);
  EXPECT_EQ(PPDHelper::GetFileData(dir.path().string()), std::nullopt);
  ppd_test::WriteFile(dir.path() / "latin1", "caf\xE9\n");
  EXPECT_EQ(PPDHelper::GetFileData((dir.path() / "latin1").string()), std::nullopt);

  // Never through a link: the target stays as it was.
  const auto target = dir.path() / "target";
  ppd_test::WriteFile(target, "kept");
  const auto link = dir.path() / "link.ppd";
  std::filesystem::create_symlink(target, link);
  CaptureStderr();
  EXPECT_EQ(PPDHelper::SaveFileData("evil", link.string()), -1);
  EXPECT_THAT(GetCapturedStderr(), ::testing::StartsWith("Error writing file at " + link.string() + "\n"));
  EXPECT_EQ(ppd_test::ReadFile(target), "kept");
}

TEST(FileHelpers, TemporaryPathIsTheUsersTemporaryFolderPlusThePpdName) {
  PPDHelper helper;
  helper.PPDFileName = "/etc/cups/ppd/Card.ppd";
  {
    ScopedEnv run("XDG_RUNTIME_DIR", "/run/user/1000");
    EXPECT_EQ(helper.GetTempPPDFileName(), "/run/user/1000/Card.ppd");
  }
  ScopedEnv run("XDG_RUNTIME_DIR", std::nullopt);
  {
    ScopedEnv tmp("TMPDIR", "/var/tmp/me/");
    EXPECT_EQ(helper.GetTempPPDFileName(), "/var/tmp/me/Card.ppd");
  }
  ScopedEnv tmp("TMPDIR", std::nullopt);
  EXPECT_EQ(helper.GetTempPPDFileName(), "/tmp/Card.ppd");
}

}  // namespace
