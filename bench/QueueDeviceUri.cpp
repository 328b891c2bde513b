// Device URI lookup for the benchmark baselines.
#include "QueueDeviceUri.h"

#include <cups/cups.h>

namespace {

// The list cupsGetDests hands out, freed on scope exit.
class DestList {
 public:
  DestList() { count_ = cupsGetDests(&dests_); }
  ~DestList() { cupsFreeDests(count_, dests_); }
  DestList(const DestList&) = delete;
  DestList& operator=(const DestList&) = delete;
  cups_dest_t* Find(const char* name) const { return cupsGetDest(name, nullptr, count_, dests_); }

 private:
  cups_dest_t* dests_ = nullptr;
  int count_ = 0;
};

}  // namespace

std::string QueueDeviceUri(const char* queue) {
  DestList dests;
  cups_dest_t* dest = dests.Find(queue);
  const char* uri = dest ? cupsGetOption("device-uri", dest->num_options, dest->options) : nullptr;
  return uri ? uri : "";
}
