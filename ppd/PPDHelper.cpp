// The driver-settings model: reads the defaults of a queue's PPD with libcups
// and rewrites their lines in an edited copy installed by the PPD service.
#include "PPDHelper.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>

#include "CardModels.h"
#include "Log.h"
#include "Paths.h"
#include "UniqueFd.h"

namespace {

struct PpdClose {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdFile = std::unique_ptr<ppd_file_t, PpdClose>;

// Opens the PPD; a failure is reported on standard output, as the driver
// tools do, and leaves the caller's values alone.
PpdFile OpenPpd(const std::string& path) {
  PpdFile ppd(ppdOpenFile(path.c_str()));
  if (!ppd) {
    std::printf("PPD open failed %s", cupsLastErrorString());
    std::fflush(stdout);
  }
  return ppd;
}

// C atoi on the leading number, without atoi's undefined overflow: values out
// of range saturate.
int LeadingNumber(const char* text) {
  if (text == nullptr) return 0;
  errno = 0;
  long value = std::strtol(text, nullptr, 10);
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<int>(value);
}

// Puts the model string in place of the "%@" placeholder; a text without one
// (already formatted) stays as it is.
std::string WithModel(const std::string& text, const std::string& model) {
  const auto at = text.find("%@");
  if (at == std::string::npos) return text;
  std::string out = text;
  out.replace(at, 2, model);
  return out;
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) return;
  std::string out;
  size_t start = 0;
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, start)) {
    out.append(text, start, at - start);
    out.append(to);
    start = at + from.size();
  }
  if (start == 0) return;
  out.append(text, start, std::string::npos);
  text = std::move(out);
}

// Replaces every line that is exactly `from` (a CR before its line feed
// aside) by `to`: a job-log keyword such as "*IPAddress:" must not match
// inside another keyword's line ("*PrinterIPAddress: 192.168.1.20").
void ReplaceLines(std::string& text, const std::string& from, const std::string& to) {
  std::string out;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    end = end == std::string::npos ? text.size() : end + 1;
    const size_t content = text.compare(start, from.size(), from) == 0 ? start + from.size() : std::string::npos;
    const bool whole =
        content != std::string::npos && (content == end || text.compare(content, end - content, "\n") == 0 ||
                                         text.compare(content, end - content, "\r\n") == 0);
    if (whole) {
      out += to;
      out.append(text, content, end - content);
    } else {
      out.append(text, start, end - start);
    }
    start = end;
  }
  text = std::move(out);
}

bool IsUtf8(const std::string& text) {
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  for (size_t i = 0; i < n;) {
    const unsigned char c = s[i];
    if (c < 0x80) {
      ++i;
      continue;
    }
    size_t extra;
    uint32_t code;
    if (c >= 0xC2 && c <= 0xDF) {
      extra = 1, code = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
      extra = 2, code = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
      extra = 3, code = c & 0x07;
    } else {
      return false;
    }
    if (i + extra >= n) return false;
    for (size_t k = 1; k <= extra; ++k) {
      if ((s[i + k] & 0xC0) != 0x80) return false;
      code = (code << 6) | (s[i + k] & 0x3F);
    }
    if ((extra == 2 && code < 0x800) || (extra == 3 && code < 0x10000) || code > 0x10FFFF ||
        (code >= 0xD800 && code <= 0xDFFF))
      return false;
    i += extra + 1;
  }
  return true;
}

