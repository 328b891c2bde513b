// Driver settings saved from and restored into installed PPDs of the sandbox,
// through the real PPD service: whole-file comparisons, then the PPDs are put
// back as they were.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "AppTestSupport.h"
#include "FakeHost.h"
#include "PPDHelper.h"
#include "PpdTestSupport.h"
#include "PythonPlist.h"
#include "RecordingWaits.h"
#include "SandboxEnv.h"
#include "vkts3saverestore.h"

namespace {

namespace fs = std::filesystem;
using archive_test::FakeHost;
using archive_test::RunPython;
using ppd_test::ReadFile;
using ppd_test::ReplaceLine;
using ppd_test::ScopedEnv;
using ppd_test::ScratchDir;

class DriverSettingsThroughService : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(vkt_sandbox::Require());
    ASSERT_FALSE(vkt_sandbox::Var("VKT_PPD_SERVICE_PORT").empty()) << "the sandbox runs no PPD service";
    app_test::EnsureApplication();
    runDir = std::make_unique<ScopedEnv>("XDG_RUNTIME_DIR", scratch.path().string());
    original = ReadFile(vkt_sandbox::FixtureDir() + "/VKTS32.ppd");
    card = vkt_sandbox::Base() + "/ppd/Card.ppd";
    card2 = vkt_sandbox::Base() + "/ppd/Card2.ppd";
    ASSERT_EQ(ReadFile(card), original) << "the sandbox PPD was left changed by an earlier test";
    ASSERT_EQ(ReadFile(card2), original) << "the sandbox PPD was left changed by an earlier test";
  }

  void TearDown() override {
    for (const std::string& path : {card, card2}) {
      if (path.empty() || ReadFile(path) == original) continue;
      Install(path, original);
      EXPECT_EQ(ReadFile(path), original) << "could not put back " << path;
    }
  }

  // Puts `text` in place of an installed PPD, as the service does for any save.
  void Install(const std::string& ppd, const std::string& text) {
    const std::string copy = (scratch.path() / "install.ppd").string();
    ppd_test::WriteFile(copy, text);
    ASSERT_EQ(SavePPDFileAsRoot(copy.c_str(), ppd.c_str()), 1);
    ASSERT_EQ(ReadFile(ppd), text);
  }

  std::unique_ptr<vkts3saverestore> Open(const std::string& ppd, std::array<int, 4> lists) {
    auto host = std::make_unique<FakeHost>(prompter, restores);
    host->lists = lists;
    return std::make_unique<vkts3saverestore>(ppd, std::move(host), nullptr, scratch.path().string());
  }

  std::string Path(const std::string& name) const { return (scratch.path() / name).string(); }

  ScratchDir scratch;
  RecordingWaits waits;
  std::unique_ptr<ScopedEnv> runDir;
  std::string original, card, card2;
  ScriptedPrompter prompter;
  std::vector<std::string> restores;
};

TEST_F(DriverSettingsThroughService, RestoreAfterASaveFromALoggingOffPpdTurnsLoggingOn) {
  std::string loggingOn = ReplaceLine(original, "*EnableLog: 0", "*EnableLog: 1");
  loggingOn = ReplaceLine(loggingOn, "*Time: 0", "*Time: 1");
  loggingOn = ReplaceLine(loggingOn, "*FileName:VKTS3.log", "*FileName:Cards.log");
  Install(card2, loggingOn);

  // Saved in a window on Card2: two-sided 1, rotation 2, monochrome 1, mode 0.
  auto source = Open(card2, {1, 2, 1, 0});
  prompter.paths = {Path("fromCard2")};
  source->DriverSettingSaveButton();
  EXPECT_EQ(RunPython(R"(
import plistlib, sys
c = plistlib.load(open(sys.argv[1], 'rb'))['VKTS3PrinterConfig']
print(c['LogEnabled'], c['Time'], c['Date'], c['Rotate180'], c['Mono_Conversion'], repr(c['FileName']), repr(c['Separator']))
)",
                      Path("fromCard2.plist")),
            "1 1 0 2 1 'Cards.log' ','\n");

  // A window on Card (logging off) saves first, then restores Card2's file.
  auto target = Open(card, {1, 0, 0, 0});
  prompter.paths = {Path("fromCard"), Path("fromCard2.plist")};
  target->DriverSettingSaveButton();
  target->DriverSettingsRestoreButton();

  std::string expected = ReplaceLine(original, "*EnableLog: 0", "*EnableLog: 1");
  expected = ReplaceLine(expected, "*Time: 0", "*Time: 1");
  expected = ReplaceLine(expected, "*FileName:VKTS3.log", "*FileName:Cards.log");
  expected = ReplaceLine(expected, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 2Back");
  expected = ReplaceLine(expected, "*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 1HalfTone");
  EXPECT_EQ(ReadFile(card), expected);
  EXPECT_TRUE(prompter.prompts.empty());
}

