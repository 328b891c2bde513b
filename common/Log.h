// The diagnostic log: free printf-style lines on standard error, one per call
// (the application reopens standard error on its log file at start-up).
#pragma once

#include <string>

// Writes one formatted line to standard error, adding a newline when the
// text does not end in one.
void VktLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

// printf into a std::string.
std::string StringPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
