// `vkts3-cli info`: the printer-information fields of a queue.
#include "CliInfo.h"

#include <cstdio>

#include "Cli.h"
#include "CupsPasswordPolicy.h"
#include "DeviceCommunication.h"
#include "PrinterInformation.h"

namespace {

// Replies keep the printer's terminator (the window shows them as they
// come); a terminal line or a JSON value should not.
std::string WithoutTerminator(std::string text) {
  while (!text.empty() && (text.back() == '\r' || text.back() == '\n')) text.pop_back();
  return text;
}

}  // namespace

QueueInfo ReadQueueInfo(const std::string& queue) {
  // libcups keeps its password callback per thread.
  NeverAskForCupsPassword();
  QueueInfo result{queue, "unavailable", {}};
  DeviceCommunication session(queue);
  if (!session.Transport()) return result;
  if (session.GetDeviceStatusInfo() < 1) {
    result.status = "offline";
    return result;
  }
  result.status = "online";
  const PrinterInformation info = PrinterInformation::Read(session);
  const PrinterModelRules model = info.Model();
  result.fields = {
      {"Model", model.PrinterName},
      {"Firmware version", WithoutTerminator(info.FwVersion)},
      {"Serial number", WithoutTerminator(info.SerialNum)},
      {"Head resistance", WithoutTerminator(info.HeadResis)},
      {"Panels printed", WithoutTerminator(info.PannelPrinted)},
      {"Ribbon type", WithoutTerminator(info.RibbonType.value_or(""))},
      {"Remaining count", WithoutTerminator(info.RemainingCount)},
      {"Magnetic encoder", model.magEncoder ? "Yes" : "No"},
      {"Smart card", model.SmartCard},
  };
  return result;
}

std::string FormatQueueInfoText(const std::vector<QueueInfo>& infos) {
  std::string out;
  for (const QueueInfo& info : infos) {
    out += info.queue + ": " + info.status + "\n";
    for (const auto& [label, value] : info.fields) out += "  " + label + ": " + value + "\n";
  }
  return out;
}

std::string FormatQueueInfoJson(const std::vector<QueueInfo>& infos) {
  using cli::JsonString;
  std::string out = "[";
  for (size_t i = 0; i < infos.size(); ++i) {
    const QueueInfo& info = infos[i];
    out += i ? ",\n " : "";
    out += "{\"queue\": " + JsonString(info.queue) + ", \"status\": " + JsonString(info.status);
    for (const auto& [label, value] : info.fields) out += ", " + JsonString(label) + ": " + JsonString(value);
    out += "}";
  }
  return out + "]\n";
}
