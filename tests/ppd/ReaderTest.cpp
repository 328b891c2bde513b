// Reading driver defaults: option defaults, attributes, the job-log record,
// the ribbon dictionaries, unreadable files, and the file helpers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "PPDHelper.h"
#include "PpdTestSupport.h"

namespace {

using namespace ppd_test;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::internal::CaptureStderr;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStderr;
using ::testing::internal::GetCapturedStdout;
namespace fs = std::filesystem;

// The value tables take the first model of the process; every test of this
// binary works on VKTS32 PPDs, whatever order the tests run in.
class Vkts32First : public ::testing::Environment {
 public:
  void SetUp() override { PPDHelper().InitPPD(FixturePath("VKTS32.ppd")); }
};
[[maybe_unused]] ::testing::Environment* const kVkts32First = ::testing::AddGlobalTestEnvironment(new Vkts32First);

// The values the odd PPD holds, as read into the helper's fields.
std::string Values(const PPDHelper& h) {
  std::string text;
  for (int v : {h.PPD_nFrontX, h.PPD_nBackX, h.PPD_nFrontY, h.PPD_nBackY, h.PPD_JL_nEnable_Log, h.PPD_JL_nEveryDay_Log,
                h.PPD_JL_nTime, h.PPD_JL_nDate, h.PPD_JL_nSerialNo, h.PPD_JL_nIPAddress, h.PPD_JL_nUserName,
                h.PPD_JL_nJobID, h.PPD_JL_nTrack1, h.PPD_JL_nTrack2, h.PPD_JL_nTrack3})
    text += std::to_string(v) + " ";
  return text + h.PPD_strPrinterSerialNo + "|" + h.PPD_strIPAddress + "|" + h.PPD_JL_strSeparator + "|" +
         h.PPD_JL_strFileName + "|" + h.PPD_JL_strStaticText;
}

TEST(Reader, UnusualDefaultsMissingEntriesAndTheJobLogRecord) {
  PPDHelper helper;
  CaptureStderr();
  helper.InitPPD(DataPath("VKTS32-odd.ppd"));
  const std::string log = GetCapturedStderr();
  EXPECT_EQ(helper.PPD_nPrinterModel, 0);
  // Ribbon 10KResin, rotation 2Back, "Diffusion" without digits, no
  // combination and no half-panel option.
  EXPECT_EQ(helper.GetPPDDefaultValues(), (std::array<int, 7>{2, 0, 0, 1, 0, 10, 0}));
  EXPECT_THAT(log, HasSubstr("attr value is 198.51.100.4\n"));
  EXPECT_THAT(log, HasSubstr("attr value is -7\n"));
  EXPECT_THAT(log, HasSubstr("No such a option name found "));
  JobLog_ expected;
  expected.EnableLog = expected.Time = expected.SerialNumber = expected.UserName = 1;
  expected.MTrack1 = expected.MTrack3 = 1;
  expected.Separator = ";";
  expected.FileName = "Cards.log";
  expected.StaticText = "";  // missing attribute: empty, not "never read"
  EXPECT_EQ(helper.GetPPDJobLogDefaultValues(), expected);
  EXPECT_EQ(helper.oldLogvalues, expected);
  EXPECT_EQ(Values(helper), "0 -7 12 3 1 0 1 0 1 0 1 0 1 0 1 |198.51.100.4|;|Cards.log|");
}

TEST(Reader, RibbonDictionariesAreKeyedByTheLeadingNumber) {
  // A later choice with the same leading number replaces the earlier one; a
  // missing option gives no dictionary.
  PPDHelper helper;
  helper.InitPPD(DataPath("VKTS32-odd.ppd"));
  const auto odd = helper.GetAllSupportedRibbonTypes();
  ASSERT_TRUE(odd);
  EXPECT_EQ(odd->size(), 19u);
  EXPECT_EQ(odd->at("0") + "|" + odd->at("3") + "|" + odd->at("10") + "|" + odd->at("14"),
            "YMCKO 100 Prints|Spare Third Ribbon|Black Resin|White Monochrome (High)");
  CaptureStderr();
  EXPECT_FALSE(helper.GetAllRibbonCombination());
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("No such a option name found\n"));
}

TEST(Reader, UnopenableFileLeavesValuesAlone) {
  for (const std::string& path : {DataPath("not-a-ppd.ppd"), DataPath("no-such-file.ppd")}) {
    SCOPED_TRACE(path);
    PPDHelper fresh;
    CaptureStdout();
    fresh.InitPPD(path);
    EXPECT_THAT(GetCapturedStdout(), StartsWith("PPD open failed "));
    EXPECT_EQ(fresh.PPD_nPrinterModel, -1);
    EXPECT_EQ(fresh.PrinterModel, "");
    EXPECT_EQ(fresh.PPD_DUAL_SIDE, "DualSidePrinting");  // bare keyword
    EXPECT_EQ(fresh.GetPPDDefaultValues(), (std::array<int, 7>{}));
    EXPECT_FALSE(fresh.GetAllSupportedRibbonTypes() || fresh.GetAllRibbonCombination());

    // A helper that had read a good file keeps its values and old job-log
    // values when the file goes away.
    PPDHelper helper;
    helper.InitPPD(DataPath("VKTS32-odd.ppd"));
    helper.GetPPDJobLogDefaultValues();
    const JobLog_ before = helper.oldLogvalues;
    const std::string values = Values(helper);
    helper.PPDFileName = path;
    CaptureStdout();
    EXPECT_EQ(helper.GetPPDJobLogDefaultValues(), JobLog_{});  // all zero, texts never read
    helper.LoadPPDDefaults();
    GetCapturedStdout();
    EXPECT_EQ(helper.oldLogvalues, before);
    EXPECT_EQ(Values(helper), values);
    EXPECT_EQ(helper.PPD_nRibbonType, 10);
  }
}