std::string LastPathComponent(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The eight value tables, one whole default line per index, with the model
// placeholder until the first InitPPD formats them.
struct ValueTables {
  std::vector<std::string> tables[8];
};

std::vector<std::string> Lines(const char* option, std::initializer_list<const char*> choices) {
  std::vector<std::string> lines;
  for (const char* choice : choices) lines.push_back(std::string("*Default%@") + option + ": " + choice);
  return lines;
}

ValueTables& SharedTables() {
  static ValueTables shared = [] {
    ValueTables t;
    using T = PPDHelper::OptionTable;
    t.tables[static_cast<int>(T::kDualSide)] = Lines("DualSidePrinting", {"0false", "1true"});
    t.tables[static_cast<int>(T::kOrientation)] = Lines("Orientation", {"0Landscape", "1Portrait"});
    t.tables[static_cast<int>(T::kRotation)] = Lines("Rotation", {"0None", "1Front", "2Back", "3Both"});
    t.tables[static_cast<int>(T::kMonoOption)] =
        Lines("MonoConversion", {"0Diffusion", "1HalfTone", "2Barcode", "3Text"});
    t.tables[static_cast<int>(T::kPrintingMode)] =
        Lines("PrintingMode", {"0PrintnEncode", "1EncodeOnly", "2PrintEncodeSameSide"});
    // "11MonoChrome" / "12Monochrome2000" and the stray "h" of index 14 are
    // the driver's own choice keywords and must match its PPD byte for byte.
    t.tables[static_cast<int>(T::kRibbonType)] =
        Lines("RibbonName", {"0YMCKO100", "1YMCKO200", "2YMCKO280", "3HalfYMCKO250", "4HalfYMCKO400", "5YMCKOK165",
                             "6YMCKOK230", "7YMCKOKO", "8HalfYMCKOKO250", "9OneByThreeYMCKOK310", "10KResin",
                             "11MonoChrome", "12Monochrome2000", "13WhiteMono", "14hWhiteMonochrome", "15KDO500",
                             "16KDO700", "17KrO500", "18KrO700"});
    t.tables[static_cast<int>(T::kRibbonCombination)] = Lines(
        "RibbonCombination",
        {"0FrontYmcoBackK", "1FrontYmckoBackYmcko", "2FrontYmcBackKO", "3FrontYmckBackK", "4FrontYmckoBackK",
         "5FrontYmckoBackKo", "6FrontYmcoBackKo", "7FrontYmckBackKo", "8FrontKrOBackKrO", "9FrontKdOBackKdO",
         "10FrontKBackK", "11FrontKrO", "12FrontKdO", "13FrontK", "14FrontYMCKO", "15FrontWrBackKr", "16FrontWr"});
    t.tables[static_cast<int>(T::kAutoHalf)] = Lines("AutoHalfPanel", {"0false", "1true"});
    return t;
  }();
  return shared;
}

std::vector<std::string>& Table(PPDHelper::OptionTable which) {
  return SharedTables().tables[static_cast<int>(which)];
}

}  // namespace

const std::vector<std::string>& PPDHelper::ValueTable(OptionTable table) { return Table(table); }

const std::array<const char*, JobLog_::kFieldCount>& PPDHelper::JobLogLinePrefixes() {
  // No blank after the colon in the last three, and the asterisk on the file
  // name only: these are the texts the driver's PPD holds.
  static const std::array<const char*, JobLog_::kFieldCount> prefixes = {
      "EnableLog: ", "EachDayLogFile: ", "Time: ",    "Date: ",    "SerialNumber: ", "IPAddress: ",  "UserName: ",
      "JobID: ",     "MTrack1: ",        "MTrack2: ", "MTrack3: ", "Separator:",     "*FileName:", "StaticText:"};
  return prefixes;
}

PPDHelper::PPDHelper() { InitVariables(); }

// ---------------------------------------------------------------- reader

void PPDHelper::InitPPD(const std::string& path) {
  InitVariables();
  PPDFileName = path;
  source_ = std::make_unique<QueuePpdSource>(path);
  loaded_ = false;
  AssignPrintermodel();
  UpdatePPDVariables();
  LoadPPDDefaults();
  ConstructPPDStringList();
}

std::string PPDHelper::ReadablePPDFileName() {
  if (!source_ || source_->InstalledPath() != PPDFileName) source_ = std::make_unique<QueuePpdSource>(PPDFileName);
  return source_->ReadablePath();
}

