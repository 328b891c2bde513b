// Reading the printer-information fields through the session.
#include "PrinterInformation.h"

#include <cstdlib>

#include "DeviceCommunication.h"

PrinterInformation PrinterInformation::Read(DeviceCommunication& session) {
  PrinterInformation info;
  info.SerialNum = session.GetSerialNumber();
  info.FwVersion = session.GetFirmwareVersion();
  info.HeadResis = session.GetHeadResistance();
  info.RibbonType = session.GetRibbonType();
  info.PannelPrinted = session.GetPanelsPrinted();
  info.RemainingCount = session.GetRemainingCount();
  // A monochrome ribbon reports no count: its 0 means "not known".
  if (std::atoi(info.RemainingCount.c_str()) == 0 && info.RibbonType && *info.RibbonType == "Monochrome")
    info.RemainingCount = "N/A";
  return info;
}