TEST(Reader, OptionAndAttributeLookups) {
  PPDHelper helper;
  helper.InitPPD(FixturePath("VKTS32.ppd"));
  EXPECT_EQ(helper.GetPPDOptions("VKTS32DualSidePrinting", nullptr), 0);
  EXPECT_EQ(helper.GetPPDAttributeStr("PrinterSerialNo", nullptr), std::nullopt);
  ppd_file_t* ppd = ppdOpenFile(FixturePath("VKTS32.ppd").c_str());
  EXPECT_EQ(helper.GetPPDOptions("", ppd), 0);
  EXPECT_EQ(helper.GetPPDAttributeStr("", ppd), std::nullopt);
  EXPECT_EQ(helper.GetPPDOptions("VKTS32RibbonCombination", ppd), 4);
  CaptureStderr();
  EXPECT_EQ(helper.GetPPDAttributeStr("PrinterSerialNo", ppd), "VKT3200001");
  EXPECT_EQ(helper.GetPPDAttributeStr("NoSuchAttribute", ppd), "");
  EXPECT_EQ(helper.GetPPDAttributeInt("NoSuchAttribute", ppd), 0);
  EXPECT_EQ(helper.GetPPDOptions("NoSuchOption", ppd), 0);
  const std::string log = GetCapturedStderr();
  EXPECT_EQ(log.rfind("attr value is VKT3200001\nNo such a option name found ", 0), 0u) << log;
  EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 4) << log;
  ppdClose(ppd);
}

TEST(FileHelpers, DeleteGetSaveAndTheTemporaryPath) {
  ScratchDir dir;
  const fs::path file = dir.path() / "a.ppd", target = dir.path() / "target", link = dir.path() / "link.ppd";
  const std::string text = "*PPD-Adobe: \"4.3\"\n*% caf\xC3\xA9\n";
  EXPECT_EQ(PPDHelper::SaveFileData(text, file.string()), 0);
  EXPECT_EQ(ReadFile(file), text);
  EXPECT_EQ(PPDHelper::GetFileData(file.string()), text);
  EXPECT_EQ(PPDHelper::SaveFileData("short", file.string()), 0);  // replaces, not appends
  EXPECT_EQ(PPDHelper::GetFileData(file.string()), "short");
  EXPECT_EQ(PPDHelper::GetFileData((dir.path() / "missing").string()), std::nullopt);
  EXPECT_EQ(PPDHelper::GetFileData(dir.path().string()), std::nullopt);
  WriteFile(dir.path() / "latin1", "caf\xE9\n");
  EXPECT_EQ(PPDHelper::GetFileData((dir.path() / "latin1").string()), std::nullopt);

  // Never written through a link, and a link is deleted, not its target.
  WriteFile(target, "kept");
  fs::create_symlink(target, link);
  CaptureStderr();
  EXPECT_EQ(PPDHelper::SaveFileData("evil", link.string()), -1);
  EXPECT_EQ(GetCapturedStderr().rfind("Error writing file at " + link.string() + "\n", 0), 0u);
  CaptureStderr();
  PPDHelper::DeleteFile(file.string());
  PPDHelper::DeleteFile((dir.path() / "missing").string());
  PPDHelper::DeleteFile(link.string());
  EXPECT_EQ(GetCapturedStderr(), "");
  EXPECT_FALSE(fs::exists(file) || fs::is_symlink(link));
  EXPECT_EQ(ReadFile(target), "kept");
  // A folder with contents is never removed with them.
  fs::create_directory(dir.path() / "folder");
  WriteFile(dir.path() / "folder" / "inside", "kept");
  CaptureStderr();
  PPDHelper::DeleteFile((dir.path() / "folder").string());
  EXPECT_THAT(GetCapturedStderr(), StartsWith("Error removing file at path: "));
  EXPECT_TRUE(fs::exists(dir.path() / "folder" / "inside"));

  // The user's temporary folder plus the PPD's name.
  PPDHelper helper;
  helper.PPDFileName = "/etc/cups/ppd/Card.ppd";
  ScopedEnv run("XDG_RUNTIME_DIR", "/run/user/1000");
  EXPECT_EQ(helper.GetTempPPDFileName(), "/run/user/1000/Card.ppd");
  ScopedEnv noRun("XDG_RUNTIME_DIR", std::nullopt);
  ScopedEnv tmp("TMPDIR", "/var/tmp/me/");
  EXPECT_EQ(helper.GetTempPPDFileName(), "/var/tmp/me/Card.ppd");
  ScopedEnv noTmp("TMPDIR", std::nullopt);
  EXPECT_EQ(helper.GetTempPPDFileName(), "/tmp/Card.ppd");
}

}  // namespace
