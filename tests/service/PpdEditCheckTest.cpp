// The content rule: which edits of an installed PPD the service accepts.
#include <gtest/gtest.h>

#include <regex>

#include "PpdEditCheck.h"
#include "ServiceTestSupport.h"

using service_test::ReplaceOnce;

namespace {

class PpdEditCheckTest : public ::testing::Test {
 protected:
  void SetUp() override { installed = service_test::ReadFile(service_test::OwnFixturePpd()); }

  std::optional<std::string> Check(const std::string& edited) const {
    return PpdEditCheck::FindForbiddenChange(installed, edited);
  }
  std::string Edit(const std::string& from, const std::string& to) const { return ReplaceOnce(installed, from, to); }

  std::string installed;
};

TEST_F(PpdEditCheckTest, IdenticalTextPasses) { EXPECT_EQ(Check(installed), std::nullopt); }

TEST_F(PpdEditCheckTest, EveryModelOptionMayTakeEachOfItsOwnChoices) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> options = {
      {"DualSidePrinting", {"1true"}},
      {"Orientation", {"1Portrait"}},
      {"MonoConversion", {"1HalfTone", "2Barcode", "3Text"}},
      {"PrintingMode", {"1EncodeOnly", "2PrintEncodeSameSide"}},
      {"RibbonName", {"10KResin", "11MonoChrome", "14hWhiteMonochrome", "18KrO700"}},
      {"RibbonCombination", {"0FrontYmcoBackK", "16FrontWr"}},
      {"AutoHalfPanel", {"1true"}},
      {"Rotation", {"1Front", "2Back", "3Both"}}};
  for (const auto& [option, choices] : options) {
    std::smatch current;
    ASSERT_TRUE(std::regex_search(installed, current, std::regex("\\*DefaultVKTS32" + option + ": (\\w+)")));
    for (const std::string& choice : choices) {
      std::string edited = Edit(current[0], "*DefaultVKTS32" + option + ": " + choice);
      EXPECT_EQ(Check(edited), std::nullopt) << option << " " << choice;
    }
  }
}

TEST_F(PpdEditCheckTest, AllSettingsAtOnceAsTheToolWritesThem) {
  std::string edited = installed;
  for (auto [from, to] : std::vector<std::pair<std::string, std::string>>{
           {"*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 3Both"},
           {"*DefaultVKTS32RibbonName: 0YMCKO100", "*DefaultVKTS32RibbonName: 10KResin"},
           {"PrinterIPAddress: 192.168.1.20", "PrinterIPAddress: 10.0.0.7"},
           {"PrinterSerialNo: S32-000123", "PrinterSerialNo: "},
           {"FrontX: 0", "FrontX: 12"},
           {"BackY: -2", "BackY: -40"},
           {"EnableLog: 0", "EnableLog: 1"},
           {"MTrack3: 0", "MTrack3: 1"},
           {"Separator:,", "Separator:;"},
           {"*FileName:VKTS3.log", "*FileName:Cards 2026.log"},
           {"StaticText:Orvex", "StaticText:Badge office \xC3\xA9t\xC3\xA9"}})
    edited = ReplaceOnce(edited, from, to);
  EXPECT_EQ(Check(edited), std::nullopt);
}

TEST_F(PpdEditCheckTest, ChoicesOfTheSandboxFixturesOfEveryModelPass) {
  std::vector<std::string> files = service_test::SandboxFixturePpds();
  for (const std::string& file : files) {
    std::string text = service_test::ReadFile(file);
    std::smatch match;
    ASSERT_TRUE(std::regex_search(text, match, std::regex("\\*Default(\\w*)Rotation: 0None"))) << file;
    std::string edited = ReplaceOnce(text, match[0], "*Default" + match[1].str() + "Rotation: 2Back");
    edited = ReplaceOnce(edited, "*Default" + match[1].str() + "RibbonName: 0YMCKO100",
                         "*Default" + match[1].str() + "RibbonName: 18KrO700");
    edited = ReplaceOnce(edited, "*FileName:VKTS3.log", "*FileName:Other.log");
    EXPECT_EQ(PpdEditCheck::FindForbiddenChange(text, edited), std::nullopt) << file;
    EXPECT_NE(PpdEditCheck::FindForbiddenChange(text, edited + "*cupsFilter2: \"a b 0 /bin/sh\"\n"), std::nullopt);
  }
}

TEST_F(PpdEditCheckTest, AddedOrRemovedLinesAreRefused) {
  auto added =
      Check(Edit("*FrontX: 0\n", "*FrontX: 0\n*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 /tmp/x\"\n"));
  ASSERT_TRUE(added);
  EXPECT_EQ(*added, "the edited PPD has 146 lines, the installed one 145");
  EXPECT_TRUE(Check(Edit("*FrontX: 0\n", "*FrontX: 0\n*FoomaticRIPCommandLine: \"id\"\n")));
  EXPECT_TRUE(Check(Edit("*FrontX: 0\n", "")));
  EXPECT_TRUE(Check(installed + "\n"));
  EXPECT_TRUE(Check(installed.substr(0, installed.size() - 1)));
}

TEST_F(PpdEditCheckTest, AnEditableLineMayNotBecomeAnotherKeyword) {
  auto reason = Check(Edit("*StaticText:Orvex", "*cupsFilter2: \"application/pdf application/pdf 0 /tmp/x\""));
  ASSERT_TRUE(reason);
  EXPECT_EQ(*reason, "line 143: the keyword of this line may not change");
  EXPECT_TRUE(Check(Edit("*FrontX: 0", "*FoomaticRIPCommandLine: 0")));
  EXPECT_TRUE(Check(Edit("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Orientation: 1Portrait")));
  EXPECT_TRUE(Check(Edit("*FrontX: 0", "*FrontX 1/One: 0")));
}

