// Fixture of the tools and device-settings tests.
#include "ToolsTestFixture.h"

#include <QTabWidget>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "AppTestSupport.h"
#include "EthernetCommunication.h"
#include "ui_MainWindow.h"

namespace fs = std::filesystem;

void ToolsTestFixture::SetUp() {
  app_test::EnsureApplication();
  ASSERT_TRUE(folder_.isValid());
  fs::create_directories(folder_.path().toStdString() + "/ppd");
  fs::create_directories(folder_.path().toStdString() + "/documents");
  setenv("CUPS_SERVERROOT", folder_.path().toLocal8Bit().constData(), 1);
}

void ToolsTestFixture::TearDown() {
  app_.reset();
  if (server_) server_->Stop();
}

void ToolsTestFixture::Start(const std::string& profile, const std::string& ppd, const std::string& extra) {
  server_ = std::make_unique<EmulatorServer>(app_test::LoadProfile(profile, extra));
  ASSERT_TRUE(server_->Start()) << "the emulator could not start";
  const std::string root = folder_.path().toStdString();
  fs::copy_file(app_test::FixturePpd(ppd), root + "/ppd/Card.ppd", fs::copy_options::overwrite_existing);
  std::ofstream(root + "/os-release") << "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n";

  AppDelegate::Seams seams;
  seams.queue = "Card";
  seams.documentsFolder = root + "/documents";
  seams.osReleasePath = root + "/os-release";
  seams.redirectLog = false;
  seams.quit = [] {};
  const int port = server_->Port();
  seams.makeSession = [this, port](const std::string& queue) {
    auto ethernet = std::make_unique<EthernetCommunication>(
        "vkt3socket://127.0.0.1:" + std::to_string(port) + "/", readWait_);
    auto recorder = std::make_unique<ToolsWireRecorder>(std::move(ethernet));
    wire_ = recorder.get();
    return std::make_unique<DeviceCommunication>(queue, std::move(recorder), 2);
  };
  app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
  ASSERT_EQ(app_->applicationDidFinishLaunching(), AppDelegate::StartupResult::kReady);
  ASSERT_NE(wire_, nullptr);
  app_->ui().tabview->setCurrentWidget(app_->ui().ToolsTab);
  // What start-up said and sent is not what the tests look at.
  wire_->Clear();
  prompter_.prompts.clear();
  waits_.entries.clear();
}

std::string ToolsTestFixture::MakeFile(const std::string& name, const std::string& bytes) {
  const std::string path = folder_.path().toStdString() + "/" + name;
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

bool ToolsTestFixture::WaitUntil(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

void ToolsTestFixture::WaitForEmulatorReset() {
  // The reset begins once the emulator has read the last byte; a short
  // refusal may already be over when we look, so its start is not required.
  WaitUntil([this] { return server_->Refusing(); }, std::chrono::seconds(2));
  EXPECT_TRUE(WaitUntil([this] { return !server_->Refusing(); })) << "the emulator never took connections again";
}

bool ToolsTestFixture::Waited(RecordingWaits::Entry::Kind kind, std::chrono::microseconds duration) const {
  for (const auto& entry : waits_.entries) {
    if (entry.kind == kind && entry.duration == duration) return true;
  }
  return false;
}
