// A Waits for tests: records every wait and returns at once.
#pragma once

#include <chrono>
#include <vector>

#include "Waits.h"

class RecordingWaits : public Waits {
 public:
  struct Entry {
    enum Kind { kSleep, kEventLoop } kind;
    std::chrono::microseconds duration;
    bool operator==(const Entry&) const = default;
  };

  RecordingWaits() : previous_(Waits::Install(this)) {}
  ~RecordingWaits() override { Waits::Install(previous_); }
  RecordingWaits(const RecordingWaits&) = delete;
  RecordingWaits& operator=(const RecordingWaits&) = delete;

  void Sleep(std::chrono::microseconds duration) override { entries.push_back({Entry::kSleep, duration}); }
  void RunEventLoop(std::chrono::milliseconds duration) override {
    entries.push_back({Entry::kEventLoop, std::chrono::duration_cast<std::chrono::microseconds>(duration)});
  }

  // Sum of all recorded waits.
  std::chrono::microseconds Total() const {
    std::chrono::microseconds sum{0};
    for (const auto& e : entries) sum += e.duration;
    return sum;
  }

  std::vector<Entry> entries;

 private:
  Waits* previous_;
};
