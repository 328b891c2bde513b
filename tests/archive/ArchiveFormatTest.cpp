// The two property-list formats against Python's plistlib: what the tool
// writes loads there with the exact keys and types, what plistlib writes loads
// here; and hostile files are refused with a reason.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "DriverSettingsArchive.h"
#include "PlistFile.h"
#include "PpdTestSupport.h"
#include "PrinterSettingsArchive.h"

namespace {

namespace fs = std::filesystem;
using ppd_test::ScratchDir;

// Runs a Python 3 snippet (plistlib is the reference reader and writer of
// property lists) with `path` and `value` as its arguments; its output.
std::string RunPython(const std::string& script, const std::string& path, const std::string& value = {}) {
  auto quote = [](const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
  };
  std::string output;
  FILE* pipe = ::popen(("python3 -c " + quote(script) + " " + quote(path) + " " + quote(value) + " 2>&1").c_str(), "r");
  char buffer[4096];
  for (size_t n; pipe && (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) output.append(buffer, n);
  const int status = pipe ? ::pclose(pipe) : -1;
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "python3 failed:\n" << output;
  return output;
}

// Prints each dictionary as "path: key=type:value ..." in file order, its
// sub-dictionaries after it.
constexpr const char* kDump = R"(
import plistlib, sys
def dump(path, d):
    print(path + ':', ' '.join(k + ('' if isinstance(v, dict) else '=' + type(v).__name__ + ':' + repr(v)) for k, v in d.items()))
    for k, v in d.items():
        if isinstance(v, dict): dump(path + '/' + k, v)
dump('', plistlib.load(open(sys.argv[1], 'rb')))
)";
// Writes the Python value given as the second argument.
constexpr const char* kWrite = "import plistlib, sys\nplistlib.dump(eval(sys.argv[2]), open(sys.argv[1], 'wb'))";

template <class T>
std::string Text(const std::optional<T>& value) {
  std::ostringstream text;
  if (value) text << "'" << *value << "'";
  return value ? text.str() : "-";
}

std::string Describe(const printer_settings::PrinterSettingsFile& file) {
  std::string text = "serial " + Text(file.SerialNo);
  for (const auto& entry : file.PrinterConfig) {
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

std::string Describe(const driver_settings::DriverSettingsFile& file) {
  std::string text = std::to_string(file.PrintOnBothSides) + " " + std::to_string(file.Rotate180) + " " +
                     std::to_string(file.MonoConversion) + " " + std::to_string(file.PrintingMode) + " |";
  for (int i = 0; i < JobLog_::kFlagCount; ++i) text += " " + std::to_string(file.JobLog.Flag(i));
  for (int i = JobLog_::kFlagCount; i < JobLog_::kFieldCount; ++i) text += " " + Text(file.JobLog.Text(i));
  return text;
}

TEST(ArchiveFormats, WrittenFilesLoadInPlistlibWithExactKeysAndTypes) {
  ScratchDir dir;
  const std::string printer = (dir.path() / "printer.plist").string(), driver = (dir.path() / "driver.plist").string();
  printer_settings::PrinterSettings settings{
      "-12", "7\xff", "0", "+3\t", 1, "High Coercivity", {{{0, 1}, {2, 0}, {1, 1}}}, "VKT3200001\r\x15"};
  std::ofstream(printer) << std::string(5000, 'x');  // replaced as a whole
  std::string error;
  ASSERT_TRUE(printer_settings::Write(settings, printer, error)) << error;
  EXPECT_EQ(RunPython(kDump, printer),
            ": PrinterConfig Serial_no=str:'VKT3200001'\n"
            "/PrinterConfig: Offset SingleFeed=int:1 MagneticEncoding\n"
            "/PrinterConfig/Offset: Front_X_Offset=str:'-12' Front_Y_Offset=str:'7' Back_X_Offset=str:'0' "
            "Back_Y_Offset=str:'+3'\n"
            "/PrinterConfig/MagneticEncoding: Coercivity=str:'High Coercivity' Track1 Track2 Track3\n"
            "/PrinterConfig/MagneticEncoding/Track1: Mode=int:0 Density=int:1\n"
            "/PrinterConfig/MagneticEncoding/Track2: Mode=int:2 Density=int:0\n"
            "/PrinterConfig/MagneticEncoding/Track3: Mode=int:1 Density=int:1\n");
  EXPECT_EQ(ppd_test::ReadFile(printer).substr(0, 5), "<?xml");  // the XML form, not the binary one
  // The printer's terminator and NAK after the serial number, a tab and a
  // byte that is no UTF-8 were left out above; a byte-order mark is read past.
  const std::string bom = (dir.path() / "bom.plist").string();
  std::ofstream(bom) << "\xEF\xBB\xBF" << ppd_test::ReadFile(printer);
  const auto withBom = printer_settings::Read(bom, error);
  ASSERT_TRUE(withBom) << error;
  EXPECT_EQ(withBom->SerialNo, "VKT3200001");

  driver_settings::DriverSettings values;
  values.PrintOnBothSides = 1;
  values.MonoConversion = 2;
  values.PrintingMode = 0;
  values.JobLog.EnableLog = values.JobLog.Date = values.JobLog.MTrack3 = 1;
  values.JobLog.Separator = ";";
  values.JobLog.FileName = "Cards.log";
  // Whole characters stay; half of one, and one beyond U+10FFFF, go.
  values.JobLog.StaticText = "Gr\xc3\xbc\xc3\x9f\xe2\x82\xac\xf0\x9f\x98\x80\xf4\x90\x80\x80!\xe2\x82";
  ASSERT_TRUE(driver_settings::Write(values, driver, error)) << error;
  EXPECT_EQ(RunPython(kDump, driver),
            ": VKTS3PrinterConfig\n/VKTS3PrinterConfig: Print_on_both_sides=int:1 Rotate180=int:-1 "
            "Mono_Conversion=int:2 Printing_Mode=int:0 LogEnabled=int:1 Create_Each_Day_Log=int:0 Time=int:0 "
            "Date=int:1 Printer_SerialNumber=int:0 IPAddress=int:0 User_Name=int:0 JobID=int:0 Mdata1=int:0 "
            "Mdata2=int:0 Mdata3=int:1 Separator=str:';' FileName=str:'Cards.log' StaticText=str:'Grüß€😀!'\n");
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 3);  // no temporary files
  // A folder that does not exist: a reason, and nothing written.
  const std::string nowhere = (dir.path() / "no" / "such.plist").string();
  EXPECT_FALSE(printer_settings::Write(settings, nowhere, error));
  EXPECT_NE(error.find("Cannot create a file in"), std::string::npos) << error;
  EXPECT_FALSE(fs::exists(nowhere));
}

TEST(ArchiveFormats, PlistlibFilesReadBackWithWrongTypesConvertedOrDropped) {
  ScratchDir dir;
  const std::string path = (dir.path() / "settings.plist").string();
  const struct {
    const char* python;
    std::string printer;  // empty: read as driver settings
    const char* driver;
  } cases[] = {
      {"{'Serial_no': 'VKT3100002', 'PrinterConfig': {'SingleFeed': 1, 'Offset': {'Front_X_Offset': '-12', "
       "'Front_Y_Offset': '4', 'Back_X_Offset': '-1', 'Back_Y_Offset': '9'}, 'MagneticEncoding': {'Track2': "
       "{'Mode': 2, 'Density': 0}, 'Coercivity': 'Low Coercivity'}}}",
       "serial 'VKT3100002' coercivity 'Low Coercivity' track2 '2''0' offset '-12''4''-1''9' feed 1", ""},
      {"{'Serial_no': 42, 'PrinterConfig': {'SingleFeed': 'abc', 'Offset': {'Front_X_Offset': -5, 'Front_Y_Offset': "
       "['x'], 'Back_X_Offset': '2', 'Back_Y_Offset': True}, 'MagneticEncoding': {'Track1': {'Mode': '2', "
       "'Density': 1.9}, 'Track3': 'not a track'}}}",
       "serial '42' track1 '2''1' offset '-5'-'2''1' feed 0", ""},
      // Missing options are -1, a missing text stays null.
      {"{'VKTS3PrinterConfig': {'Rotate180': -1, 'Printing_Mode': 2, 'LogEnabled': 1, 'Mdata2': 1, 'Separator': "
       "'|', 'FileName': 'Day.log', 'Unknown': 5}}",
       "", "-1 -1 -1 2 | 1 0 0 0 0 0 0 0 0 1 0 '|' 'Day.log' -"},
      // A text without digits is 0; a dictionary or data has no number; a
      // number is not a text; a line break would add PPD lines.
      {"{'VKTS3PrinterConfig': {'Rotate180': '3', 'Mono_Conversion': 'abc', 'Printing_Mode': {'a': 1}, "
       "'Print_on_both_sides': b'\\x01', 'LogEnabled': True, 'Time': '1', 'Date': [1], 'Separator': 7, 'FileName': "
       "'a\\n*cupsFilter2: \"x\"', 'StaticText': 'ok'}}",
       "", "-1 3 0 -1 | 1 0 1 0 0 0 0 0 0 0 0 - - 'ok'"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.python);
    RunPython(kWrite, path, c.python);
    std::string error;
    if (c.printer.empty()) {
      const auto file = driver_settings::Read(path, error);
      ASSERT_TRUE(file) << error;
      EXPECT_EQ(Describe(*file), c.driver);
    } else {
      const auto file = printer_settings::Read(path, error);
      ASSERT_TRUE(file) << error;
      EXPECT_EQ(Describe(*file), c.printer);
    }
  }
}

TEST(ArchiveFormats, HostileFilesAreRefusedWithAReason) {
  ScratchDir dir;
  auto nested = [](int levels) {
    std::string open, close;
    for (int i = 0; i < levels; ++i) open += "<array>", close += "</array>";
    return "<plist><dict><key>VKTS3PrinterConfig</key>" + open + close + "</dict></plist>";
  };
  // The same in binary form: a root dictionary whose one value is `levels`
  // arrays, each holding the next (2-byte object references, 4-byte offsets).
  auto binary = [](int levels) {
    std::string out = "bplist00";
    std::vector<uint32_t> offsets;
    const auto be = [&out](uint64_t value, int bytes) {
      for (int i = bytes - 1; i >= 0; --i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
    };
    offsets.push_back(static_cast<uint32_t>(out.size()));
    out += '\xD1';
    be(1, 2);
    be(2, 2);
    offsets.push_back(static_cast<uint32_t>(out.size()));
    out += std::string("\x5F\x10\x12", 3) + "VKTS3PrinterConfig";
    for (int level = 0; level < levels; ++level) {
      offsets.push_back(static_cast<uint32_t>(out.size()));
      out += level + 1 < levels ? '\xA1' : '\xA0';
      if (level + 1 < levels) be(static_cast<uint64_t>(level) + 3, 2);
    }
    const size_t table = out.size();
    for (uint32_t offset : offsets) be(offset, 4);
    out += std::string(6, '\0') + "\x04\x02";
    be(offsets.size(), 8);
    be(0, 8);
    be(table, 8);
    return out;
  };
  // The smallest binary form (one-byte offsets and references), as plistlib
  // writes it: a settings dictionary whose one key holds a NUL, on which
  // libplist would abort.
  const std::string nulKey = std::string(
                                 "bplist00\xD1\x01\x02\x5F\x10\x12VKTS3PrinterConfig\xD1\x03\x04\x53"
                                 "a\0b\x10\x01\x08\x0B \x23\x27",
                                 46) +
                             std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + "\x05" + std::string(15, '\0') +
                             "\x29";
  const std::string head = "<?xml version=\"1.0\"?><plist>", notPlist = "is not a property list.";
  const std::string deep = "nests its values too deeply to be a settings file.";
  const std::string notDict = "holds \"VKTS3PrinterConfig\", but not as a dictionary of settings.";
  const std::pair<std::string, std::string> cases[] = {
      {nested(20000), deep},
      {binary(100000), deep},
      {binary(16), deep},
      {binary(15), notDict},
      {nulKey, notPlist},
      {head + "<dict><key>VKTS3PrinterConfig</key><string>a" + std::string(1, '\0') + "b</string></dict></plist>",
       notPlist},
      {nested(16), deep},
      {nested(15), notDict},
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
    SCOPED_TRACE(reason);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
    std::string error;
    EXPECT_FALSE(driver_settings::Read(path, error));
    EXPECT_EQ(error, "The file " + path + " " + reason);
  }
  const std::string missing = (dir.path() / "missing").string();
  std::string error;
  EXPECT_FALSE(printer_settings::Read(missing, error));
  EXPECT_EQ(error, "The file " + missing + " does not exist or is not a regular file.");
  EXPECT_FALSE(printer_settings::Read(dir.path().string(), error));  // a folder
}

}  // namespace
