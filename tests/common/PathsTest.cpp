#include <gtest/gtest.h>

#include <cstdlib>

#include "Paths.h"

namespace {
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old, had_ = true;
    if (value) setenv(name, value, 1); else unsetenv(name);
  }
  ~ScopedEnv() { if (had_) setenv(name_, old_.c_str(), 1); else unsetenv(name_); }
 private:
  const char* name_;
  std::string old_;
  bool had_ = false;
};
}  // namespace

TEST(Paths, PpdPathFollowsServerRoot) {
  {
    ScopedEnv root("CUPS_SERVERROOT", nullptr);
    EXPECT_EQ(vkt_paths::PpdPathForQueue("Card"), "/etc/cups/ppd/Card.ppd");
  }
  ScopedEnv root("CUPS_SERVERROOT", "/tmp/sb");
  EXPECT_EQ(vkt_paths::PpdPathForQueue("Card"), "/tmp/sb/ppd/Card.ppd");
}

TEST(Paths, TemporaryDirectoryPrefersPrivateRuntimeDirAndEndsInSlash) {
  ScopedEnv tmp("TMPDIR", "/var/tmp");
  {
    ScopedEnv xdg("XDG_RUNTIME_DIR", "/run/user/1000");
    EXPECT_EQ(vkt_paths::TemporaryDirectory(), "/run/user/1000/");
  }
  {
    ScopedEnv xdg("XDG_RUNTIME_DIR", nullptr);
    EXPECT_EQ(vkt_paths::TemporaryDirectory(), "/var/tmp/");
    ScopedEnv notmp("TMPDIR", nullptr);
    EXPECT_EQ(vkt_paths::TemporaryDirectory(), "/tmp/");
  }
}

TEST(Paths, ServicePortOverrideMustBeAValidPort) {
  {
    ScopedEnv port("VKT_PPD_SERVICE_PORT", nullptr);
    EXPECT_EQ(vkt_paths::PpdServicePort(), 24671);
  }
  {
    ScopedEnv port("VKT_PPD_SERVICE_PORT", "31000");
    EXPECT_EQ(vkt_paths::PpdServicePort(), 31000);
  }
  ScopedEnv port("VKT_PPD_SERVICE_PORT", "31000x");
  EXPECT_EQ(vkt_paths::PpdServicePort(), 24671);
}
