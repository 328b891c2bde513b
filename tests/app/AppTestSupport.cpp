// Shared pieces of the window tests.
#include "AppTestSupport.h"

#include <QApplication>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "EthernetCommunication.h"

namespace app_test {

namespace {

// Passes everything to the network transport and keeps each write.
class RecordingTransport : public EthernetCommunication {
 public:
  RecordingTransport(const std::string& uri, std::string& sent)
      : EthernetCommunication(uri, std::chrono::milliseconds(1500)), sent_(sent) {}
  int SendDataToPrinter(const char* data, int length) override {
    sent_.append(data, static_cast<size_t>(length));
    return EthernetCommunication::SendDataToPrinter(data, length);
  }
  bool SendStreamPart(const char* data, int length) override {
    sent_.append(data, static_cast<size_t>(length));
    return EthernetCommunication::SendStreamPart(data, length);
  }

 private:
  std::string& sent_;
};

}  // namespace

void EnsureApplication() {
  if (QApplication::instance()) return;
  static int argc = 1;
  static char name[] = "app_tests";
  static char* argv[] = {name, nullptr};
  // Left alive on purpose: destroying it among the exit-time destructors
  // crashes once Qt's own globals are gone.
  new QApplication(argc, argv);
  // Start-up ends the session on the last window's close; the tests decide when to quit.
  QApplication::setQuitOnLastWindowClosed(false);
}

PrinterProfile LoadProfile(const std::string& name, const std::string& extra) {
  PrinterProfile profile;
  std::string error, text = ReadFile(std::string(VKT_PROFILE_DIR) + "/" + name + ".profile");
  EXPECT_TRUE(!text.empty() && ParsePrinterProfile(text + "\n" + extra + "\n", &profile, &error)) << name << error;
  return profile;
}

std::unique_ptr<DeviceCommunication> SessionTo(const std::string& queue, int port) {
  auto transport = std::make_unique<EthernetCommunication>("vkt3socket://127.0.0.1:" + std::to_string(port) + "/");
  return std::make_unique<DeviceCommunication>(queue, std::move(transport), 2);
}

std::string FixturePpd(const std::string& file) { return std::string(VKT_FIXTURE_PPD_DIR) + "/" + file; }

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

std::string Edited(std::string text, const Edits& edits) {
  for (const auto& [from, to] : edits) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << "not in the PPD: " << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
  }
  return text;
}

QStringList Items(const VktComboBox* list) {
  QStringList items;
  for (int i = 0; i < list->NumberOfItems(); ++i) items << list->ItemAt(i);
  return items;
}

void WindowTest::SetUp() {
  EnsureApplication();
  ASSERT_TRUE(root_.isValid());
  for (const char* folder : {"/ppd", "/documents", "/runtime"}) std::filesystem::create_directories(Root() + folder);
  setenv("CUPS_SERVERROOT", Root().c_str(), 1);
  // Edited PPD copies go to the user's temporary directory: keep them here.
  setenv("XDG_RUNTIME_DIR", (Root() + "/runtime").c_str(), 1);
  std::ofstream(Root() + "/os-release")
      << "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nVERSION=\"12 (bookworm)\"\n";
}

void WindowTest::TearDown() {
  app_.reset();
  if (server_) server_->Stop();
}

AppDelegate::Seams WindowTest::Seams() {
  AppDelegate::Seams seams;
  seams.queue = "Card";
  seams.documentsFolder = Root() + "/documents";
  seams.osReleasePath = Root() + "/os-release";
  seams.redirectLog = false;
  seams.quit = [this] { ++quits_; };
  seams.makeSession = [this, port = server_ ? server_->Port() : 0](const std::string& queue) {
    auto transport =
        std::make_unique<RecordingTransport>("vkt3socket://127.0.0.1:" + std::to_string(port) + "/", sent_);
    return std::make_unique<DeviceCommunication>(queue, std::move(transport), 2);
  };
  return seams;
}

AppDelegate::StartupResult WindowTest::Start(const std::string& profile, const std::string& ppd,
                                             const std::string& extra) {
  app_.reset();
  server_ = std::make_unique<EmulatorServer>(LoadProfile(profile, extra));
  EXPECT_TRUE(server_->Start()) << "the emulator could not start";
  std::filesystem::copy_file(FixturePpd(ppd), PpdPath(), std::filesystem::copy_options::overwrite_existing);
  app_ = std::make_unique<AppDelegate>(prompter_, Seams());
  return app_->applicationDidFinishLaunching();
}

void WindowTest::Forget() {
  prompter_.prompts.clear();
  waits_.entries.clear();
  sent_.clear();
}

}  // namespace app_test
