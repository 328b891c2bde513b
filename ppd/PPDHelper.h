// PPDHelper: the driver-settings model of one print queue's PPD file. Reads
// the driver defaults with libcups and changes them by rewriting lines of an
// edited copy, which the privileged PPD service puts in place.
#pragma once

#include <cups/ppd.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "JobLog_.h"
#include "QueuePpdSource.h"
#include "SavePPDFileAsRoot.h"

// The thirteen values SavePPDInformation writes, in the order the main window
// collects them. The first seven are the order of GetPPDDefaultValues. An
// option index of -1 means "leave that option as it is".
struct PPDInformation {
  int Rotation = -1;           // 0  rotation table
  int MonoOption = -1;         // 1  monochrome-conversion table
  int PrintingMode = -1;       // 2  printing-mode table
  int DualSide = -1;           // 3  two-sided table
  int RibbonCombination = -1;  // 4  ribbon-combination table
  int RibbonType = -1;         // 5  ribbon-type table
  int AutoHalf = -1;           // 6  half-panel table
  int FrontX = 0;              // 7  "FrontX: %d"
  int FrontY = 0;              // 8  "FrontY: %d"
  int BackX = 0;               // 9  "BackX: %d"
  int BackY = 0;               // 10 "BackY: %d"
  std::string SerialNo;        // 11 "PrinterSerialNo: %@" (empty replaces the stored one)
  std::string IPAddress;       // 12 "PrinterIPAddress: %@" (empty keeps the stored one)
};

class PPDHelper {
 public:
  // The eight option value tables. Each entry is a whole default line,
  // "*Default<model><Option>: <index><name>", so the table index is the
  // option value. The tables are shared by the whole process and take the
  // model prefix of the first InitPPD; later InitPPD calls keep it.
  enum class OptionTable { kDualSide, kOrientation, kRotation, kMonoOption, kPrintingMode, kRibbonType, kRibbonCombination, kAutoHalf };
  static const std::vector<std::string>& ValueTable(OptionTable table);

  // The start of each job-log line the rewriter matches, by job-log index; the
  // value follows directly ("EnableLog: " ... "MTrack3: ", then "Separator:",
  // "*FileName:", "StaticText:" without a blank).
  static const std::array<const char*, JobLog_::kFieldCount>& JobLogLinePrefixes();

  PPDHelper();
  PPDHelper(const PPDHelper&) = delete;
  PPDHelper& operator=(const PPDHelper&) = delete;

  // ---- Reader ----

  // The only set-up entry: InitVariables, store the path, AssignPrintermodel,
  // UpdatePPDVariables, LoadPPDDefaults, ConstructPPDStringList.
  void InitPPD(const std::string& path);
  // True when the last InitPPD could open the PPD, directly or through the
  // scheduler's copy: without it there are no driver settings to show.
  bool IsLoaded() const { return loaded_; }
  // The file the settings are read from: PPDFileName when this user may read
  // it, else the scheduler's copy of the queue's PPD.
  std::string ReadablePPDFileName();
  void InitVariables();
  // Model number from the PPD's PCFileName; unchanged when it is unknown or
  // the file cannot be opened.
  void AssignPrintermodel();
  // "VKTS32", "VKTS31", "VKTS1", "VKTS3C" for models 0..3, "" otherwise.
  std::string GetPrinterModelString() const;
  void UpdatePPDVariables();
  // Puts PrinterModel into the first `count` lines of `table` that still hold
  // the placeholder.
  void AssignPrinterModelValues(std::vector<std::string>& table, int count);
  void ConstructPPDStringList();
  // Re-reads the eight option defaults, the IP address, serial number and
  // the four offsets from the file.
  void LoadPPDDefaults();
  // LoadPPDDefaults, then: rotation, monochrome conversion, printing mode,
  // two-sided printing, ribbon combination, ribbon type, automatic half panel.
  std::array<int, 7> GetPPDDefaultValues();
  // The job-log settings from the file; also stored in the PPD_JL_ values and
  // in oldLogvalues. An all-zero record (texts nullopt) when the file cannot
  // be opened; then nothing else changes.
  JobLog_ GetPPDJobLogDefaultValues();

  // Leading decimal number of the option's default choice; 0 when the keyword
  // is empty, the handle null, or the option missing.
  int GetPPDOptions(const std::string& keyword, ppd_file_t* ppd);
  // The attribute's value; "" when the attribute is missing; nullopt when the
  // name is empty or the handle null.
  std::optional<std::string> GetPPDAttributeStr(const std::string& name, ppd_file_t* ppd);
  // Leading decimal number of the attribute's value; 0 when missing.
  int GetPPDAttributeInt(const std::string& name, ppd_file_t* ppd);

  // Choice display texts keyed by the decimal text of the choice's leading
  // number ("3" for "3HalfYMCKO250"); nullopt when the file or the option is
  // missing.
  std::optional<std::map<std::string, std::string>> GetAllSupportedRibbonTypes();
  std::optional<std::map<std::string, std::string>> GetAllRibbonCombination();
  int IsRibbonAlertEnabled() const;

  // Removes the file when its folder lets us; logs a failure.
  static void DeleteFile(const std::string& path);