TEST_F(DriverSettingsThroughService, PlistlibFileWithRotationMinusOneKeepsThePpdsRotation) {
  Install(card, ReplaceLine(original, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"));
  RunPython(R"(
import plistlib, sys
plistlib.dump({'VKTS3PrinterConfig': {'Rotate180': -1, 'Mono_Conversion': 2, 'Printing_Mode': 1,
               'Mdata1': 1}}, open(sys.argv[1], 'wb'))
)",
            Path("python.plist"));
  auto window = Open(card, {0, 0, 0, 0});
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(Path("python.plist")), 1);
  std::string expected = ReplaceLine(original, "*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both");
  expected = ReplaceLine(expected, "*DefaultVKTS32MonoConversion: 0Diffusion", "*DefaultVKTS32MonoConversion: 2Barcode");
  expected = ReplaceLine(expected, "*DefaultVKTS32PrintingMode: 0PrintnEncode", "*DefaultVKTS32PrintingMode: 1EncodeOnly");
  expected = ReplaceLine(expected, "*MTrack1: 0", "*MTrack1: 1");
  // No "Print_on_both_sides" key: the two-sided line stays as it was.
  EXPECT_EQ(ReadFile(card), expected);
}

TEST_F(DriverSettingsThroughService, HostileFilesChangeNothing) {
  RunPython(R"(
import plistlib, sys
plistlib.dump({'VKTS3PrinterConfig': {'Rotate180': {'x': 1}, 'Mono_Conversion': [3], 'Printing_Mode': b'\x02',
               'Print_on_both_sides': {'y': 0}, 'LogEnabled': 'yes', 'Separator': ['|'],
               'FileName': 'x\n*cupsFilter2: "application/pdf application/vnd.cups-raw 0 /bin/sh"',
               'StaticText': 99}}, open(sys.argv[1], 'wb'))
)",
            Path("types.plist"));
  std::ofstream(Path("huge.plist")) << "<?xml version=\"1.0\"?><plist><dict><key>VKTS3PrinterConfig</key><dict>"
                                       "<key>LogEnabled</key><integer>1</integer><key>Pad</key><string>"
                                    << std::string(1100000, 'p') << "</string></dict></dict></plist>";
  std::ofstream(Path("text.plist")) << "LogEnabled = 1\nRotate180 = 3\n";
  std::ofstream(Path("binary.plist"), std::ios::binary) << std::string("bplist00\x01\x02\x03", 11);

  auto window = Open(card, {0, 0, 0, 0});
  // Wrong types: nothing usable, so every line keeps its value.
  EXPECT_EQ(window->UpdateDriverSettingsFromFile(Path("types.plist")), 1);
  EXPECT_EQ(ReadFile(card), original);
  for (const char* name : {"huge.plist", "text.plist", "binary.plist"}) {
    EXPECT_EQ(window->UpdateDriverSettingsFromFile(Path(name)), 0) << name;
    EXPECT_EQ(ReadFile(card), original) << name;
  }
  ASSERT_EQ(prompter.prompts.size(), 3u);
  EXPECT_NE(prompter.prompts[0].message.find("is larger than 1 MiB"), std::string::npos);
  EXPECT_NE(prompter.prompts[1].message.find("is not a property list"), std::string::npos);
  EXPECT_NE(prompter.prompts[2].message.find("is not a property list"), std::string::npos);
}

}  // namespace
