// Default paths with their environment overrides.
#include <gtest/gtest.h>

#include <cstdlib>

#include "Paths.h"

TEST(Paths, DefaultsAndEnvironmentOverrides) {
  for (const char* name : {"CUPS_SERVERROOT", "XDG_RUNTIME_DIR", "TMPDIR", "VKT_PPD_SERVICE_PORT", "VKT_JOBLOG_DIR"})
    unsetenv(name);
  const auto paths = [] {
    return vkt_paths::PpdPathForQueue("Card") + " " + vkt_paths::TemporaryDirectory() + " " + vkt_paths::JobLogFolder();
  };
  EXPECT_EQ(paths(), "/etc/cups/ppd/Card.ppd /tmp/ /var/log/VKTS3S1Log/");
  setenv("CUPS_SERVERROOT", "/tmp/sb", 1);
  setenv("TMPDIR", "/var/tmp", 1);
  setenv("VKT_JOBLOG_DIR", "/var/log/cards", 1);
  EXPECT_EQ(paths(), "/tmp/sb/ppd/Card.ppd /var/tmp/ /var/log/cards/");
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