void PPDHelper::InitVariables() {
  PPD_DUAL_SIDE = "%@DualSidePrinting";
  PPD_ORIENTATION = "%@Orientation";
  PPD_MONO_OPTION = "%@MonoConversion";
  PPD_PRINTING_MODE = "%@PrintingMode";
  PPD_RIBBON_NAME = "%@RibbonName";
  PPD_RIBBON_COMBINATION = "%@RibbonCombination";
  PPD_AUTO_HALF = "%@AutoHalfPanel";
  PPD_ROTATION = "%@Rotation";

  PPD_JL_ENABLE_LOG = "EnableLog";
  PPD_JL_EVERYDAY_LOG = "EachDayLogFile";
  PPD_JL_TIME = "Time";
  PPD_JL_DATE = "Date";
  PPD_JL_SERIAL = "SerialNumber";
  PPD_JL_IPADDR = "IPAddress";
  PPD_JL_USERNAME = "UserName";
  PPD_JL_JOBID = "JobID";
  PPD_JL_TRACK1 = "MTrack1";
  PPD_JL_TRACK2 = "MTrack2";
  PPD_JL_TRACK3 = "MTrack3";
  PPD_JL_SEPARATOR = "Separator";
  PPD_JL_FILENAME = "FileName";
  PPD_JL_STATICTEXT = "StaticText";

  PPD_nDualSettings = 0;
  PPD_nOrientation = 0;
  PPD_nRotation = 0;
  PPD_nRibbonType = 0;
  PPD_nMonoOption = 0;
  PPD_nPrintingMode = 0;
  PPD_nRibbonComb = 0;
  PPD_nAutoHalf = 0;
  PPD_nPrinterModel = -1;
  PrinterModel.clear();
  PPDFileName.clear();
  PPD_nRibbonAlert = 1;
}

void PPDHelper::AssignPrintermodel() {
  PpdFile ppd = OpenPpd(ReadablePPDFileName());
  loaded_ = static_cast<bool>(ppd);
  if (!ppd || ppd->pcfilename == nullptr) return;
  if (const int model = card_models::ModelOfPcFileName(ppd->pcfilename); model >= 0) PPD_nPrinterModel = model;
}

std::string PPDHelper::GetPrinterModelString() const {
  switch (PPD_nPrinterModel) {
    case 0: return "VKTS32";
    case 1: return "VKTS31";
    case 2: return "VKTS1";
    case 3: return "VKTS3C";  // the file is VKTS32C.PPD, its keywords say VKTS3C
    default: return "";
  }
}

void PPDHelper::UpdatePPDVariables() {
  PrinterModel = GetPrinterModelString();
  for (std::string* keyword :
       {&PPD_DUAL_SIDE, &PPD_ORIENTATION, &PPD_MONO_OPTION, &PPD_PRINTING_MODE, &PPD_RIBBON_NAME,
        &PPD_RIBBON_COMBINATION, &PPD_AUTO_HALF, &PPD_ROTATION, &PPD_JL_ENABLE_LOG, &PPD_JL_EVERYDAY_LOG, &PPD_JL_TIME,
        &PPD_JL_DATE, &PPD_JL_SERIAL, &PPD_JL_IPADDR, &PPD_JL_USERNAME, &PPD_JL_JOBID, &PPD_JL_TRACK1, &PPD_JL_TRACK2,
        &PPD_JL_TRACK3}) {
    *keyword = WithModel(*keyword, PrinterModel);
  }
}

void PPDHelper::AssignPrinterModelValues(std::vector<std::string>& table, int count) {
  for (int i = 0; i < count && static_cast<size_t>(i) < table.size(); ++i) table[i] = WithModel(table[i], PrinterModel);
}

