// The magnetic-encoding tab tests' common ground: a main window started
// against an in-process emulated Series 32 with an encoder, the bytes the
// printer received since a mark, and the user's clicks and keys.
#pragma once

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "AppTestSupport.h"
#include "EncodingController.h"
#include "EthernetCommunication.h"
#include "RecordingWaits.h"
#include "ScriptedPrompter.h"
#include "ui_MainWindow.h"

namespace encoding_test {

constexpr char kQueue[] = "Card";
constexpr char kIcon[] = ":/images/Orvex_Logo_Stacked_K.png";

class EncodingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    app_test::EnsureApplication();
    ASSERT_TRUE(serverRoot_.isValid() && documents_.isValid());
    std::filesystem::create_directories(serverRoot_.path().toStdString() + "/ppd");
    setenv("CUPS_SERVERROOT", serverRoot_.path().toLocal8Bit().constData(), 1);
  }

  void TearDown() override {
    app_.reset();
    server_.reset();
  }

  // Starts an emulated Series 32 (profile lines `extra` laid over it) and
  // runs start-up against it; the prompts of start-up are forgotten.
  void Start(const std::string& extra = {}) {
    app_.reset();
    syncs_.clear();
    server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile("VKTS32", extra));
    ASSERT_TRUE(server_->Start()) << "the emulator could not start";
    std::filesystem::copy_file(app_test::FixturePpd("VKTS32.ppd"),
                               serverRoot_.path().toStdString() + "/ppd/" + kQueue + ".ppd",
                               std::filesystem::copy_options::overwrite_existing);
    AppDelegate::Seams seams;
    seams.queue = kQueue;
    seams.documentsFolder = documents_.path().toStdString();
    seams.redirectLog = false;
    seams.quit = [] {};
    const int port = server_->Port();
    seams.makeSession = [port](const std::string& queue) {
      // A silent printer costs a second here instead of five.
      auto transport = std::make_unique<EthernetCommunication>(
          "vkt3socket://127.0.0.1:" + std::to_string(port) + "/", std::chrono::milliseconds(1000));
      return std::make_unique<DeviceCommunication>(queue, std::move(transport), 2);
    };
    app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
    ASSERT_EQ(app_->applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
    ASSERT_GE(app_->ui().tabview->indexOf(app_->ui().EncodingTab), 0) << "the encoding tab is missing";
    app_->ui().tabview->setCurrentWidget(app_->ui().EncodingTab);
    prompter_.prompts.clear();
    waits_.entries.clear();
    Mark();
  }

  AppDelegate& app() { return *app_; }
  Ui::MainWindow& ui() { return app_->ui(); }
  EncodingController& encoding() { return app_->Encoding(); }

  // Remembers how much the printer has received so far.
  void Mark() {
    Sync();
    mark_ = server_->Engine().Transcript().size();
  }
  // Every byte the printer received since the mark.
  std::string SentSinceMark() {
    Sync();
    std::string transcript = server_->Engine().Transcript();
    // Take the test's own reply requests out again, last first.
    for (auto at = syncs_.rbegin(); at != syncs_.rend(); ++at) {
      if (*at >= mark_) transcript.erase(*at, kSync.size());
    }
    return transcript.substr(mark_);
  }

  // The user clicks a check box on its box.
  static void Click(QCheckBox* box) { QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2)); }
  // The user types into a field, key by key.
  static void Type(QLineEdit* field, const QString& text) { QTest::keyClicks(field, text); }

  // A write without a reply (the encode command) may still be on its way:
  // one reply request answered proves the printer has seen everything before it.
  void Sync() {
    DeviceCommunication* dev = app_->objDev();
    ASSERT_NE(dev, nullptr);
    dev->WriteToPrinter(kSync.data(), static_cast<int>(kSync.size()));
    ASSERT_TRUE(dev->ReadFromPrinter().has_value()) << "no answer to the test's own reply request";
    const std::string transcript = server_->Engine().Transcript();
    ASSERT_TRUE(transcript.ends_with(kSync));
    syncs_.push_back(transcript.size() - kSync.size());
  }

  QLineEdit* Track(int n) { return n == 1 ? ui().leTrack1 : n == 2 ? ui().leTrack2 : ui().leTrack3; }
  QCheckBox* Check(int n) { return n == 1 ? ui().chTrack1 : n == 2 ? ui().chTrack2 : ui().chTrack3; }

  QTemporaryDir serverRoot_;
  QTemporaryDir documents_;
  RecordingWaits waits_;
  ScriptedPrompter prompter_;
  std::unique_ptr<EmulatorServer> server_;
  std::unique_ptr<AppDelegate> app_;
  size_t mark_ = 0;
  std::vector<size_t> syncs_;  // where the test's own reply requests sit in the transcript
  static constexpr std::string_view kSync{"\x1b" "E 2\r"};
};

// One framed command followed by the reply request, as the printer sees them.
inline std::string WithReplyRequest(const std::string& command) { return "\x1b" + command + "\r\x1b" "E 2\r"; }

}  // namespace encoding_test