  // ---- Rewriter ----
  // Each save edits a copy of the whole PPD text (every occurrence of the
  // current line replaced by the new line, nothing else touched), writes it to
  // GetTempPPDFileName() and asks the PPD service to install it. Results:
  // 1 the service answered, -1 the copy could not be written or the service
  // failed, 0 (SavePPDInformation only) nothing to change. An option index
  // outside its table is left alone, like -1.

  // The user's temporary directory followed by the PPD file's name.
  std::string GetTempPPDFileName() const;
  // The whole file as text; nullopt when it cannot be read or is not UTF-8.
  static std::optional<std::string> GetFileData(const std::string& path);
  // Writes `text` to `path` (not through a link); 0 on success, -1 and a log
  // line on failure.
  static int SaveFileData(const std::string& text, const std::string& path);

  // Ribbon type line; written and sent even when the index is the current one.
  int SaveRibbonType(int ribbonIndex);
  int SavePPDInformation(const PPDInformation& values);
  // values: rotation, monochrome conversion, printing mode, two-sided; further
  // elements are ignored, missing ones count as -1. Written and sent in every
  // case; the defaults are not re-read afterwards.
  int RestorePPDSettings(const std::vector<int>& values);
  // Rewrites every job-log line whose value differs from oldLogvalues.
  // A text that is nullopt on either side leaves its line alone.
  int SaveJobLogSettings(const JobLog_& values);

  // ---- State (names kept from the driver-settings model) ----
  int32_t PPD_nDualSettings = 0;
  int32_t PPD_nOrientation = 0;
  int32_t PPD_nRotation = 0;
  int32_t PPD_nRibbonType = 0;
  int32_t PPD_nMonoOption = 0;
  int32_t PPD_nPrintingMode = 0;
  int32_t PPD_nPrinterModel = -1;
  int32_t PPD_nRibbonComb = 0;
  int32_t PPD_nAutoHalf = 0;
  int32_t PPD_nRibbonAlert = 1;
  int32_t PPD_nFrontX = 0;
  int32_t PPD_nBackX = 0;
  int32_t PPD_nFrontY = 0;
  int32_t PPD_nBackY = 0;

  int32_t PPD_JL_nEnable_Log = 0;
  int32_t PPD_JL_nEveryDay_Log = 0;
  int32_t PPD_JL_nTime = 0;
  int32_t PPD_JL_nDate = 0;
  int32_t PPD_JL_nSerialNo = 0;
  int32_t PPD_JL_nIPAddress = 0;
  int32_t PPD_JL_nUserName = 0;
  int32_t PPD_JL_nJobID = 0;
  int32_t PPD_JL_nTrack1 = 0;
  int32_t PPD_JL_nTrack2 = 0;
  int32_t PPD_JL_nTrack3 = 0;
  std::string PPD_JL_strSeparator;
  std::string PPD_JL_strFileName;
  std::string PPD_JL_strStaticText;

  std::string PPD_strIPAddress;
  std::string PPD_strPrinterSerialNo;

  // Option keywords, model-prefixed by InitPPD ("VKTS32RibbonName").
  std::string PPD_DUAL_SIDE;
  std::string PPD_ORIENTATION;
  std::string PPD_MONO_OPTION;
  std::string PPD_PRINTING_MODE;
  std::string PPD_RIBBON_NAME;
  std::string PPD_RIBBON_COMBINATION;
  std::string PPD_AUTO_HALF;
  std::string PPD_ROTATION;

  // Job-log attribute names.
  std::string PPD_JL_ENABLE_LOG;
  std::string PPD_JL_EVERYDAY_LOG;
  std::string PPD_JL_TIME;
  std::string PPD_JL_DATE;
  std::string PPD_JL_SERIAL;
  std::string PPD_JL_IPADDR;
  std::string PPD_JL_USERNAME;
  std::string PPD_JL_JOBID;
  std::string PPD_JL_TRACK1;
  std::string PPD_JL_TRACK2;
  std::string PPD_JL_TRACK3;
  std::string PPD_JL_SEPARATOR;
  std::string PPD_JL_FILENAME;
  std::string PPD_JL_STATICTEXT;

  std::string PrinterModel;  // "VKTS32", ..., "" when unknown
  std::string PPDFileName;   // full path of the PPD file

  // The job-log values as last read by GetPPDJobLogDefaultValues; the
  // job-log save compares against them.
  JobLog_ oldLogvalues;

 private:
  std::unique_ptr<QueuePpdSource> source_;
  bool loaded_ = false;

  // The common frame of every save. BeginSave reads the PPD text (nullopt when
  // unreadable) and removes an old temporary copy; FinishSave logs and writes
  // the edited text, asks the service, and re-reads the defaults when
  // `reload`.
  std::optional<std::string> BeginSave();
  int FinishSave(const std::optional<std::string>& text, bool reload);
  // Replaces the line of `current` in `table` by the line of `wanted`, when
  // wanted is not -1 and differs. Returns true when it replaced.
  static bool ReplaceOption(std::optional<std::string>& text, const std::vector<std::string>& table, int current, int wanted);
  std::optional<std::map<std::string, std::string>> ChoiceTexts(const std::string& keyword);
};
