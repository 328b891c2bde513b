// Saving a queue's driver settings to a file and restoring them from one:
// the rules the save/restore window and the command line share.
#pragma once

#include <array>
#include <string>

#include "DriverSettingsArchive.h"
#include "PPDHelper.h"
#include "Prompter.h"

namespace driver_settings {

// What a save writes: the card-setup list positions as shown (both sides,
// rotation, monochrome conversion, printing mode; nothing selected is -1,
// and a monochrome list without a selection saves 0) and the job-log values
// read from the PPD now (which also become the values a later restore with
// the same PPDHelper compares against).
DriverSettings Collect(PPDHelper& helper, const std::array<int, 4>& listPositions);

// Restores a driver-settings file: the job-log lines (compared against the
// values last read with this PPDHelper, or an all-zero record), then the four
// options. 0 after a stop alert when the file is not a driver-settings file
// (nothing changes); 1 when both saves were done; -1 otherwise.
int Restore(PPDHelper& helper, const std::string& path, Prompter& prompter);

}  // namespace driver_settings
