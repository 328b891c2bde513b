// Which CUPS queues are card printers this tool can talk to.
#pragma once

#include <string>
#include <vector>

namespace card_queues {

// The PC file names of the card printers' PPDs, compared exactly.
bool IsSupportedPCFileName(const char* pcFileName);
// The device-URI schemes the session speaks directly: "usb" and "vkt3socket".
bool IsSupportedScheme(const std::string& scheme);

// The queues, in the order CUPS gives its destinations, whose PPD (as the
// scheduler serves it) names a card printer and whose device URI has a
// supported scheme.
std::vector<std::string> List();

}  // namespace card_queues