void PPDHelper::ConstructPPDStringList() {
  AssignPrinterModelValues(Table(OptionTable::kDualSide), 2);
  AssignPrinterModelValues(Table(OptionTable::kOrientation), 2);
  AssignPrinterModelValues(Table(OptionTable::kRotation), 4);
  AssignPrinterModelValues(Table(OptionTable::kMonoOption), 4);
  AssignPrinterModelValues(Table(OptionTable::kPrintingMode), 3);
  AssignPrinterModelValues(Table(OptionTable::kRibbonType), 19);
  AssignPrinterModelValues(Table(OptionTable::kRibbonCombination), 17);
  AssignPrinterModelValues(Table(OptionTable::kAutoHalf), 2);
}

void PPDHelper::LoadPPDDefaults() {
  PpdFile ppd = OpenPpd(ReadablePPDFileName());
  if (!ppd) return;
  PPD_nDualSettings = GetPPDOptions(PPD_DUAL_SIDE, ppd.get());
  PPD_nOrientation = GetPPDOptions(PPD_ORIENTATION, ppd.get());
  PPD_nRotation = GetPPDOptions(PPD_ROTATION, ppd.get());
  PPD_nRibbonType = GetPPDOptions(PPD_RIBBON_NAME, ppd.get());
  PPD_nMonoOption = GetPPDOptions(PPD_MONO_OPTION, ppd.get());
  PPD_nPrintingMode = GetPPDOptions(PPD_PRINTING_MODE, ppd.get());
  PPD_nRibbonComb = GetPPDOptions(PPD_RIBBON_COMBINATION, ppd.get());
  PPD_nAutoHalf = GetPPDOptions(PPD_AUTO_HALF, ppd.get());
  PPD_strIPAddress = GetPPDAttributeStr("PrinterIPAddress", ppd.get()).value_or("");
  PPD_strPrinterSerialNo = GetPPDAttributeStr("PrinterSerialNo", ppd.get()).value_or("");
  PPD_nFrontX = GetPPDAttributeInt("FrontX", ppd.get());
  PPD_nBackX = GetPPDAttributeInt("BackX", ppd.get());
  PPD_nFrontY = GetPPDAttributeInt("FrontY", ppd.get());
  PPD_nBackY = GetPPDAttributeInt("BackY", ppd.get());
}

std::array<int, 7> PPDHelper::GetPPDDefaultValues() {
  LoadPPDDefaults();
  return {PPD_nRotation, PPD_nMonoOption, PPD_nPrintingMode, PPD_nDualSettings,
          PPD_nRibbonComb, PPD_nRibbonType, PPD_nAutoHalf};
}

JobLog_ PPDHelper::GetPPDJobLogDefaultValues() {
  JobLog_ record;
  PpdFile ppd = OpenPpd(ReadablePPDFileName());
  if (!ppd) return record;
  const std::string* names[JobLog_::kFieldCount] = {
      &PPD_JL_ENABLE_LOG, &PPD_JL_EVERYDAY_LOG, &PPD_JL_TIME,   &PPD_JL_DATE,   &PPD_JL_SERIAL,
      &PPD_JL_IPADDR,     &PPD_JL_USERNAME,     &PPD_JL_JOBID,  &PPD_JL_TRACK1, &PPD_JL_TRACK2,
      &PPD_JL_TRACK3,     &PPD_JL_SEPARATOR,    &PPD_JL_FILENAME, &PPD_JL_STATICTEXT};
  for (int i = 0; i < JobLog_::kFlagCount; ++i) record.Flag(i) = GetPPDAttributeInt(*names[i], ppd.get());
  for (int i = JobLog_::kFlagCount; i < JobLog_::kFieldCount; ++i)
    record.Text(i) = GetPPDAttributeStr(*names[i], ppd.get());

  PPD_JL_nEnable_Log = record.EnableLog;
  PPD_JL_nEveryDay_Log = record.EachDayLogFile;
  PPD_JL_nTime = record.Time;
  PPD_JL_nDate = record.Date;
  PPD_JL_nSerialNo = record.SerialNumber;
  PPD_JL_nIPAddress = record.IPAddress;
  PPD_JL_nUserName = record.UserName;
  PPD_JL_nJobID = record.JobID;
  PPD_JL_nTrack1 = record.MTrack1;
  PPD_JL_nTrack2 = record.MTrack2;
  PPD_JL_nTrack3 = record.MTrack3;
  PPD_JL_strSeparator = record.Separator.value_or("");
  PPD_JL_strFileName = record.FileName.value_or("");
  PPD_JL_strStaticText = record.StaticText.value_or("");
  oldLogvalues = record;
  return record;
}

