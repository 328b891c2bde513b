// Index access to the job-log record, in the order of the job-log lines.
#include "JobLog_.h"

#include <cassert>

int32_t& JobLog_::Flag(int index) {
  int32_t* flags[kFlagCount] = {&EnableLog, &EachDayLogFile, &Time,   &Date,    &SerialNumber, &IPAddress,
                                &UserName,  &JobID,          &MTrack1, &MTrack2, &MTrack3};
  assert(index >= 0 && index < kFlagCount);
  return *flags[index];
}

int32_t JobLog_::Flag(int index) const { return const_cast<JobLog_*>(this)->Flag(index); }

std::optional<std::string>& JobLog_::Text(int index) {
  assert(index >= kFlagCount && index < kFieldCount);
  switch (index) {
    case 11: return Separator;
    case 12: return FileName;
    default: return StaticText;
  }
}

const std::optional<std::string>& JobLog_::Text(int index) const { return const_cast<JobLog_*>(this)->Text(index); }
