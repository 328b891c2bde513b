// Default paths with their environment overrides, and the installable waits.
#include <gtest/gtest.h>

#include <cstdlib>

#include "Paths.h"
#include "RecordingWaits.h"

using namespace std::chrono_literals;

TEST(Paths, DefaultsAndEnvironmentOverrides) {
  for (const char* name : {"CUPS_SERVERROOT", "XDG_RUNTIME_DIR", "TMPDIR", "VKT_PPD_SERVICE_PORT", "VKT_JOBLOG_DIR"})
    unsetenv(name);
  EXPECT_EQ(vkt_paths::PpdPathForQueue("Card"), "/etc/cups/ppd/Card.ppd");
  EXPECT_EQ(vkt_paths::TemporaryDirectory(), "/tmp/");
  EXPECT_EQ(vkt_paths::JobLogFolder(), "/var/log/VKTS3S1Log/");
  setenv("CUPS_SERVERROOT", "/tmp/sb", 1);
  setenv("TMPDIR", "/var/tmp", 1);
  setenv("VKT_JOBLOG_DIR", "/var/log/cards", 1);
  EXPECT_EQ(vkt_paths::PpdPathForQueue("Card"), "/tmp/sb/ppd/Card.ppd");
  EXPECT_EQ(vkt_paths::TemporaryDirectory(), "/var/tmp/");
  EXPECT_EQ(vkt_paths::JobLogFolder(), "/var/log/cards/");
  setenv("XDG_RUNTIME_DIR", "/run/user/1000", 1);  // the private one comes first
  EXPECT_EQ(vkt_paths::TemporaryDirectory(), "/run/user/1000/");
  EXPECT_EQ(vkt_paths::PpdServicePort(), 24671);
  const std::pair<const char*, int> ports[] = {{"31000", 31000}, {"65535", 65535}, {"1", 1},   {"31000x", 24671},
                                               {"65536", 24671}, {"0", 24671},     {"", 24671}};
  for (const auto& [text, port] : ports) {
    setenv("VKT_PPD_SERVICE_PORT", text, 1);
    EXPECT_EQ(vkt_paths::PpdServicePort(), port) << text;
  }
}

TEST(Waits, RecordingWaitsIsInstalledForItsLifetimeOnly) {
  Waits* real = &Waits::Current();
  {
    RecordingWaits recorder;
    EXPECT_EQ(&Waits::Current(), &recorder);
    Waits::Current().Sleep(10s);
    Waits::Current().RunEventLoop(1000ms);
    EXPECT_EQ(recorder.entries, (std::vector<RecordingWaits::Entry>{{RecordingWaits::Entry::kSleep, 10s},
                                                                    {RecordingWaits::Entry::kEventLoop, 1s}}));
  }
  EXPECT_EQ(&Waits::Current(), real);
}
