// Shared pieces of the application tests: the QApplication, emulated printers
// from the profiles, and sessions to them.
#pragma once

#include <QTemporaryDir>
#include <memory>
#include <string>

#include "AppDelegate.h"
#include "EmulatorServer.h"
#include "PrinterProfile.h"

namespace app_test {

// The process's QApplication (created on first use; tests run offscreen).
void EnsureApplication();

// A profile of emulator/profiles/, with `extra` profile lines laid over it.
PrinterProfile LoadProfile(const std::string& name, const std::string& extra = {});

// A session to the emulator on `port` over the network transport.
std::unique_ptr<DeviceCommunication> SessionTo(const std::string& queue, int port);

// Reads a whole file; empty when missing.
std::string ReadFile(const std::string& path);

// Path of a PPD fixture of tests/fixtures/ppd.
std::string FixturePpd(const std::string& file);

}  // namespace app_test
