// The real sleeper and the process-wide Waits instance.
#include "Waits.h"

#include <thread>

namespace {
SleepingWaits gSleeper;
Waits* gCurrent = &gSleeper;
}  // namespace

Waits& Waits::Current() { return *gCurrent; }

Waits* Waits::Install(Waits* waits) {
  Waits* previous = gCurrent == &gSleeper ? nullptr : gCurrent;
  gCurrent = waits ? waits : &gSleeper;
  return previous;
}

void SleepingWaits::Sleep(std::chrono::microseconds duration) { std::this_thread::sleep_for(duration); }

void SleepingWaits::RunEventLoop(std::chrono::milliseconds duration) { std::this_thread::sleep_for(duration); }
