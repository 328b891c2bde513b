// Shared pieces of the window tests: the QApplication, emulated printers from
// the profiles, sessions to them and the PPD fixtures.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>
#include <QTemporaryDir>
#include <functional>

#include "AppDelegate.h"
#include "EmulatorServer.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "VktComboBox.h"
#include "ui_MainWindow.h"

namespace app_test {

// The process's QApplication (created on first use; tests run offscreen).
void EnsureApplication();
// Path of a PPD fixture of tests/fixtures/ppd.
std::string FixturePpd(const std::string& file);
std::string ReadFile(const std::string& path);

// A main window for the queue "Card": a PPD of our own in a private server
// root, an emulated printer, a scripted prompter, recorded waits, and every
// byte the session writes.
class WindowTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Start-up (again), with the seams changed by `adjust`.
  AppDelegate::StartupResult Relaunch(const std::function<void(AppDelegate::Seams&)>& adjust = {});
  // Starts the printer of `profile` (profile lines `extra` laid over it), installs `ppd` and runs start-up.
  AppDelegate::StartupResult Start(const std::string& profile = "VKTS32", const std::string& ppd = "VKTS32.ppd",
                                   const std::string& extra = {});
  // Forgets the prompts and bytes so far.
  void Forget() { prompter_.prompts.clear(), sent_.clear(); }
  // Every byte the session wrote since the last call.
  std::string Sent() { return std::exchange(sent_, {}); }
  Ui::MainWindow& ui() { return app_->ui(); }
  std::string Root() const { return root_.path().toStdString(); }
  std::string PpdPath() const { return Root() + "/ppd/Card.ppd"; }

  QTemporaryDir root_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<AppDelegate> app_;
  std::string sent_;
  int quits_ = 0;
};

}  // namespace app_test
