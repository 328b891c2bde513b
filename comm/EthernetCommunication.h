// The network transport: one plain TCP connection to the printer's raw port,
// plus the SNMP probe that tells whether a printer answers at an address.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "VKTS3Communication.h"

class EthernetCommunication : public VKTS3Communication {
 public:
  // Connects to the printer the URI names (port 9100 when it names none) and,
  // when connected, drains stale replies. `readWait` bounds every read.
  explicit EthernetCommunication(const std::string& deviceUri,
                                 std::chrono::milliseconds readWait = std::chrono::seconds(5));
  ~EthernetCommunication() override;
  EthernetCommunication(const EthernetCommunication&) = delete;
  EthernetCommunication& operator=(const EthernetCommunication&) = delete;

  int GetDataFromPrinter(ReplyBuffer* buffer) override;
  int SendDataToPrinter(const char* data, int length) override;
  bool SendStreamPart(const char* data, int length) override;
  void FlushPrinterEndPoint() override;
  void ClosePrinterHandle() override;
  int GetPrinterHandle() override;
  // The socket descriptor read as unsigned: 0xFFFFFFFF when not connected.
  uint32_t GetDeviceStatus() override;
  // The host part of the URI once a lookup succeeded, else nullopt.
  std::optional<std::string> GetIPAddress() override;

  // One SNMPv1 GetRequest for sysDescr.0 over UDP; true when any datagram
  // comes back within two rounds.
  static bool CheckAvailability(const char* ip, int port = 161);

  const std::string& DeviceUri() const { return deviceUri_; }

 private:
  int socket_ = -1;
  std::optional<std::string> ipAddress_;
  std::string deviceUri_;
  std::chrono::milliseconds readWait_;
};
