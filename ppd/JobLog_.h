// The job-log settings the driver keeps in the queue's PPD file: eleven flags
// and three texts, in the order of the job-log lines the rewriter walks.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

// A plain value record. The field names are the PPD attribute names. A text
// is std::nullopt when it was never read (a fresh record, or an archive that
// lacks the key); that is different from an empty text read from the file.
struct JobLog_ {
  int32_t EnableLog = 0;       // 0 / 1: job logging on
  int32_t EachDayLogFile = 0;  // 0 / 1: a new log file each day
  int32_t Time = 0;            // 0 / 1: log the time
  int32_t Date = 0;            // 0 / 1: log the date
  int32_t SerialNumber = 0;    // 0 / 1: log the printer serial number
  int32_t IPAddress = 0;       // 0 / 1: log the printer IP address
  int32_t UserName = 0;        // 0 / 1: log the user name
  int32_t JobID = 0;           // 0 / 1: log the job ID
  int32_t MTrack1 = 0;         // 0 / 1: log magnetic track 1 data
  int32_t MTrack2 = 0;         // 0 / 1: log magnetic track 2 data
  int32_t MTrack3 = 0;         // 0 / 1: log magnetic track 3 data
  std::optional<std::string> Separator;   // field separator
  std::optional<std::string> FileName;    // log file name
  std::optional<std::string> StaticText;  // fixed text written to each record

  // Number of integer fields (indices 0..10); the texts are indices 11..13.
  static constexpr int kFlagCount = 11;
  static constexpr int kFieldCount = 14;

  // Field access by job-log index, so the reader and the rewriter can walk the
  // record and the attribute list in step. Index must be 0..10.
  int32_t& Flag(int index);
  int32_t Flag(int index) const;
  // Index must be 11..13.
  std::optional<std::string>& Text(int index);
  const std::optional<std::string>& Text(int index) const;

  bool operator==(const JobLog_&) const = default;
};
