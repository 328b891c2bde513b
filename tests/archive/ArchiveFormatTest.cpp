// The two property-list formats against Python's plistlib: what the tool
// writes loads there with the exact keys and types, what plistlib writes loads
// here; and hostile files are refused with a reason.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "DriverSettingsArchive.h"
#include "PlistFile.h"
#include "PpdTestSupport.h"
#include "PrinterSettingsArchive.h"
#include "PythonPlist.h"

namespace {

namespace fs = std::filesystem;
using archive_test::RunPython;
using ppd_test::ScratchDir;

// Prints every key path with its Python type and value, in file order.
constexpr const char* kDump = R"(
import plistlib, sys
with open(sys.argv[1], 'rb') as f:
    root = plistlib.load(f)
def dump(prefix, value):
    if isinstance(value, dict):
        print(prefix + ' dict ' + ','.join(value.keys()))
        for k, v in value.items():
            dump(prefix + '/' + k, v)
    else:
        print(prefix + ' ' + type(value).__name__ + ' ' + repr(value))
dump('', root)
)";

printer_settings::PrinterSettings SamplePrinterSettings() {
  printer_settings::PrinterSettings settings;
  settings.FrontXOffset = "-12";
  settings.FrontYOffset = "7";
  settings.BackXOffset = "0";
  settings.BackYOffset = "+3";
  settings.SingleFeed = 1;
  settings.Coercivity = "High Coercivity";
  settings.Tracks = {{{0, 1}, {2, 0}, {1, 1}}};
  settings.SerialNo = "VKT3200001";
  return settings;
}

TEST(PrinterSettingsFormat, WrittenFileLoadsInPlistlibWithExactKeysAndTypes) {
  ScratchDir dir;
  const std::string path = (dir.path() / "printer.plist").string();
  std::string error;
  ASSERT_TRUE(printer_settings::Write(SamplePrinterSettings(), path, error)) << error;
  EXPECT_EQ(RunPython(kDump, path),
            " dict PrinterConfig,Serial_no\n"
            "/PrinterConfig dict Offset,SingleFeed,MagneticEncoding\n"
            "/PrinterConfig/Offset dict Front_X_Offset,Front_Y_Offset,Back_X_Offset,Back_Y_Offset\n"
            "/PrinterConfig/Offset/Front_X_Offset str '-12'\n"
            "/PrinterConfig/Offset/Front_Y_Offset str '7'\n"
            "/PrinterConfig/Offset/Back_X_Offset str '0'\n"
            "/PrinterConfig/Offset/Back_Y_Offset str '+3'\n"
            "/PrinterConfig/SingleFeed int 1\n"
            "/PrinterConfig/MagneticEncoding dict Coercivity,Track1,Track2,Track3\n"
            "/PrinterConfig/MagneticEncoding/Coercivity str 'High Coercivity'\n"
            "/PrinterConfig/MagneticEncoding/Track1 dict Mode,Density\n"
            "/PrinterConfig/MagneticEncoding/Track1/Mode int 0\n"
            "/PrinterConfig/MagneticEncoding/Track1/Density int 1\n"
            "/PrinterConfig/MagneticEncoding/Track2 dict Mode,Density\n"
            "/PrinterConfig/MagneticEncoding/Track2/Mode int 2\n"
            "/PrinterConfig/MagneticEncoding/Track2/Density int 0\n"
            "/PrinterConfig/MagneticEncoding/Track3 dict Mode,Density\n"
            "/PrinterConfig/MagneticEncoding/Track3/Mode int 1\n"
            "/PrinterConfig/MagneticEncoding/Track3/Density int 1\n"
            "/Serial_no str 'VKT3200001'\n");
  // The XML form, not the binary one.
  std::ifstream in(path);
  std::string head(5, '\0');
  in.read(head.data(), 5);
  EXPECT_EQ(head, "<?xml");
}

