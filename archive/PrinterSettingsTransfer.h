// Saving a printer's settings (offsets, card feeder, magnetic encoder) to a
// file and restoring them: the rules the save/restore window and the command
// line share. The controls themselves belong to the caller, which sends each
// group to the printer when the restore says so.
#pragma once

#include <array>
#include <functional>
#include <string>

#include "PrinterSettingsArchive.h"
#include "Prompter.h"

namespace printer_settings {

// The controls a save reads and a restore changes. A list index of -1 is a
// list with nothing selected; the coercivity is a radio pair that may have
// both or neither button on.
struct Controls {
  std::array<std::string, 4> offsets;  // front X, front Y, back X, back Y, as the fields show them
  int feeder = 0;                      // the card feeder list: card feeder, single slot, auto feed
  std::array<Track, 3> tracks{{{0, 0}, {1, 1}, {2, 0}}};
  bool high = true;
  bool low = false;
  std::string serialNo;  // the serial number the information tab shows
};

// The sizes of the lists a restored index must fit; an index outside its list
// leaves the list with nothing selected.
constexpr int kFeederChoices = 3;
constexpr int kModeChoices = 3;
constexpr int kDensityChoices = 2;

PrinterSettings Collect(const Controls& controls);

// What the owner of the controls does after a restore changed a group: send
// it to the printer the way its Apply or Set button would.
struct RestoreActions {
  std::function<void(const Controls&)> offsetsChanged;
  std::function<void(const Controls&)> feederChanged;
  std::function<void(const Controls&)> encoderChanged;
};

enum class RestoreResult {
  kUnreadable,  // not a property list with a dictionary at its root
  kNoSerial,    // empty, or without a serial number: never applied
  kDeclined,    // another printer's file, and the user said Cancel
  kApplied,
};

// Restores the printer-settings file at `path` into `controls`, one entry of
// its configuration at a time in the file's order, calling the matching action
// after each. A file saved from another printer is applied only after the
// caution question is answered Ok.
RestoreResult Restore(const std::string& path, Controls& controls, Prompter& prompter, const std::string& icon,
                      const RestoreActions& actions);

}  // namespace printer_settings
