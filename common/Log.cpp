// Diagnostic log lines to standard error.
#include "Log.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace {
std::string VFormat(const char* format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  int needed = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (needed <= 0) return {};
  std::vector<char> buffer(static_cast<size_t>(needed) + 1);
  std::vsnprintf(buffer.data(), buffer.size(), format, args);
  return std::string(buffer.data(), static_cast<size_t>(needed));
}
}  // namespace

void VktLog(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string line = VFormat(format, args);
  va_end(args);
  if (line.empty() || line.back() != '\n') line.push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stderr);
  std::fflush(stderr);
}

std::string StringPrintf(const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::string text = VFormat(format, args);
  va_end(args);
  return text;
}