int PPDHelper::GetPPDOptions(const std::string& keyword, ppd_file_t* ppd) {
  if (keyword.empty() || ppd == nullptr) return 0;
  ppd_option_t* option = ppdFindOption(ppd, keyword.c_str());
  if (option == nullptr) {
    VktLog("No such a option name found %s\n", cupsLastErrorString());
    return 0;
  }
  return LeadingNumber(option->defchoice);
}

std::optional<std::string> PPDHelper::GetPPDAttributeStr(const std::string& name, ppd_file_t* ppd) {
  if (name.empty() || ppd == nullptr) return std::nullopt;
  ppd_attr_t* attr = ppdFindAttr(ppd, name.c_str(), nullptr);
  if (attr == nullptr) {
    VktLog("No such a option name found %s\n", cupsLastErrorString());
    return std::string();
  }
  const char* value = attr->value ? attr->value : "";
  VktLog("attr value is %s\n", value);
  return std::string(value);
}

int PPDHelper::GetPPDAttributeInt(const std::string& name, ppd_file_t* ppd) {
  const std::optional<std::string> value = GetPPDAttributeStr(name, ppd);
  return value ? LeadingNumber(value->c_str()) : 0;
}

std::optional<std::map<std::string, std::string>> PPDHelper::ChoiceTexts(const std::string& keyword) {
  PpdFile ppd = OpenPpd(ReadablePPDFileName());
  if (!ppd) return std::nullopt;
  ppd_option_t* option = keyword.empty() ? nullptr : ppdFindOption(ppd.get(), keyword.c_str());
  if (option == nullptr) {
    VktLog("No such a option name found\n");
    return std::nullopt;
  }
  std::map<std::string, std::string> texts;
  for (int i = 0; i < option->num_choices; ++i) {
    const ppd_choice_t& choice = option->choices[i];
    texts[std::to_string(LeadingNumber(choice.choice))] = choice.text;
  }
  return texts;
}

std::optional<std::map<std::string, std::string>> PPDHelper::GetAllSupportedRibbonTypes() {
  return ChoiceTexts(PPD_RIBBON_NAME);
}

std::optional<std::map<std::string, std::string>> PPDHelper::GetAllRibbonCombination() {
  return ChoiceTexts(PPD_RIBBON_COMBINATION);
}

int PPDHelper::IsRibbonAlertEnabled() const { return PPD_nRibbonAlert; }

void PPDHelper::DeleteFile(const std::string& path) {
  // Deletable means: it exists and its folder lets us remove entries (in a
  // sticky folder only our own files). Folders are never removed with their
  // contents: the paths given here name files.
  struct stat entry {};
  if (path.empty() || ::lstat(path.c_str(), &entry) != 0) return;
  std::string folder = std::filesystem::path(path).parent_path().string();
  if (folder.empty()) folder = ".";
  struct stat parent {};
  if (::stat(folder.c_str(), &parent) != 0 || ::access(folder.c_str(), W_OK | X_OK) != 0) return;
  const uid_t me = ::geteuid();
  if ((parent.st_mode & S_ISVTX) && me != 0 && entry.st_uid != me && parent.st_uid != me) return;
  std::error_code error;
  std::filesystem::remove(path, error);
  if (error) VktLog("Error removing file at path: %s", error.message().c_str());
}

// ---------------------------------------------------------------- rewriter

std::string PPDHelper::GetTempPPDFileName() const {
  return vkt_paths::TemporaryDirectory() + LastPathComponent(PPDFileName);
}

