// Client of the privileged PPD service: asks it to put the edited copy `src`
// in place of the installed PPD `dst`.
#pragma once

// Sends the one request "src|dst" (no terminator) to the service on
// 127.0.0.1:vkt_paths::PpdServicePort(), reads its reply once and closes the
// connection. Returns 1 when the service answered "OK", -1 on any failure,
// a refusal ("ERROR: <reason>", logged) or a missing answer included. A request that would not fit in 255 bytes is
// refused before any connection is made (-1). Every step logs its outcome.
int SavePPDFileAsRoot(const char* src, const char* dst);
