// The device URI of a CUPS queue, read the way start-up reads it
// (cupsGetDests, cupsGetDest, the "device-uri" option).
#pragma once

#include <string>

// Empty when CUPS does not know the queue or it has no device URI.
std::string QueueDeviceUri(const char* queue);