std::optional<std::string> PPDHelper::GetFileData(const std::string& path) {
  UniqueFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!fd.Valid()) return std::nullopt;
  struct stat info {};
  if (::fstat(fd.Get(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  std::string text;
  char buffer[8192];
  for (;;) {
    const ssize_t n = ::read(fd.Get(), buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return std::nullopt;
    if (n == 0) break;
    text.append(buffer, static_cast<size_t>(n));
  }
  if (!IsUtf8(text)) return std::nullopt;
  return text;
}

int PPDHelper::SaveFileData(const std::string& text, const std::string& path) {
  // Not through a link: the temporary folder may be a shared one.
  UniqueFd fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0600));
  const char* reason = nullptr;
  if (!fd.Valid()) {
    reason = std::strerror(errno);
  } else {
    size_t done = 0;
    while (done < text.size()) {
      const ssize_t n = ::write(fd.Get(), text.data() + done, text.size() - done);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) {
        reason = n < 0 ? std::strerror(errno) : "nothing written";
        break;
      }
      done += static_cast<size_t>(n);
    }
    if (reason == nullptr && fd.Close() != 0) reason = std::strerror(errno);
  }
  if (reason != nullptr) {
    VktLog("Error writing file at %s\n%s", path.c_str(), reason);
    return -1;
  }
  return 0;
}

std::optional<std::string> PPDHelper::BeginSave() {
  // The edited copy is made from what this user can read; the service checks
  // it against the installed file before it puts it in place.
  std::optional<std::string> text = GetFileData(ReadablePPDFileName());
  const std::string name = LastPathComponent(PPDFileName);
  // Without a file name the temporary path would be the folder itself.
  if (!name.empty() && name != "." && name != ".." && name != "/") DeleteFile(GetTempPPDFileName());
  return text;
}

int PPDHelper::FinishSave(const std::optional<std::string>& text, bool reload) {
  const std::string tempPath = GetTempPPDFileName();
  VktLog("FileContent %s", text ? text->c_str() : "(null)");
  if (!text) {
    VktLog("Error writing file at %s\n%s", tempPath.c_str(), "the PPD file could not be read");
    return -1;
  }
  const std::string name = LastPathComponent(PPDFileName);
  if (name.empty() || name == "." || name == ".." || name == "/") {
    VktLog("Error writing file at %s\n%s", tempPath.c_str(), "the PPD path has no file name");
    return -1;
  }
  if (SaveFileData(*text, tempPath) != 0) return -1;
  const int result = SavePPDFileAsRoot(tempPath.c_str(), PPDFileName.c_str());
  if (source_) source_->Invalidate();
  if (reload) LoadPPDDefaults();
  return result;
}

bool PPDHelper::ReplaceOption(std::optional<std::string>& text, const std::vector<std::string>& table, int current,
                              int wanted) {
  if (wanted == -1 || wanted == current) return false;
  const auto inside = [&](int index) { return index >= 0 && static_cast<size_t>(index) < table.size(); };
  if (!inside(current) || !inside(wanted)) {
    // The driver has no line for such an index (the tool sends monochrome 5
    // for the KdO combinations): leave the line as it is.
    VktLog("No PPD line for index %d (current %d) in %s\n", wanted, current,
           table.empty() ? "" : table.front().c_str());
    return false;
  }
  if (text) ReplaceAll(*text, table[current], table[wanted]);
  return true;
}

int PPDHelper::SaveRibbonType(int ribbonIndex) {
  std::optional<std::string> text = BeginSave();
  ReplaceOption(text, Table(OptionTable::kRibbonType), PPD_nRibbonType, ribbonIndex);
  return FinishSave(text, true);
}

