// Every sleep and every "let the event loop run for a while" of the tool goes
// through Waits, so tests can record a 10-second back-off instead of living it.
#pragma once

#include <chrono>

class Waits {
 public:
  virtual ~Waits() = default;

  // A plain blocking sleep (usleep/sleep in the product).
  virtual void Sleep(std::chrono::microseconds duration) = 0;

  // Keeps the user interface alive for the given time (the product runs its
  // event loop for a second before reading a card, for instance). Outside a
  // GUI this is a sleep.
  virtual void RunEventLoop(std::chrono::milliseconds duration) = 0;

  // The process-wide instance; a real sleeper unless one was installed.
  static Waits& Current();
  // Installs `waits` (not owned) as the current instance; nullptr restores
  // the real sleeper. Returns the previous instance.
  static Waits* Install(Waits* waits);
};

// Sleeps for real.
class SleepingWaits : public Waits {
 public:
  void Sleep(std::chrono::microseconds duration) override;
  void RunEventLoop(std::chrono::milliseconds duration) override;
};
