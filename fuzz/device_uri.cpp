// Device URIs as the queue reports them: the serial number of a USB URI and
// the address part of a network URI. A URI without the expected separator
// is refused with std::out_of_range, which callers are told to expect.
#include <stdexcept>
#include <string>

#include "DeviceCommunication.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string uri(reinterpret_cast<const char*>(data), size);
  static DeviceCommunication session("", nullptr, 0);
  try {
    (void)session.GetSerialNumberFromURI(uri);
  } catch (const std::out_of_range&) {
  }
  try {
    (void)session.GetIPAddressFromURI(uri);
  } catch (const std::out_of_range&) {
  }
  return 0;
}