int PPDHelper::SavePPDInformation(const PPDInformation& values) {
  std::optional<std::string> text = BeginSave();
  bool changed = false;
  const auto replace = [&](const std::string& from, const std::string& to) {
    if (text) ReplaceAll(*text, from, to);
    changed = true;
  };
  // An empty serial number replaces the stored one; an empty IP address never
  // clears it (a USB printer has none to offer).
  if (values.SerialNo != PPD_strPrinterSerialNo)
    replace("PrinterSerialNo: " + PPD_strPrinterSerialNo, "PrinterSerialNo: " + values.SerialNo);
  if (!values.IPAddress.empty() && values.IPAddress != PPD_strIPAddress)
    replace("PrinterIPAddress: " + PPD_strIPAddress, "PrinterIPAddress: " + values.IPAddress);
  const struct {
    const char* name;
    int current, wanted;
  } offsets[] = {{"FrontX: ", PPD_nFrontX, values.FrontX},
                 {"BackX: ", PPD_nBackX, values.BackX},
                 {"FrontY: ", PPD_nFrontY, values.FrontY},
                 {"BackY: ", PPD_nBackY, values.BackY}};
  for (const auto& offset : offsets) {
    if (offset.wanted != offset.current)
      replace(offset.name + std::to_string(offset.current), offset.name + std::to_string(offset.wanted));
  }
  changed |= ReplaceOption(text, Table(OptionTable::kRotation), PPD_nRotation, values.Rotation);
  changed |= ReplaceOption(text, Table(OptionTable::kMonoOption), PPD_nMonoOption, values.MonoOption);
  changed |= ReplaceOption(text, Table(OptionTable::kPrintingMode), PPD_nPrintingMode, values.PrintingMode);
  changed |= ReplaceOption(text, Table(OptionTable::kDualSide), PPD_nDualSettings, values.DualSide);
  changed |= ReplaceOption(text, Table(OptionTable::kRibbonCombination), PPD_nRibbonComb, values.RibbonCombination);
  changed |= ReplaceOption(text, Table(OptionTable::kRibbonType), PPD_nRibbonType, values.RibbonType);
  changed |= ReplaceOption(text, Table(OptionTable::kAutoHalf), PPD_nAutoHalf, values.AutoHalf);
  if (!changed) return 0;
  return FinishSave(text, true);
}

int PPDHelper::RestorePPDSettings(const std::vector<int>& values) {
  const auto at = [&](size_t i) { return i < values.size() ? values[i] : -1; };
  std::optional<std::string> text = BeginSave();
  ReplaceOption(text, Table(OptionTable::kRotation), PPD_nRotation, at(0));
  ReplaceOption(text, Table(OptionTable::kMonoOption), PPD_nMonoOption, at(1));
  ReplaceOption(text, Table(OptionTable::kPrintingMode), PPD_nPrintingMode, at(2));
  ReplaceOption(text, Table(OptionTable::kDualSide), PPD_nDualSettings, at(3));
  return FinishSave(text, false);
}

int PPDHelper::SaveJobLogSettings(const JobLog_& values) {
  std::optional<std::string> text = BeginSave();
  const auto& prefixes = JobLogLinePrefixes();
  // Each field is the whole line of its own keyword.
  const auto keyword = [&](int i) { return std::string(prefixes[i][0] == '*' ? "" : "*") + prefixes[i]; };
  for (int i = 0; i < JobLog_::kFlagCount; ++i) {
    const int32_t before = oldLogvalues.Flag(i), after = values.Flag(i);
    if (after != before && text)
      ReplaceLines(*text, keyword(i) + std::to_string(before), keyword(i) + std::to_string(after));
  }
  for (int i = JobLog_::kFlagCount; i < JobLog_::kFieldCount; ++i) {
    // A text never read (nullopt) names no line: nothing to replace, and
    // nothing to write over a line that holds one.
    const auto& before = oldLogvalues.Text(i);
    const auto& after = values.Text(i);
    if (before && after && *before != *after && text) ReplaceLines(*text, keyword(i) + *before, keyword(i) + *after);
  }
  return FinishSave(text, true);
}
