// The two property-list formats against Python's plistlib: what the tool
// writes loads there with the exact keys and types, what plistlib writes loads
// here; and hostile files are refused with a reason.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>

#include "DriverSettingsArchive.h"
#include "PlistFile.h"
#include "PpdTestSupport.h"
#include "PrinterSettingsArchive.h"

namespace {

namespace fs = std::filesystem;
using ppd_test::ScratchDir;

// Runs a Python 3 snippet (plistlib is the reference reader and writer of
// property lists) with FILE and VALUE in its environment; its output.
std::string RunPython(const char* script, const std::string& path, const std::string& value = {}) {
  setenv("SCRIPT", script, 1), setenv("FILE", path.c_str(), 1), setenv("VALUE", value.c_str(), 1);
  std::string output;
  FILE* pipe = ::popen("python3 -c \"$SCRIPT\" 2>&1", "r");
  char buffer[4096];
  for (size_t n; pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  const int status = pipe ? ::pclose(pipe) : -1;
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "python3 failed:\n" << output;
  return output;
}

// Prints each dictionary as "key: key=value ..." in file order (a text in
// quotes), its sub-dictionaries after it.
constexpr const char* kDump = R"(
import plistlib, os
def dump(name, d):
    print(name + ':', ' '.join(k + ('' if isinstance(v, dict) else '=' + repr(v)) for k, v in d.items()))
    for k, v in d.items():
        if isinstance(v, dict): dump(k, v)
dump('', plistlib.load(open(os.environ['FILE'], 'rb')))
)";

std::string Text(const std::optional<std::string>& value) { return value ? "'" + *value + "'" : "-"; }
std::string Text(const std::optional<int>& value) { return value ? "'" + std::to_string(*value) + "'" : "-"; }

// The file read as driver settings, or else as printer settings.
std::string Describe(const std::string& path) {
  std::string error, text;
  if (const auto file = driver_settings::Read(path, error)) {
    text = std::to_string(file->PrintOnBothSides) + " " + std::to_string(file->Rotate180) + " " +
           std::to_string(file->MonoConversion) + " " + std::to_string(file->PrintingMode) + " |";
    for (int i = 0; i < JobLog_::kFlagCount; ++i) text += " " + std::to_string(file->JobLog.Flag(i));
    for (int i = JobLog_::kFlagCount; i < JobLog_::kFieldCount; ++i) text += " " + Text(file->JobLog.Text(i));
    return text;
  }
  const auto file = printer_settings::Read(path, error);
  if (!file) return error;
  text = "serial " + Text(file->SerialNo);
  for (const auto& entry : file->PrinterConfig) {
    if (const auto* o = std::get_if<printer_settings::OffsetEntry>(&entry))
      text += " offset " + Text(o->FrontX) + Text(o->FrontY) + Text(o->BackX) + Text(o->BackY);
    else if (const auto* feed = std::get_if<printer_settings::SingleFeedEntry>(&entry))
      text += " feed " + std::to_string(feed->Index);
    else
      for (const auto& item : std::get<printer_settings::MagneticEncodingEntry>(entry).Items) {
        if (const auto* t = std::get_if<printer_settings::TrackEntry>(&item))
          text += " track" + std::to_string(t->Number) + " " + Text(t->Mode) + Text(t->Density);
        else
          text += " coercivity '" + std::get<printer_settings::CoercivityEntry>(item).Text + "'";
      }
  }
  return text;
}

TEST(ArchiveFormats, WrittenFilesLoadInPlistlibWithExactKeysAndTypes) {
  ScratchDir dir;
  const std::string printer = (dir.path() / "printer.plist").string(), driver = (dir.path() / "driver.plist").string();
  printer_settings::PrinterSettings settings{
      "-12", "7\xff", "0", "+3\t\x7f", 1, "High Coercivity", {{{0, 1}, {2, 0}, {1, 1}}}, "VKT3200001\r\x15"};
  std::ofstream(printer) << std::string(5000, 'x');  // replaced as a whole
  std::string error;
  ASSERT_TRUE(printer_settings::Write(settings, printer, error)) << error;
  // The printer's terminator and NAK after the serial number, control
  // characters and a byte that is no UTF-8 are left out.
  EXPECT_EQ(RunPython(kDump, printer),
            ": PrinterConfig Serial_no='VKT3200001'\nPrinterConfig: Offset SingleFeed=1 MagneticEncoding\n"
            "Offset: Front_X_Offset='-12' Front_Y_Offset='7' Back_X_Offset='0' Back_Y_Offset='+3'\n"
            "MagneticEncoding: Coercivity='High Coercivity' Track1 Track2 Track3\nTrack1: Mode=0 Density=1\n"
            "Track2: Mode=2 Density=0\nTrack3: Mode=1 Density=1\n");
  // A byte-order mark is read past.
  std::ofstream(printer + ".bom") << "\xEF\xBB\xBF" << ppd_test::ReadFile(printer);
  EXPECT_EQ(Describe(printer + ".bom"),
            "serial 'VKT3200001' offset '-12''7''0''+3' feed 1 coercivity 'High Coercivity' track1 '0''1' track2 "
            "'2''0' track3 '1''1'");

  driver_settings::DriverSettings values;
  values.PrintOnBothSides = 1;
  values.MonoConversion = 2;
  values.PrintingMode = 0;
  values.JobLog.EnableLog = values.JobLog.Date = values.JobLog.MTrack3 = 1;
  values.JobLog.Separator = ";";
  values.JobLog.FileName = "Cards.log";
  // Whole characters stay; half of one, overlong forms, surrogates and one
  // beyond U+10FFFF go.
  values.JobLog.StaticText =
      "Gr\xc3\xbc\xc3\x9f\xe0\xa4\x85\xe2\x82\xac\xf0\x9f\x98\x80"
      "\xf4\x90\x80\x80\xc1\xbf\xe0\x80\xaf\xed\xa0\x80\xf0\x80\x80\x80!\xe2\x82";
  ASSERT_TRUE(driver_settings::Write(values, driver, error)) << error;
  EXPECT_EQ(
      RunPython(kDump, driver),
      ": VKTS3PrinterConfig\nVKTS3PrinterConfig: Print_on_both_sides=1 Rotate180=-1 Mono_Conversion=2 "
      "Printing_Mode=0 LogEnabled=1 Create_Each_Day_Log=0 Time=0 Date=1 Printer_SerialNumber=0 IPAddress=0 "
      "User_Name=0 JobID=0 Mdata1=0 Mdata2=0 Mdata3=1 Separator=';' FileName='Cards.log' StaticText='Grüßअ€😀!'\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 3);  // no temporary files
  // A folder that does not exist: a reason, and nothing written.
  const std::string nowhere = (dir.path() / "no" / "such.plist").string();
  EXPECT_FALSE(printer_settings::Write(settings, nowhere, error));
  EXPECT_EQ(error.rfind("Cannot create a file in " + (dir.path() / "no").string() + ": ", 0), 0u) << error;
}

TEST(ArchiveFormats, PlistlibFilesReadBackWithWrongTypesConvertedOrDropped) {
  ScratchDir dir;
  const std::string path = (dir.path() / "settings.plist").string();
  const std::pair<const char*, const char*> cases[] = {
      {"{'Serial_no': 'VKT3100002', 'PrinterConfig': {'SingleFeed': 1, 'Offset': {'Front_X_Offset': '-12', "
       "'Front_Y_Offset': '4', 'Back_X_Offset': '-1', 'Back_Y_Offset': '9'}, 'MagneticEncoding': {'Track2': "
       "{'Mode': 2, 'Density': 0}, 'Coercivity': 'Low Coercivity'}}}",
       "serial 'VKT3100002' coercivity 'Low Coercivity' track2 '2''0' offset '-12''4''-1''9' feed 1"},
      {"{'Serial_no': 42, 'PrinterConfig': {'SingleFeed': 'abc', 'Offset': {'Front_X_Offset': -5, 'Front_Y_Offset': "
       "['x'], 'Back_X_Offset': '2', 'Back_Y_Offset': True}, 'MagneticEncoding': {'Track1': {'Mode': '2', "
       "'Density': 1.9}, 'Track3': 'not a track'}}}",
       "serial '42' track1 '2''1' offset '-5'-'2''1' feed 0"},
      // Missing options are -1, a missing text stays null.
      {"{'VKTS3PrinterConfig': {'Print_on_both_sides': 1, 'Printing_Mode': 2, 'LogEnabled': 1, 'Mdata2': 1, "
       "'Separator': '|', 'FileName': 'Day.log', 'Unknown': 5}}",
       "1 -1 -1 2 | 1 0 0 0 0 0 0 0 0 1 0 '|' 'Day.log' -"},
      // A text without digits is 0; a dictionary or data has no number; a
      // number is not a text; a line break would add PPD lines.
      {"{'VKTS3PrinterConfig': {'Rotate180': '3', 'Mono_Conversion': 'abc', 'Printing_Mode': {'a': 1}, "
       "'Print_on_both_sides': b'\\x01', 'LogEnabled': True, 'Time': '1', 'Date': [1], 'Separator': 7, 'FileName': "
       "'a\\n*cupsFilter2: \"x\"', 'StaticText': 'ok'}}",
       "-1 3 0 -1 | 1 0 1 0 0 0 0 0 0 0 0 - - 'ok'"},
  };
  for (const auto& [python, expected] : cases) {
    RunPython("import plistlib, os\nplistlib.dump(eval(os.environ['VALUE']), open(os.environ['FILE'], 'wb'))", path,
              python);
    EXPECT_EQ(Describe(path), expected) << python;
  }
}

// A big-endian number of `bytes` bytes.
std::string Be(uint64_t value, int bytes) {
  std::string out;
  while (bytes-- > 0) out += static_cast<char>((value >> (8 * bytes)) & 0xFF);
  return out;
}

// A binary property list of `objects`, the first its root (4-byte offsets,
// references of `refSize` bytes).
std::string Binary(const std::vector<std::string>& objects, int refSize = 4) {
  std::string out = "bplist00", table;
  for (const std::string& object : objects) table += Be(out.size(), 4), out += object;
  return out + table + std::string(6, '\0') + "\x04" + static_cast<char>(refSize) + Be(objects.size(), 8) + Be(0, 8) +
         Be(out.size(), 8);
}

// A settings dictionary whose one value is `levels` arrays, each holding the next.
std::string Nested(int levels, bool binary) {
  std::vector<std::string> objects{"\xD1" + Be(1, 4) + Be(2, 4), "\x5F\x10\x12VKTS3PrinterConfig"};
  std::string open, close;
  for (int i = 0; i < levels; ++i) {
    objects.push_back(i + 1 < levels ? "\xA1" + Be(i + 3, 4) : "\xA0");
    open += "<array>", close += "</array>";
  }
  return binary ? Binary(objects) : "<plist><dict><key>VKTS3PrinterConfig</key>" + open + close + "</dict></plist>";
}

TEST(ArchiveFormats, HostileFilesAreRefusedWithAReason) {
  ScratchDir dir;
  // A settings dictionary whose one key holds a NUL, on which libplist would
  // abort; with one-byte references as plistlib writes them.
  const std::string nulKey = Binary(
      {"\xD1\x01\x02", "\x5F\x10\x12VKTS3PrinterConfig", "\xD1\x03\x04", std::string("\x53\x61\0b", 4), "\x10\x01"}, 1);
  const std::string head = "<?xml version=\"1.0\"?><plist>", notPlist = "is not a property list.";
  const std::string deep = "nests its values too deeply to be a settings file.";
  const std::string notDict = "holds \"VKTS3PrinterConfig\", but not as a dictionary of settings.";
  const std::pair<std::string, std::string> cases[] = {
      {Nested(20000, false), deep},
      {Nested(100000, true), deep},
      {Nested(16, true), deep},
      {Nested(15, true), notDict},
      {Nested(16, false), deep},
      {Nested(15, false), notDict},
      {nulKey, notPlist},
      {head + "<dict><key>VKTS3PrinterConfig</key><string>a" + std::string(1, '\0') + "b</string></dict></plist>",
       notPlist},
      {"", notPlist},
      {"Rotate180 = 3\n", notPlist},
      {std::string("bplist00\x01\x02\x03", 11), notPlist},
      {head + "<dict><key>VKTS3PrinterConfig</key><dict>", notPlist},
      {head + "<array><integer>1</integer></array></plist>", "does not hold a dictionary of settings."},
      {head + "<dict><key>VKTS3PrinterConfig</key><dict><key>x</key><string>" +
           std::string(plist_file::kMaxFileSize, 'a') + "</string></dict></dict></plist>",
       "is larger than 1 MiB and is not a settings file."},
      {"<plist><dict><key>VKTS3PrinterConfig</key><string>x</string></dict></plist>", notDict},
      {"<plist><dict><key>PrinterConfig</key><dict/></dict></plist>",
       "holds no driver settings (\"VKTS3PrinterConfig\" is missing)."},
  };
  const std::string path = (dir.path() / "file.plist").string();
  for (const auto& [content, reason] : cases) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    std::string error;
    EXPECT_FALSE(driver_settings::Read(path, error));
    EXPECT_EQ(error, "The file " + path + " " + reason);
  }
  for (const std::string& missing : {(dir.path() / "missing").string(), dir.path().string()})  // a folder too
    EXPECT_EQ(Describe(missing), "The file " + missing + " does not exist or is not a regular file.");
}

}  // namespace
