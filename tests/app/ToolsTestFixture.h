// The fixture of the tools and device-settings tests: an emulated printer,
// a main window started against it through a recording transport, a scripted
// Prompter and recorded waits.
#pragma once

#include <gtest/gtest.h>

#include <QTemporaryDir>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "AppDelegate.h"
#include "EmulatorServer.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "ToolsWireRecorder.h"

class ToolsTestFixture : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Starts the emulator from `profile` (with `extra` profile lines) and the
  // main window against it; the start-up must end ready.
  void Start(const std::string& profile = "VKTS32", const std::string& ppd = "VKTS32.ppd",
             const std::string& extra = {});

  // Writes `bytes` to a file in the test's folder and returns its path.
  std::string MakeFile(const std::string& name, const std::string& bytes);

  // Waits (really, bounded) until the emulator has gone through a reset and
  // takes connections again, as the product's long notices let a real printer do.
  void WaitForEmulatorReset();
  // Waits (really, bounded) until `condition` holds; false on time-out.
  static bool WaitUntil(const std::function<bool()>& condition,
                        std::chrono::milliseconds limit = std::chrono::seconds(10));

  bool Waited(RecordingWaits::Entry::Kind kind, std::chrono::microseconds duration) const;

  QTemporaryDir folder_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<AppDelegate> app_;
  ToolsWireRecorder* wire_ = nullptr;  // owned by the session
  // Bounds every read of the session: long enough for a loaded machine,
  // short enough that a silent printer costs little.
  std::chrono::milliseconds readWait_{1500};
};
