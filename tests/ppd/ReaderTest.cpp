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

// A job-log record as "<flags> <texts>|", a text never read as "-".
std::string Describe(const JobLog_& r) {
  std::string text;
  for (int i = 0; i < JobLog_::kFlagCount; ++i) text += std::to_string(r.Flag(i)) + " ";
  for (int i = JobLog_::kFlagCount; i < JobLog_::kFieldCount; ++i) text += r.Text(i).value_or("-") + "|";
  return text;
}

// The values the helper holds in its fields.
std::string Values(const PPDHelper& h) {
  std::string text;
  for (int v : {h.PPD_nFrontX, h.PPD_nBackX, h.PPD_nFrontY, h.PPD_nBackY, h.PPD_JL_nEnable_Log, h.PPD_JL_nEveryDay_Log,
                h.PPD_JL_nTime, h.PPD_JL_nDate, h.PPD_JL_nSerialNo, h.PPD_JL_nIPAddress, h.PPD_JL_nUserName,
                h.PPD_JL_nJobID, h.PPD_JL_nTrack1, h.PPD_JL_nTrack2, h.PPD_JL_nTrack3, h.PPD_nRibbonType})
    text += std::to_string(v) + " ";
  return text + h.PPD_strPrinterSerialNo + "|" + h.PPD_strIPAddress + "|" + h.PPD_JL_strSeparator + "|" +
         h.PPD_JL_strFileName + "|" + h.PPD_JL_strStaticText + "|" + Describe(h.oldLogvalues);
}

TEST(Reader, UnusualDefaultsMissingEntriesRibbonsAndAFileThatGoesAway) {
  PPDHelper helper;
  CaptureStderr();
  helper.InitPPD(DataPath("VKTS32-odd.ppd"));
  const auto ribbons = helper.GetAllSupportedRibbonTypes();
  EXPECT_FALSE(helper.GetAllRibbonCombination());  // a missing option gives no dictionary
  const std::string log = GetCapturedStderr();
  const std::string missing = "No such a option name found (null)\n";
  EXPECT_EQ(log, missing + missing + "attr value is 198.51.100.4\n" + missing + missing +
                     "attr value is -7\nattr value is 12\nattr value is 3\nNo such a option name found\n");
  // Ribbon 10KResin, rotation 2Back, "Diffusion" without digits, no
  // combination and no half-panel option.
  EXPECT_EQ(helper.GetPPDDefaultValues(), (std::array<int, 7>{2, 0, 0, 1, 0, 10, 0}));
  // A missing text attribute reads empty, not "never read".
  EXPECT_EQ(Describe(helper.GetPPDJobLogDefaultValues()), "1 2 3 4 5 6 7 8 9 10 11 ;|Cards.log||");
  const std::string values = Values(helper);
  EXPECT_EQ(values,
            "0 -7 12 3 1 2 3 4 5 6 7 8 9 10 11 10 |198.51.100.4|;|Cards.log||1 2 3 4 5 6 7 8 9 10 11 ;|Cards.log||");
  // A later choice with the same leading number replaces the earlier one.
  ASSERT_TRUE(ribbons);
  EXPECT_EQ(ribbons->size(), 19u);
  EXPECT_EQ(ribbons->at("0") + "|" + ribbons->at("3") + "|" + ribbons->at("10") + "|" + ribbons->at("14"),
            "YMCKO 100 Prints|Spare Third Ribbon|Black Resin|White Monochrome (High)");

  // When the file goes away the values and old job-log values stay.
  helper.PPDFileName = DataPath("no-such-file.ppd");
  CaptureStdout();
  EXPECT_EQ(Describe(helper.GetPPDJobLogDefaultValues()), "0 0 0 0 0 0 0 0 0 0 0 -|-|-|");
  helper.LoadPPDDefaults();
  EXPECT_THAT(GetCapturedStdout(), StartsWith("PPD open failed "));
  EXPECT_EQ(Values(helper), values);
}

