// The printer-settings restore over plain controls: which groups are sent, in
// the file's order, what the controls hold afterwards, and when another
// printer's file asks first.
#include <gtest/gtest.h>

#include <fstream>

#include "PpdTestSupport.h"
#include "PrinterSettingsTransfer.h"
#include "ScriptedPrompter.h"

namespace {

using printer_settings::RestoreResult;

constexpr char kSerial[] = "S32000001";

std::string Plist(const std::string& dict) {
  return "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>" + dict + "</dict></plist>";
}
std::string Serial(const std::string& serial) { return "<key>Serial_no</key><string>" + serial + "</string>"; }
std::string Config(const std::string& entries) { return "<key>PrinterConfig</key><dict>" + entries + "</dict>"; }

const std::string kOffsets =
    "<key>Offset</key><dict><key>Front_X_Offset</key><string>-12</string>"
    "<key>Back_Y_Offset</key><string>7</string></dict>";
const std::string kEncoding =
    "<key>MagneticEncoding</key><dict><key>Track2</key><dict><key>Mode</key><integer>0</integer>"
    "<key>Density</key><integer>0</integer></dict><key>Coercivity</key><string>Low Coercivity</string></dict>";

// The controls as a case expects them, described as text so a table row reads at a glance.
std::string Describe(const printer_settings::Controls& c) {
  std::string text = c.offsets[0] + "," + c.offsets[1] + "," + c.offsets[2] + "," + c.offsets[3] + " feed " +
                     std::to_string(c.feeder) + " tracks";
  for (const auto& track : c.tracks) text += " " + std::to_string(track.Mode) + "/" + std::to_string(track.Density);
  return text + (c.high ? " high" : "") + (c.low ? " low" : "");
}

TEST(PrinterSettingsTransfer, RestoreSendsEachGroupInFileOrderAndAsksAboutOtherPrinters) {
  using R = RestoreResult;
  const std::string untouched = "1,2,3,4 feed 0 tracks 0/0 1/1 2/0 high", other = Serial("S32999999");
  const std::string track3 =
      "<key>MagneticEncoding</key><dict><key>Track3</key><dict><key>Mode</key><integer>3</"
      "integer><key>Density</key><integer>2</integer></dict></dict>";
  const struct Case {
    std::string file;  // empty: no file at all
    int answer;        // -1: not asked
    R result;
    const char* actions;  // O offsets, F feeder, E encoder, in the order called
    std::string controls;
  } cases[] = {
      {Plist(Serial(kSerial) + Config(kEncoding + "<key>SingleFeed</key><integer>2</integer>" + kOffsets)), -1,
       R::kApplied, "EFO", "-12,2,3,7 feed 2 tracks 0/0 0/0 2/0 low"},
      {Plist(other + Config(kOffsets)), 1, R::kDeclined, "", untouched},
      {Plist(other + Config(kOffsets)), 0, R::kApplied, "O", "-12,2,3,7 feed 0 tracks 0/0 1/1 2/0 high"},
      // Indices the lists lack.
      {Plist(Serial(kSerial) + Config("<key>SingleFeed</key><integer>3</integer>")), -1, R::kApplied, "F",
       "1,2,3,4 feed -1 tracks 0/0 1/1 2/0 high"},
      {Plist(Serial(kSerial) + Config(track3)), -1, R::kApplied, "E", "1,2,3,4 feed 0 tracks 0/0 1/1 -1/-1 high"},
      // An empty coercivity keeps the radio pair.
      {Plist(Serial(kSerial) +
             Config("<key>MagneticEncoding</key><dict><key>Coercivity</key><string></string></dict>")),
       -1, R::kApplied, "E", untouched},
      {Plist(Config(kOffsets)), -1, R::kNoSerial, "", untouched},
      {Plist(Serial(kSerial)), -1, R::kApplied, "", untouched},  // a serial number alone: nothing to send
      {"not a plist", -1, R::kUnreadable, "", untouched},
      {"", -1, R::kUnreadable, "", untouched},
  };
  ppd_test::ScratchDir dir;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.file);
    const std::string path = (dir.path() / "settings.plist").string();
    std::filesystem::remove(path);
    if (!c.file.empty()) std::ofstream(path) << c.file;
    printer_settings::Controls controls;
    controls.offsets = {"1", "2", "3", "4"};
    controls.serialNo = std::string(kSerial) + "\r";  // the label keeps the printer's terminator
    std::string actions;
    printer_settings::RestoreActions record{[&](const auto&) { actions += 'O'; }, [&](const auto&) { actions += 'F'; },
                                            [&](const auto&) { actions += 'E'; }};
    ScriptedPrompter prompter;
    if (c.answer >= 0) prompter.answers = {c.answer};
    EXPECT_EQ(printer_settings::Restore(path, controls, prompter, "/icon.png", record), c.result);
    EXPECT_EQ(actions, c.actions);
    EXPECT_EQ(Describe(controls), c.controls);
    // The question's own text is pinned by the command line's test.
    std::string asked;
    for (const auto& p : prompter.prompts) asked += p.header + "|" + p.buttons.at(0) + p.buttons.at(1) + "|" + p.icon;
    EXPECT_EQ(asked, c.answer >= 0 ? "Restore Printer setting |OkCancel|/icon.png" : "");
  }
}

TEST(PrinterSettingsTransfer, CollectTakesTheControlsAsShown) {
  printer_settings::Controls controls{{"-12", "+3", "", "x"}, -1, {{{2, 1}, {-1, 0}, {0, -1}}}, false, false, kSerial};
  const printer_settings::PrinterSettings s = printer_settings::Collect(controls);
  // Neither button on saves as low: only a switched-on high saves as high. (The
  // serial number's copy is pinned by the main window's restore, which asks
  // nothing only when it matches.)
  EXPECT_EQ(s.FrontXOffset + "|" + s.FrontYOffset + "|" + s.BackXOffset + "|" + s.BackYOffset + "|" +
                std::to_string(s.SingleFeed) + "|" + std::to_string(s.Tracks[0].Mode) +
                std::to_string(s.Tracks[1].Mode) + std::to_string(s.Tracks[2].Density) + "|" + s.Coercivity,
            "-12|+3||x|-1|2-1-1|Low Coercivity");
}

}  // namespace
