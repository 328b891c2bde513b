// Device URI lookup for the benchmark baselines.
#include "QueueDeviceUri.h"

#include <cups/cups.h>

#include "CupsHandles.h"


std::string QueueDeviceUri(const char* queue) {
  CupsDestList dests;
  cups_dest_t* dest = dests.Find(queue);
  const char* uri = dest ? cupsGetOption("device-uri", dest->num_options, dest->options) : nullptr;
  return uri ? uri : "";
}
