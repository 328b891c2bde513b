// The profile files: keys, rules, escapes, errors, and the shipped profiles
// with the firmware layouts the tool tells models apart by.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "EngineTestSupport.h"
#include "PrinterProfile.h"

namespace {

TEST(PrinterProfileTest, ReadsKeysAndCommandRulesOverTheDefaults) {
  const std::string text =
      "# a comment\n"
      "\n"
      "model = VKTS31\n"
      "firmware = VKT31-M V1.02.03.016\n"
      "  serial=S31X  \n"
      "panels_printed = 99\n"
      "ribbon_code = 47\n"
      "offset_back_y = -4\n"
      "feeder_mode = 2\n"
      "encoder = no\n"
      "track2_density = 210\n"
      "coercivity = low\n"
      "card_track1 = %ABC?\n"
      "reply !NL = !1234 0 x\\x06\n"
      "reply ATM 1 1 = 1\\r\n"
      "nak . = 3\n"
      "nak +OY\n"
      "silent !V 15\n"
      "delay &V = 200\n"
      "delay_ms = 5\n"
      "close_after_bytes = 8\n"
      "close_after_times = 1\n"
      "reset_refuse_ms = 0\n"
      "firmware_terminator = \\r\n";
  PrinterProfile profile;
  std::string error;
  ASSERT_TRUE(ParsePrinterProfile(text, &profile, &error)) << error;
  EXPECT_EQ(profile.model, "VKTS31");
  EXPECT_EQ(profile.firmware, "VKT31-M V1.02.03.016");
  EXPECT_EQ(profile.serial, "S31X");
  EXPECT_EQ(profile.panelsPrinted, 99);
  EXPECT_EQ(profile.ribbonCode, 47);
  EXPECT_EQ(profile.offsetBackY, -4);
  EXPECT_EQ(profile.feederMode, 2);
  EXPECT_FALSE(profile.hasEncoder);
  EXPECT_EQ(profile.trackDensity[1], 210);
  EXPECT_FALSE(profile.highCoercivity);
  EXPECT_EQ(profile.cardTrack[0], "%ABC?");
  EXPECT_EQ(profile.replyOverrides.at("!NL"), "!1234 0 x\x06");
  EXPECT_EQ(profile.replyOverrides.at("ATM 1 1"), "1\r");
  EXPECT_EQ(profile.nakCommands.at("."), 3);
  EXPECT_EQ(profile.nakCommands.at("+OY"), 0);
  EXPECT_EQ(profile.silentCommands, std::vector<std::string>{"!V 15"});
  EXPECT_EQ(profile.commandDelayMs.at("&V"), 200);
  EXPECT_EQ(profile.delayMs, 5);
  EXPECT_EQ(profile.closeAfterBytes, 8);
  EXPECT_EQ(profile.closeAfterTimes, 1);
  EXPECT_EQ(profile.resetRefuseMs, 0);
  EXPECT_EQ(profile.firmwareTerminator, "\r");
  // Untouched keys keep their defaults.
  EXPECT_EQ(profile.headResistance, "2950");
}

TEST(PrinterProfileTest, ErrorsNameTheLineAndLeaveTheProfileAlone) {
  struct Case {
    std::string text;
    std::string error;
  } cases[] = {
      {"model = A\ncolour = red\n", "line 2: unknown key \"colour\""},
      {"panels_printed = many\n", "line 1: bad value for \"panels_printed\""},
      {"track1_density = 100\n", "line 1: bad value for \"track1_density\""},
      {"feeder_mode = 3\n", "line 1: bad value for \"feeder_mode\""},
      {"reply V = \\x4\n", "line 1: bad escape in value"},
      {"reply V = ends in \\\n", "line 1: bad escape in value"},
      {"\n\njust words\n", "line 3: expected key = value"},
      {"nak V = -1\n", "line 1: nak count must be a number >= 0"},
      {"refuse V = 1\n", "line 1: unknown rule \"refuse\""},
  };
  for (const auto& c : cases) {
    PrinterProfile profile;
    profile.model = "unchanged";
    std::string error;
    EXPECT_FALSE(ParsePrinterProfile(c.text, &profile, &error)) << c.text;
    EXPECT_EQ(error, c.error) << c.text;
    EXPECT_EQ(profile.model, "unchanged");
  }
}

TEST(PrinterProfileTest, EscapesRoundTripEveryByte) {
  std::string all;
  for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
  std::string encoded = EncodeEscapes(all);
  for (char c : encoded) EXPECT_TRUE(c >= 0x20 && c < 0x7f);
  std::string decoded;
  ASSERT_TRUE(DecodeEscapes(encoded, &decoded));
  EXPECT_EQ(decoded, all);
  ASSERT_TRUE(DecodeEscapes("\\e!NL\\r\\0\\t\\n\\\\", &decoded));
  EXPECT_EQ(decoded, std::string("\x1b!NL\r\0\t\n\\", 9));
  EXPECT_EQ(EncodeEscapes("\x1bV\r"), "\\x1bV\\x0d");
}

TEST(PrinterProfileTest, AMissingFileIsAnError) {
  PrinterProfile profile;
  std::string error;
  EXPECT_FALSE(LoadPrinterProfile("/nonexistent/x.profile", &profile, &error));
  EXPECT_EQ(error, "cannot open /nonexistent/x.profile");
}

// What the tool reads from the firmware text: a 20-character text carries the
// smart-card letter at 5 and the encoder letter at 6, any other length at 6 and 7.
struct Layout {
  const char* file;
  const char* model;
  size_t length;
  char smartCard;
  bool encoder;
};

TEST(PrinterProfileTest, ShippedProfilesCoverEveryModelAndBothFirmwareLayouts) {
  const Layout layouts[] = {
      {"VKTS32.profile", "VKTS32", 20, '-', true},
      {"VKTS32-contact.profile", "VKTS32", 20, 'E', true},
      {"VKTS32-mifare.profile", "VKTS32", 20, 'A', true},
      {"VKTS32-noencoder.profile", "VKTS32", 20, '-', false},
      {"VKTS31.profile", "VKTS31", 20, '-', true},
      {"VKTS31-contact.profile", "VKTS31", 20, 'E', false},
      {"VKTS1.profile", "VKTS1", 20, '-', true},
      {"VKTS1-both-names.profile", "VKTS1", 20, ' ', false},
      {"VKTS3C.profile", "VKTS3C", 19, 'E', true},
      {"VKTS3C-21.profile", "VKTS3C", 21, 'A', true},
      {"VKTS3C-noencoder.profile", "VKTS3C", 19, '-', false},
  };
  size_t shipped = 0;
  for (const auto& entry : std::filesystem::directory_iterator(VKT_EMULATOR_PROFILES))
    if (entry.path().extension() == ".profile") ++shipped;
  EXPECT_EQ(shipped, std::size(layouts));

  for (const auto& layout : layouts) {
    SCOPED_TRACE(layout.file);
    PrinterProfile profile;
    std::string error;
    ASSERT_TRUE(LoadPrinterProfile(std::string(VKT_EMULATOR_PROFILES) + "/" + layout.file, &profile, &error))
        << error;
    EXPECT_EQ(profile.model, layout.model);
    const std::string& fw = profile.firmware;
    ASSERT_EQ(fw.size(), layout.length) << fw;
    size_t shift = fw.size() == 20 ? 0 : 1;
    EXPECT_EQ(fw[5 + shift], layout.smartCard) << fw;
    EXPECT_EQ(fw[6 + shift] == 'M', layout.encoder) << fw;
    EXPECT_EQ(profile.hasEncoder, layout.encoder);
    if (fw.size() == 20) {
      bool series1 = fw.find("VKT11") != std::string::npos;
      bool series31 = !series1 && fw.find("VKT31") != std::string::npos;
      EXPECT_EQ(series1, profile.model == "VKTS1");
      EXPECT_EQ(series31, profile.model == "VKTS31");
    }
    // The test cards print the firmware text's first and second words.
    EXPECT_NE(fw.find(' '), std::string::npos);
  }
}

TEST(PrinterProfileTest, TheFullExampleProfileStatesTheDefaults) {
  PrinterProfile fromFile;
  std::string error;
  ASSERT_TRUE(LoadPrinterProfile(std::string(VKT_EMULATOR_PROFILES) + "/VKTS32.profile", &fromFile, &error)) << error;
  PrinterEngine file{fromFile};
  PrinterEngine defaults{PrinterProfile()};
  for (const char* command : {"V", "%SERIE", "!V 15", "!V 3", "!V 16", "!V 4", "!V 17", "!NL", "!RIBLEN", "!RIBBON",
                              "&V", "ATM 1 1", "&L1", "&L2", "&L3", "+EC", "+BR", "$V", "+DL", "%HEAD", "+O", "+OY",
                              "+OB", "+OYB"})
    EXPECT_EQ(Ask(file, command), Ask(defaults, command)) << command;
  EXPECT_EQ(fromFile.resetRefuseMs, PrinterProfile().resetRefuseMs);
  EXPECT_EQ(fromFile.rawIdleMs, PrinterProfile().rawIdleMs);
}

}  // namespace
