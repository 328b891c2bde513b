// A password callback for libcups that always declines.
#include "CupsPasswordPolicy.h"

#include <cups/cups.h>

namespace {
const char* NoPassword(const char*, http_t*, const char*, const char*, void*) { return nullptr; }
}  // namespace

void NeverAskForCupsPassword() { cupsSetPasswordCB2(NoPassword, nullptr); }
