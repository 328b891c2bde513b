// Shared pieces of the window tests.
#include "AppTestSupport.h"

#include <QApplication>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "EthernetCommunication.h"

namespace app_test {

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

// A profile of emulator/profiles/, with `extra` profile lines laid over it.
static PrinterProfile LoadProfile(const std::string& name, const std::string& extra) {
  PrinterProfile profile;
  std::string error, text = ReadFile(std::string(VKT_PROFILE_DIR) + "/" + name + ".profile");
  EXPECT_TRUE(!text.empty() && ParsePrinterProfile(text + "\n" + extra + "\n", &profile, &error)) << name << error;
  return profile;
}

std::string FixturePpd(const std::string& file) { return std::string(VKT_FIXTURE_PPD_DIR) + "/" + file; }

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

namespace {

// Passes everything to the network transport and keeps each write.
class RecordingTransport : public EthernetCommunication {
 public:
  RecordingTransport(int port, std::string& sent)
      : EthernetCommunication("vkt3socket://127.0.0.1:" + std::to_string(port) + "/", std::chrono::milliseconds(1500)),
        sent_(sent) {}
  int SendDataToPrinter(const char* data, int length) override {
    return sent_.append(data, static_cast<size_t>(length)), EthernetCommunication::SendDataToPrinter(data, length);
  }
  bool SendStreamPart(const char* data, int length) override {
    return sent_.append(data, static_cast<size_t>(length)), EthernetCommunication::SendStreamPart(data, length);
  }

 private:
  std::string& sent_;
};

}  // namespace

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

AppDelegate::StartupResult WindowTest::Relaunch(const std::function<void(AppDelegate::Seams&)>& adjust) {
  AppDelegate::Seams seams;
  seams.queue = "Card";
  seams.documentsFolder = Root() + "/documents";
  seams.osReleasePath = Root() + "/os-release";
  seams.redirectLog = false;
  seams.quit = [this] { ++quits_; };
  seams.makeSession = [this, port = server_ ? server_->Port() : 0](const std::string& queue) {
    return std::make_unique<DeviceCommunication>(queue, std::make_unique<RecordingTransport>(port, sent_), 2);
  };
  if (adjust) adjust(seams);
  app_ = std::make_unique<AppDelegate>(prompter_, std::move(seams));
  return app_->applicationDidFinishLaunching();
}

AppDelegate::StartupResult WindowTest::Start(const std::string& profile, const std::string& ppd,
                                             const std::string& extra) {
  app_.reset();
  server_ = std::make_unique<EmulatorServer>(LoadProfile(profile, extra));
  EXPECT_TRUE(server_->Start()) << "the emulator could not start";
  std::filesystem::copy_file(FixturePpd(ppd), PpdPath(), std::filesystem::copy_options::overwrite_existing);
  return Relaunch();
}

}  // namespace app_test
