// Puts the environment of a running scripts/sandbox (its BASE/env file) into
// the test process, so libcups, the printer session and the PPD code talk to
// the private cupsd, the emulators and the PPD service.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace vkt_sandbox {

// Loads BASE/env into the environment (once per process) and checks that the
// sandbox's cupsd is running. BASE is $VKT_SANDBOX when set, else the path in
// the file "vkt-sandbox-base" of the working directory or one of its parents
// (every build tree writes one), else /tmp/vkt-sb-<uid>, the default of
// scripts/sandbox. Call it first in a test, before any libcups call: libcups
// reads CUPS_SERVERROOT and CUPS_STATEDIR only once per thread.
//   ASSERT_TRUE(vkt_sandbox::Require());
::testing::AssertionResult Require();

// The sandbox's base directory (valid after Require()).
std::string Base();

// A variable of BASE/env, such as Var("VKT_EMU_PORT_Card"); empty when absent.
std::string Var(const std::string& name);

// The installed PPD of a queue, byte for byte: read from BASE/ppd when this
// user may, else as the scheduler serves it (cupsd keeps the file 0640
// root:lp, so a test running as an ordinary user reads what such a user can).
// Empty when neither works.
std::string InstalledPpd(const std::string& queue);

// The fixture PPD folder of the source tree (tests/fixtures/ppd).
std::string FixtureDir();

}  // namespace vkt_sandbox