TEST(PrinterSettingsFormat, PlistlibFileReadsBackWithItsValues) {
  ScratchDir dir;
  const std::string path = (dir.path() / "printer.plist").string();
  RunPython(R"(
import plistlib, sys
root = {'Serial_no': 'VKT3100002', 'PrinterConfig': {
  'SingleFeed': 1,
  'Offset': {'Front_X_Offset': '-12', 'Front_Y_Offset': '4', 'Back_X_Offset': '-1', 'Back_Y_Offset': '9'},
  'MagneticEncoding': {'Track2': {'Mode': 2, 'Density': 0}, 'Coercivity': 'Low Coercivity'}}}
with open(sys.argv[1], 'wb') as f:
    plistlib.dump(root, f, sort_keys=True)
)",
            path);
  std::string error;
  auto file = printer_settings::Read(path, error);
  ASSERT_TRUE(file) << error;
  EXPECT_EQ(file->SerialNo, "VKT3100002");
  ASSERT_EQ(file->PrinterConfig.size(), 3u);
  int seen = 0;
  for (const auto& entry : file->PrinterConfig) {
    if (const auto* offset = std::get_if<printer_settings::OffsetEntry>(&entry)) {
      ++seen;
      EXPECT_EQ(offset->FrontX, "-12");
      EXPECT_EQ(offset->FrontY, "4");
      EXPECT_EQ(offset->BackX, "-1");
      EXPECT_EQ(offset->BackY, "9");
    } else if (const auto* feed = std::get_if<printer_settings::SingleFeedEntry>(&entry)) {
      ++seen;
      EXPECT_EQ(feed->Index, 1);
    } else if (const auto* encoding = std::get_if<printer_settings::MagneticEncodingEntry>(&entry)) {
      ++seen;
      ASSERT_EQ(encoding->Items.size(), 2u);
      const auto* coercivity = std::get_if<printer_settings::CoercivityEntry>(&encoding->Items[0]);
      ASSERT_NE(coercivity, nullptr);
      EXPECT_EQ(coercivity->Text, "Low Coercivity");
      const auto* track = std::get_if<printer_settings::TrackEntry>(&encoding->Items[1]);
      ASSERT_NE(track, nullptr);
      EXPECT_EQ(track->Number, 2);
      EXPECT_EQ(track->Mode, 2);
      EXPECT_EQ(track->Density, 0);
    }
  }
  EXPECT_EQ(seen, 3);
}

TEST(PrinterSettingsFormat, WrongTypesAreConvertedAndContainersSkipped) {
  ScratchDir dir;
  const std::string path = (dir.path() / "printer.plist").string();
  RunPython(R"(
import plistlib, sys
root = {'Serial_no': 42, 'PrinterConfig': {
  'SingleFeed': 'abc',
  'Offset': {'Front_X_Offset': -5, 'Front_Y_Offset': ['x'], 'Back_X_Offset': '2', 'Back_Y_Offset': True},
  'MagneticEncoding': {'Track1': {'Mode': '2', 'Density': 1.9}, 'Track3': 'not a track'}}}
with open(sys.argv[1], 'wb') as f:
    plistlib.dump(root, f)
)",
            path);
  std::string error;
  auto file = printer_settings::Read(path, error);
  ASSERT_TRUE(file) << error;
  EXPECT_EQ(file->SerialNo, "42");
  for (const auto& entry : file->PrinterConfig) {
    if (const auto* offset = std::get_if<printer_settings::OffsetEntry>(&entry)) {
      EXPECT_EQ(offset->FrontX, "-5");
      EXPECT_EQ(offset->FrontY, std::nullopt);
      EXPECT_EQ(offset->BackX, "2");
      EXPECT_EQ(offset->BackY, "1");
    } else if (const auto* feed = std::get_if<printer_settings::SingleFeedEntry>(&entry)) {
      EXPECT_EQ(feed->Index, 0);  // a text without digits
    } else if (const auto* encoding = std::get_if<printer_settings::MagneticEncodingEntry>(&entry)) {
      ASSERT_EQ(encoding->Items.size(), 1u);  // "Track3" is not a dictionary
      const auto& track = std::get<printer_settings::TrackEntry>(encoding->Items[0]);
      EXPECT_EQ(track.Mode, 2);
      EXPECT_EQ(track.Density, 1);
    }
  }
}

driver_settings::DriverSettings SampleDriverSettings() {
  driver_settings::DriverSettings settings;
  settings.PrintOnBothSides = 1;
  settings.Rotate180 = -1;
  settings.MonoConversion = 2;
  settings.PrintingMode = 0;
  settings.JobLog.EnableLog = 1;
  settings.JobLog.Date = 1;
  settings.JobLog.MTrack3 = 1;
  settings.JobLog.Separator = ";";
  settings.JobLog.FileName = "Cards.log";
  // StaticText never read: written as an empty text.
  return settings;
}

