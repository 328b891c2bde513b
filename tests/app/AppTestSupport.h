// Shared pieces of the window tests: the QApplication, emulated printers from
// the profiles, sessions to them and the PPD fixtures.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>
#include <QTemporaryDir>

#include "AppDelegate.h"
#include "EmulatorServer.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"

namespace app_test {

// The process's QApplication (created on first use; tests run offscreen).
void EnsureApplication();
// A profile of emulator/profiles/, with `extra` profile lines laid over it.
PrinterProfile LoadProfile(const std::string& name, const std::string& extra = {});
// A session to the emulator on `port` over the network transport.
std::unique_ptr<DeviceCommunication> SessionTo(const std::string& queue, int port);
// Path of a PPD fixture of tests/fixtures/ppd.
std::string FixturePpd(const std::string& file);
std::string ReadFile(const std::string& path);

}  // namespace app_test