TEST(Reader, UnopenableFileGivesNoModelAndNoValues) {
  for (const std::string& path : {DataPath("not-a-ppd.ppd"), DataPath("no-such-file.ppd")}) {
    PPDHelper fresh;
    CaptureStdout();
    fresh.InitPPD(path);
    EXPECT_THAT(GetCapturedStdout(), StartsWith("PPD open failed ")) << path;
    EXPECT_EQ(fresh.PPD_nPrinterModel, -1);
    EXPECT_EQ(fresh.PrinterModel + fresh.PPD_DUAL_SIDE, "DualSidePrinting");  // bare keyword
    EXPECT_EQ(fresh.GetPPDDefaultValues(), (std::array<int, 7>{}));
    EXPECT_FALSE(fresh.GetAllSupportedRibbonTypes() || fresh.GetAllRibbonCombination());
  }
}

TEST(FileHelpers, GetSaveDeleteAndTheTemporaryPath) {
  ScratchDir dir;
  const std::string file = (dir.path() / "a.ppd").string(), link = (dir.path() / "link.ppd").string();
  EXPECT_EQ(PPDHelper::SaveFileData("*PPD-Adobe: \"4.3\"\n*% caf\xC3\xA9\n", file), 0);
  EXPECT_EQ(PPDHelper::SaveFileData("short", file), 0);  // replaces, not appends
  EXPECT_EQ(PPDHelper::GetFileData(file), "short");
  // Only UTF-8 is read: characters of two, three and four bytes pass; a Latin-1
  // byte, an overlong form, a surrogate, a code beyond U+10FFFF, a cut
  // character and a stray continuation byte do not.
  std::string read;
  for (const char* bytes : {"caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x92\xB3\n", "caf\xE9\n", "\xC0\xAF", "\xE0\x80\xAF",
                            "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\x84\x80\x80\x80"}) {
    WriteFile(dir.path() / "utf8", bytes);
    read += PPDHelper::GetFileData((dir.path() / "utf8").string()) == bytes ? "read " : "refused ";
  }
  EXPECT_EQ(read, "read refused refused refused refused refused refused refused ");
  for (const std::string& bad : {dir.path().string(), file + "x"})
    EXPECT_EQ(PPDHelper::GetFileData(bad), std::nullopt) << bad;
  // Never written through a link, and a link is deleted, not its target.
  fs::create_symlink(file, link);
  CaptureStderr();
  EXPECT_EQ(PPDHelper::SaveFileData("evil", link), -1);
  PPDHelper::DeleteFile(link);
  PPDHelper::DeleteFile(file + "x");
  EXPECT_EQ(GetCapturedStderr(), "Error writing file at " + link + "\nToo many levels of symbolic links\n");
  EXPECT_EQ(ReadFile(file), "short");
  EXPECT_FALSE(fs::is_symlink(link));
  // A folder with contents is never removed with them.
  CaptureStderr();
  PPDHelper::DeleteFile(dir.path().string());
  PPDHelper::DeleteFile(file);
  EXPECT_THAT(GetCapturedStderr(), StartsWith("Error removing file at path: "));
  EXPECT_FALSE(fs::exists(file));
  EXPECT_TRUE(fs::exists(dir.path() / "utf8"));  // the folder stays

  // The user's temporary folder plus the PPD's name.
  PPDHelper helper;
  helper.PPDFileName = "/etc/cups/ppd/Card.ppd";
  ScopedEnv run("XDG_RUNTIME_DIR", "/run/user/1000"), tmp("TMPDIR", "/var/tmp/me/");
  std::string paths = helper.GetTempPPDFileName() + " ";
  ::unsetenv("XDG_RUNTIME_DIR");
  paths += helper.GetTempPPDFileName() + " ";
  ::unsetenv("TMPDIR");
  EXPECT_EQ(paths + helper.GetTempPPDFileName(), "/run/user/1000/Card.ppd /var/tmp/me/Card.ppd /tmp/Card.ppd");
}

}  // namespace
