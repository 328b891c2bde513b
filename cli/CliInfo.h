// What `vkts3-cli info` finds out about one queue, and how it is printed.
#pragma once

#include <string>
#include <vector>

struct QueueInfo {
  std::string queue;
  // "online", "offline" (the printer does not answer) or "unavailable" (no
  // transport: the queue names no card printer this tool can reach).
  std::string status;
  // Label and value pairs in the order of the window's information tab;
  // empty unless online.
  std::vector<std::pair<std::string, std::string>> fields;
};

// Opens a session to the queue and asks what the window's start-up asks for
// its information tab, in the same order. Safe to run for several queues at
// once, one thread each.
QueueInfo ReadQueueInfo(const std::string& queue);

std::string FormatQueueInfoText(const std::vector<QueueInfo>& infos);
std::string FormatQueueInfoJson(const std::vector<QueueInfo>& infos);
