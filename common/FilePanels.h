// The open panel shared by the tools tab (firmware, PRN files) and the
// save/restore window (settings files).
#pragma once

#include <functional>
#include <string>

class Prompter;

// Asks for one file of the kind's types: 1 firmware ("bin"), 2 PRN files
// ("prn"), 3 settings files ("plist"). After a choice the event loop runs for
// a second so the panel closes before the caller goes on; `chosen` hears of
// the choice before that second, so a click in it already finds the new file.
// Empty when cancelled.
std::string GetSelectedFilePath(Prompter& prompter, int kind, const std::string& directory = {},
                                const std::function<void(const std::string&)>& chosen = {});