TEST_F(PpdEditCheckTest, OtherLinesMayNotChange) {
  auto reason = Check(Edit("*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 -\"",
                           "*cupsFilter2: \"application/pdf application/vnd.cups-raw 0 /tmp/evil\""));
  ASSERT_TRUE(reason);
  EXPECT_EQ(*reason, "line 18: this line may not change");
  EXPECT_TRUE(Check(Edit("*PCFileName: \"VKTS32.PPD\"", "*PCFileName: \"VKTS31.PPD\"")));
  EXPECT_TRUE(Check(Edit("*VKTS32Rotation 3Both/3Both: \"\"", "*VKTS32Rotation 3Both/3Both: \"(x) run\"")));
  EXPECT_TRUE(Check(Edit("*DefaultPageSize: CR80", "*DefaultPageSize: A4")));
  // A choice line may not be turned into a new choice that a default then uses.
  EXPECT_TRUE(Check(Edit("*VKTS32Rotation 3Both/3Both: \"\"", "*VKTS32Rotation 4Evil/Evil: \"\"")));
}

TEST_F(PpdEditCheckTest, ADefaultMustBeOneOfTheOptionsOwnChoices) {
  auto unknown = Check(Edit("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 4Sideways"));
  ASSERT_TRUE(unknown);
  EXPECT_EQ(*unknown, "line 116: VKTS32Rotation has no choice \"4Sideways\"");
  // A choice of another option, a choice with a suffix, an empty choice.
  EXPECT_TRUE(Check(Edit("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 1Portrait")));
  EXPECT_TRUE(Check(Edit("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: 1Front ")));
  EXPECT_TRUE(Check(Edit("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation: ")));
  EXPECT_TRUE(Check(Edit("*DefaultVKTS32Rotation: 0None", "*DefaultVKTS32Rotation:1Front")));
  // Defaults of options the tool does not edit stay as they are.
  EXPECT_TRUE(Check(Edit("*DefaultColorSpace: RGB", "*DefaultColorSpace: Gray")));
}

TEST_F(PpdEditCheckTest, ValuesWithQuotesOrControlCharactersAreRefused) {
  auto quoted = Check(Edit("*StaticText:Orvex", "*StaticText:Orvex\" *cupsFilter2: \"x"));
  ASSERT_TRUE(quoted);
  EXPECT_EQ(*quoted, "line 143: the value of StaticText holds a quote or a control character");
  EXPECT_TRUE(Check(Edit("PrinterSerialNo: S32-000123", "PrinterSerialNo: S32\r*cupsFilter2: x")));
  EXPECT_TRUE(Check(Edit("PrinterIPAddress: 192.168.1.20", "PrinterIPAddress: 10.0.0.1\t")));
  EXPECT_TRUE(Check(Edit("*FileName:VKTS3.log", std::string("*FileName:a\0b", 13))));
  // A newline in a value is an added line.
  EXPECT_TRUE(Check(Edit("Separator:,", "Separator:\n*cupsFilter2: \"x\"")));
}

TEST_F(PpdEditCheckTest, NumbersMustBeNumbersAndTextsAtMost255Bytes) {
  EXPECT_EQ(Check(Edit("FrontX: 0", "FrontX: -2147483648")), std::nullopt);
  auto word = Check(Edit("FrontX: 0", "FrontX: 1 ; x"));
  ASSERT_TRUE(word);
  EXPECT_EQ(*word, "line 125: the value of FrontX is not a number");
  EXPECT_TRUE(Check(Edit("EnableLog: 0", "EnableLog: ")));
  EXPECT_TRUE(Check(Edit("EnableLog: 0", "EnableLog:1")));
  EXPECT_EQ(Check(Edit("StaticText:Orvex", "StaticText:" + std::string(255, 'x'))), std::nullopt);
  auto longText = Check(Edit("StaticText:Orvex", "StaticText:" + std::string(256, 'x')));
  ASSERT_TRUE(longText);
  EXPECT_EQ(*longText, "line 143: the value of StaticText is longer than 255 bytes");
}

TEST(PpdEditCheck, CarriageReturnLineEndsStayAndChoicesAreFoundInBlocksOnly) {
  const std::string installed =
      "*PPD-Adobe: \"4.3\"\r\n*OpenUI *Rotation/Rotation: PickOne\r\n*DefaultRotation: 0None\r\n"
      "*Rotation 0None/None: \"\"\r\n*Rotation 1Front/Front: \"\"\r\n*CloseUI: *Rotation\r\n"
      "*Rotation 9Outside/Outside: \"\"\r\n*FrontX: 0\r\n";
  auto with = [&](const std::string& from, const std::string& to) { return ReplaceOnce(installed, from, to); };
  EXPECT_EQ(PpdEditCheck::FindForbiddenChange(installed, with("Rotation: 0None\r", "Rotation: 1Front\r")),
            std::nullopt);
  EXPECT_EQ(PpdEditCheck::FindForbiddenChange(installed, with("FrontX: 0\r", "FrontX: 5\r")), std::nullopt);
  EXPECT_TRUE(PpdEditCheck::FindForbiddenChange(installed, with("FrontX: 0\r", "FrontX: 5")));
  EXPECT_TRUE(PpdEditCheck::FindForbiddenChange(installed, with("Rotation: 0None\r", "Rotation: 9Outside\r")));
}

}  // namespace
