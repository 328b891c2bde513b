// Default paths with their environment overrides, and the installable waits.
#include <gtest/gtest.h>

#include <cstdlib>

#include "Paths.h"
#include "RecordingWaits.h"

using namespace std::chrono_literals;

TEST(Paths, DefaultsAndEnvironmentOverrides) {
  const struct {
    std::vector<std::pair<const char*, const char*>> env;  // nullptr: unset
    std::string ppd, temporary;
    int port;
  } cases[] = {{{{"CUPS_SERVERROOT", nullptr},
                 {"XDG_RUNTIME_DIR", nullptr},
                 {"TMPDIR", nullptr},
                 {"VKT_PPD_SERVICE_PORT", nullptr}},
                "/etc/cups/ppd/Card.ppd",
                "/tmp/",
                24671},
               {{{"CUPS_SERVERROOT", "/tmp/sb"}, {"TMPDIR", "/var/tmp"}, {"VKT_PPD_SERVICE_PORT", "31000"}},
                "/tmp/sb/ppd/Card.ppd",
                "/var/tmp/",
                31000},
               {{{"XDG_RUNTIME_DIR", "/run/user/1000"}, {"VKT_PPD_SERVICE_PORT", "31000x"}},
                "/tmp/sb/ppd/Card.ppd",
                "/run/user/1000/",
                24671},
               {{{"VKT_PPD_SERVICE_PORT", "65536"}}, "/tmp/sb/ppd/Card.ppd", "/run/user/1000/", 24671},
               {{{"VKT_PPD_SERVICE_PORT", "65535"}}, "/tmp/sb/ppd/Card.ppd", "/run/user/1000/", 65535}};
  for (const auto& c : cases) {
    for (const auto& [name, value] : c.env) value ? setenv(name, value, 1) : unsetenv(name);
    SCOPED_TRACE(c.port);
    EXPECT_EQ(vkt_paths::PpdPathForQueue("Card"), c.ppd);
    EXPECT_EQ(vkt_paths::TemporaryDirectory(), c.temporary);
    EXPECT_EQ(vkt_paths::PpdServicePort(), c.port);
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
