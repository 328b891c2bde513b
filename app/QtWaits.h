// The Waits of the desktop program: a sleep blocks, an event-loop wait keeps
// the window painting and answering while the time passes.
#pragma once

#include "Waits.h"

class QtWaits : public Waits {
 public:
  void Sleep(std::chrono::microseconds duration) override;
  void RunEventLoop(std::chrono::milliseconds duration) override;
};
