#include <gtest/gtest.h>

#include "RecordingWaits.h"

using namespace std::chrono_literals;

TEST(Waits, RecordingWaitsIsInstalledForItsLifetimeOnly) {
  Waits* real = &Waits::Current();
  {
    RecordingWaits recorder;
    EXPECT_EQ(&Waits::Current(), &recorder);
    Waits::Current().Sleep(10s);
    Waits::Current().RunEventLoop(1000ms);
    ASSERT_EQ(recorder.entries.size(), 2u);
    EXPECT_EQ(recorder.entries[0], (RecordingWaits::Entry{RecordingWaits::Entry::kSleep, 10s}));
    EXPECT_EQ(recorder.entries[1], (RecordingWaits::Entry{RecordingWaits::Entry::kEventLoop, 1s}));
    EXPECT_EQ(recorder.Total(), 11s);
  }
  EXPECT_EQ(&Waits::Current(), real);
}
