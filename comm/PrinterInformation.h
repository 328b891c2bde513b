// The printer's identity and counters as the information tab shows them, and
// the model decided from its firmware: read through one session, for the
// window and the command-line tool alike.
#pragma once

#include <optional>
#include <string>

#include "PrinterModelRules.h"

class DeviceCommunication;

struct PrinterInformation {
  std::string SerialNum;
  std::string FwVersion;
  std::string HeadResis;
  std::optional<std::string> RibbonType;  // nullopt: a ribbon code without a name
  std::string PannelPrinted;
  std::string RemainingCount;  // "N/A" for a monochrome ribbon that reports 0

  // Asks, in this order: serial number, firmware version, head resistance,
  // ribbon type, panels printed, remaining count.
  static PrinterInformation Read(DeviceCommunication& session);

  // The model and its options for this firmware (`currentType` is kept for
  // firmware texts of another length).
  PrinterModelRules Model(long currentType = 0) const { return PrinterModelRules::Decide(FwVersion, currentType); }
};