TEST(DriverSettingsFormat, WrittenFileLoadsInPlistlibWithTheEighteenKeysInOrder) {
  ScratchDir dir;
  const std::string path = (dir.path() / "driver.plist").string();
  std::string error;
  ASSERT_TRUE(driver_settings::Write(SampleDriverSettings(), path, error)) << error;
  EXPECT_EQ(RunPython(kDump, path),
            " dict VKTS3PrinterConfig\n"
            "/VKTS3PrinterConfig dict Print_on_both_sides,Rotate180,Mono_Conversion,Printing_Mode,LogEnabled,"
            "Create_Each_Day_Log,Time,Date,Printer_SerialNumber,IPAddress,User_Name,JobID,Mdata1,Mdata2,Mdata3,"
            "Separator,FileName,StaticText\n"
            "/VKTS3PrinterConfig/Print_on_both_sides int 1\n"
            "/VKTS3PrinterConfig/Rotate180 int -1\n"
            "/VKTS3PrinterConfig/Mono_Conversion int 2\n"
            "/VKTS3PrinterConfig/Printing_Mode int 0\n"
            "/VKTS3PrinterConfig/LogEnabled int 1\n"
            "/VKTS3PrinterConfig/Create_Each_Day_Log int 0\n"
            "/VKTS3PrinterConfig/Time int 0\n"
            "/VKTS3PrinterConfig/Date int 1\n"
            "/VKTS3PrinterConfig/Printer_SerialNumber int 0\n"
            "/VKTS3PrinterConfig/IPAddress int 0\n"
            "/VKTS3PrinterConfig/User_Name int 0\n"
            "/VKTS3PrinterConfig/JobID int 0\n"
            "/VKTS3PrinterConfig/Mdata1 int 0\n"
            "/VKTS3PrinterConfig/Mdata2 int 0\n"
            "/VKTS3PrinterConfig/Mdata3 int 1\n"
            "/VKTS3PrinterConfig/Separator str ';'\n"
            "/VKTS3PrinterConfig/FileName str 'Cards.log'\n"
            "/VKTS3PrinterConfig/StaticText str ''\n");
}

TEST(DriverSettingsFormat, PlistlibFileReadsBackAndMissingOptionsAreMinusOne) {
  ScratchDir dir;
  const std::string path = (dir.path() / "driver.plist").string();
  RunPython(R"(
import plistlib, sys
root = {'VKTS3PrinterConfig': {'Rotate180': -1, 'Printing_Mode': 2, 'LogEnabled': 1, 'Mdata2': 1,
        'Separator': '|', 'FileName': 'Day.log', 'Unknown': 5}}
with open(sys.argv[1], 'wb') as f:
    plistlib.dump(root, f, sort_keys=False)
)",
            path);
  std::string error;
  auto file = driver_settings::Read(path, error);
  ASSERT_TRUE(file) << error;
  EXPECT_EQ(file->Rotate180, -1);
  EXPECT_EQ(file->PrintingMode, 2);
  EXPECT_EQ(file->PrintOnBothSides, -1);
  EXPECT_EQ(file->MonoConversion, -1);
  JobLog_ expected;
  expected.EnableLog = 1;
  expected.MTrack2 = 1;
  expected.Separator = "|";
  expected.FileName = "Day.log";
  EXPECT_EQ(file->JobLog, expected);  // StaticText absent: stays null
}

