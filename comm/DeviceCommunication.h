// The printer session of one CUPS queue: finds the queue's device URI, owns
// the transport chosen by its scheme, and offers write/read primitives plus
// the printer's command set and status queries.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "VKTS3Communication.h"

class DeviceCommunication {
 public:
  // Looks up the queue's device URI and opens the transport it names
  // ("usb" -> USBCommunication, "vkt3socket" -> EthernetCommunication,
  // anything else -> no transport).
  explicit DeviceCommunication(const std::string& printerName);
  // For tests: a session around a given transport (kind 1 USB, 2 network).
  DeviceCommunication(const std::string& printerName, std::unique_ptr<VKTS3Communication> transport,
                      uint32_t transportKind);
  ~DeviceCommunication();
  DeviceCommunication(const DeviceCommunication&) = delete;
  DeviceCommunication& operator=(const DeviceCommunication&) = delete;

  // --- session primitives -------------------------------------------------
  std::optional<std::string> GetURIFromPrinterName(const std::string& printerName);
  std::string GetSerialNumberFromURI(const std::string& uri);             // throws std::out_of_range without "="
  // Throws std::out_of_range without "/" or when the host part is shorter than the cut point.
  std::optional<std::string> GetIPAddressFromURI(const std::string& uri);
  bool IsNetworkPrinter() const;
  uint32_t GetDeviceStatusInfo() const;
  std::optional<std::string> GetPrinterIPAddress();
  int WriteToPrinter(const char* data, int length);
  // A part of a stream the printer must take whole (see SendStreamPart):
  // false when the transport lost any of it, or there is none.
  bool WriteStreamPart(const char* data, int length);
  std::optional<std::string> ReadFromPrinter();
  // One exchange as the window makes it: the command (ESC text CR, `length`
  // bytes as given), the reply request ESC "E 2" CR, then one read.
  std::optional<std::string> AskPrinter(const char* command, int length);
  static std::string TrimString(const std::string& text);
  void ResetHandle();

  // --- print queue control ----------------------------------------------
  void EnablePrinter(const char* printerName);

  // --- command set and status queries -------------------------------------
  std::string GetFirmwareVersion();
  std::string GetHeadResistance();
  std::string GetPanelsPrinted();
  std::string GetRemainingCount();
  std::optional<std::string> GetRibbonType();  // nullopt for a code without a name
  std::string GetSerialNumber();
  std::string GetMagAdvancedSettings();
  int GetFeederStatus();
  int MagWriteBtnClicked(const char* track1, const char* track2, const char* track3);
  void SetSingleFeedOptions(int mode);

  const std::string& PrinterName() const { return printerName_; }
  VKTS3Communication* Transport() const { return transport_.get(); }
  uint32_t TransportKind() const { return transportKind_; }

 private:
  std::string printerName_;
  uint32_t deviceStatus_ = 0;
  uint32_t transportKind_ = 0;
  std::unique_ptr<VKTS3Communication> transport_;
};

// Ribbon code table and ribbon capability flags (free functions).
std::optional<std::string> GetRibbonName(int code);
void GetRibbonDetails(int ribbonIndex, int* firstFlag, int* secondFlag);

// Print queue calls that do not need a session.
bool IsPrinterBusy(const char* printerName);
// A job still pending or printing after this long is given up on: the
// caller goes on as for a finished one.
constexpr std::chrono::milliseconds kJobWaitLimit{10 * 60 * 1000};
void CheckJobStatus(int jobId, const std::string& printerName, std::chrono::milliseconds limit = kJobWaitLimit);
