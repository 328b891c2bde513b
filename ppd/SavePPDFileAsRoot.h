// Client of the privileged PPD service: asks it to put the edited copy `src`
// in place of the installed PPD `dst`.
#pragma once

#include <chrono>

// How long the service may take to answer: it replaces one small file. A
// service that takes the request and never answers must not hold the window.
constexpr std::chrono::milliseconds kPpdServiceAnswerWait{30000};

// Sends the one request "src|dst" (no terminator) to the service on
// 127.0.0.1:vkt_paths::PpdServicePort(), reads its reply once and closes the
// connection. Returns 1 when the service answered "OK", -1 on any failure,
// a refusal ("ERROR: <reason>", logged) or a missing answer included; no
// answer within `answerWait` is a missing one. A request that would not fit in
// 255 bytes is refused before any connection is made (-1). Every step logs
// its outcome.
int SavePPDFileAsRoot(const char* src, const char* dst, std::chrono::milliseconds answerWait = kPpdServiceAnswerWait);
