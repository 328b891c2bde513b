// Shared pieces of the card-setup tests: a main window started against an
// in-process emulated printer and a PPD of our own, and readers of the tab's
// lists.
#pragma once

#include <gtest/gtest.h>

#include <QStringList>
#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "AppTestSupport.h"
#include "CardSetupModel.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "ui_MainWindow.h"

namespace card_setup_test {

using Edits = std::vector<std::pair<std::string, std::string>>;

// `text` with each `from` replaced by its `to`; every `from` must be there.
inline std::string Edited(std::string text, const Edits& edits) {
  for (const auto& [from, to] : edits) {
    size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "not in the PPD: " << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
  }
  return text;
}

// The first line where two PPD texts part, for a readable failure message.
inline std::string FirstDifference(const std::string& actual, const std::string& expected) {
  size_t at = 0;
  while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) ++at;
  const size_t start = actual.rfind('\n', at == 0 ? 0 : at - 1);
  const size_t from = start == std::string::npos ? 0 : start + 1;
  const auto line = [from](const std::string& text) { return text.substr(from, text.find('\n', from) - from); };
  return "first difference at byte " + std::to_string(at) + ": got \"" + line(actual) + "\", expected \"" +
         line(expected) + "\"";
}

inline QStringList Items(const VktComboBox* list) {
  QStringList items;
  for (int i = 0; i < list->NumberOfItems(); ++i) items << list->ItemAt(i);
  return items;
}

// A main window whose queue "Card" has a PPD in a private server root and an
// emulated printer on a free port.
class CardSetupWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    ASSERT_TRUE(serverRoot_.isValid() && documents_.isValid() && runtime_.isValid());
    std::filesystem::create_directories(serverRoot_.path().toStdString() + "/ppd");
    setenv("CUPS_SERVERROOT", serverRoot_.path().toLocal8Bit().constData(), 1);
    // Edited PPD copies go to the user's temporary directory: keep them here.
    setenv("XDG_RUNTIME_DIR", runtime_.path().toLocal8Bit().constData(), 1);
  }

  std::string PpdPath() const { return serverRoot_.path().toStdString() + "/ppd/Card.ppd"; }

  // Starts the printer of `profile` (with extra profile lines), installs the
  // model's fixture PPD with `edits`, and runs start-up.
  std::unique_ptr<AppDelegate> Start(const std::string& profile, const std::string& ppd, const Edits& edits = {},
                                     const std::string& extra = {}) {
    server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile(profile, extra));
    EXPECT_TRUE(server_->Start()) << "the emulator could not start";
    ppdText_ = Edited(app_test::ReadFile(app_test::FixturePpd(ppd)), edits);
    std::ofstream(PpdPath(), std::ios::binary) << ppdText_;

    AppDelegate::Seams seams;
    seams.queue = "Card";
    seams.documentsFolder = documents_.path().toStdString();
    seams.redirectLog = false;
    seams.quit = [this] { ++quits_; };
    const int port = server_->Port();
    seams.makeSession = [port](const std::string& queue) { return app_test::SessionTo(queue, port); };
    auto app = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    result_ = app->applicationDidFinishLaunching();
    EXPECT_EQ(result_, AppDelegate::StartupResult::kReady);
    return app;
  }

  QTemporaryDir serverRoot_;
  QTemporaryDir documents_;
  QTemporaryDir runtime_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::string ppdText_;
  AppDelegate::StartupResult result_ = AppDelegate::StartupResult::kStopped;
  int quits_ = 0;
};

}  // namespace card_setup_test
