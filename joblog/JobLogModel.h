// The job-log settings without a window: the driver's fourteen job-log values
// in the queue's PPD as check boxes and text fields, the rules between them,
// saving them through PPDHelper and deleting the driver's log files.
#pragma once

#include <array>
#include <memory>
#include <string>

#include "ListControl.h"
#include "PPDHelper.h"
#include "Prompter.h"

struct JobLogContext {
  Prompter* prompter = nullptr;
  std::string icon;  // the icon of the notices
};

class JobLogModel {
 public:
  static constexpr const char* kDefaultLogFileName = "VKTS3.log";
  static constexpr const char* kSavedNotice = "Job log settings are saved successfully.";

  // The controls, named as the window's outlets.
  struct Outlets {
    ToggleControl EnableLogging;
    ToggleControl JobLogNewFile;
    // The nine content boxes, in job-log index order 2..10.
    ToggleControl JobLogTime, JobLogDate, PrinterSerialNumber, PrinterIPAddress, PrinterUserName, SpoolerJobNumber,
        Track1Data, Track2Data, Track3Data;
    ToggleControl StaticText;
    TextControl JobLogFileName;         // at most 32 characters
    TextControl JobLogSeparator;        // at most 1
    TextControl JobLogStaticTextField;  // at most 16
    ToggleControl DeleteLog;

    std::array<ToggleControl*, 9> ContentBoxes();
  };

  explicit JobLogModel(JobLogContext context);

  // Reads the settings from the PPD anew (they become the values the next
  // saves compare against) and shows them by the window's rules.
  void LoadJobLogSettings(const std::string& ppdPath);
  // The rules that follow the check boxes.
  void EnableLogging();
  void CheckedCreateNewFile();
  void StaticTextField();
  // The user changed `field` to `text`: it is cut to its length.
  void controlTextDidChange(TextControl& field, const std::string& text);
  // Writes the shown settings (all off and empty with logging off); what the
  // PPD save returned.
  int SaveJobLog();
  // SaveJobLog, then the "saved" notice whatever the save returned.
  int SaveJobLogClick();
  // Asks, then empties the driver's log folder and says so.
  void DeleteLogFiles();

  // The record the shown settings make.
  JobLog_ Record();
  PPDHelper* oPPDHelper() { return oPPDHelper_.get(); }

  Outlets ui;

 private:
  JobLogContext context_;
  std::unique_ptr<PPDHelper> oPPDHelper_;
};