TEST(DriverSettingsFormat, WrongTypesAreConvertedOrRefused) {
  ScratchDir dir;
  const std::string path = (dir.path() / "driver.plist").string();
  RunPython(R"(
import plistlib, sys
root = {'VKTS3PrinterConfig': {'Rotate180': '3', 'Mono_Conversion': 'abc', 'Printing_Mode': {'a': 1},
        'Print_on_both_sides': b'\x01', 'LogEnabled': True, 'Time': '1', 'Date': [1],
        'Separator': 7, 'FileName': 'a\n*cupsFilter2: "x"', 'StaticText': 'ok'}}
with open(sys.argv[1], 'wb') as f:
    plistlib.dump(root, f)
)",
            path);
  std::string error;
  auto file = driver_settings::Read(path, error);
  ASSERT_TRUE(file) << error;
  EXPECT_EQ(file->Rotate180, 3);
  EXPECT_EQ(file->MonoConversion, 0);     // a text without digits
  EXPECT_EQ(file->PrintingMode, -1);      // a dictionary has no number
  EXPECT_EQ(file->PrintOnBothSides, -1);  // nor has data
  EXPECT_EQ(file->JobLog.EnableLog, 1);
  EXPECT_EQ(file->JobLog.Time, 1);
  EXPECT_EQ(file->JobLog.Date, 0);
  EXPECT_EQ(file->JobLog.Separator, std::nullopt);  // a number is not a text
  EXPECT_EQ(file->JobLog.FileName, std::nullopt);   // a line break would add PPD lines
  EXPECT_EQ(file->JobLog.StaticText, "ok");
}

// ---- files that are refused ----

struct Refusal {
  const char* name;
  std::string content;
  const char* reason;
};

TEST(ArchiveFiles, HostileFilesAreRefusedWithAReason) {
  ScratchDir dir;
  const std::string big = "<?xml version=\"1.0\"?><plist><dict><key>VKTS3PrinterConfig</key><dict><key>x</key><string>" +
                          std::string(plist_file::kMaxFileSize, 'a') + "</string></dict></dict></plist>";
  auto nested = [](int levels) {
    std::string open, close;
    for (int i = 0; i < levels; ++i) {
      open += "<array>";
      close += "</array>";
    }
    return "<plist><dict><key>VKTS3PrinterConfig</key>" + open + close + "</dict></plist>";
  };
  const Refusal cases[] = {
      {"deep", nested(20000), "nests its values too deeply"},
      {"seventeen", nested(16), "nests its values too deeply"},
      {"sixteen", nested(15), "not as a dictionary"},
      {"empty", "", "is not a property list"},
      {"text", "Rotate180 = 3\n", "is not a property list"},
      {"broken", "<?xml version=\"1.0\"?><plist><dict><key>VKTS3PrinterConfig</key><dict>", "is not a property list"},
      {"array", "<?xml version=\"1.0\"?><plist><array><integer>1</integer></array></plist>", "does not hold a dictionary"},
      {"big", big, "is larger than 1 MiB"},
      {"config-string", "<plist><dict><key>VKTS3PrinterConfig</key><string>x</string></dict></plist>",
       "not as a dictionary"},
      {"no-config", "<plist><dict><key>PrinterConfig</key><dict/></dict></plist>", "\"VKTS3PrinterConfig\" is missing"},
  };
  for (const Refusal& c : cases) {
    const std::string path = (dir.path() / c.name).string();
    std::ofstream(path, std::ios::binary) << c.content;
    std::string error;
    EXPECT_FALSE(driver_settings::Read(path, error)) << c.name;
    EXPECT_NE(error.find(c.reason), std::string::npos) << c.name << ": " << error;
  }
  std::string error;
  EXPECT_FALSE(printer_settings::Read((dir.path() / "missing").string(), error));
  EXPECT_NE(error.find("does not exist"), std::string::npos) << error;
  EXPECT_FALSE(printer_settings::Read(dir.path().string(), error));  // a folder
}

TEST(ArchiveFiles, WritingReplacesWholeFilesAndLeavesNoTemporaryFiles) {
  ScratchDir dir;
  const std::string path = (dir.path() / "driver.plist").string();
  std::ofstream(path) << std::string(5000, 'x');
  std::string error;
  ASSERT_TRUE(driver_settings::Write(SampleDriverSettings(), path, error)) << error;
  EXPECT_TRUE(driver_settings::Read(path, error)) << error;
  int entries = 0;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    (void)entry;
    ++entries;
  }
  EXPECT_EQ(entries, 1);
  // A folder that does not exist: a reason, and nothing written.
  const std::string nowhere = (dir.path() / "no" / "such.plist").string();
  EXPECT_FALSE(printer_settings::Write(SamplePrinterSettings(), nowhere, error));
  EXPECT_NE(error.find("Cannot create a file in"), std::string::npos) << error;
  EXPECT_FALSE(fs::exists(nowhere));
}

}  // namespace
