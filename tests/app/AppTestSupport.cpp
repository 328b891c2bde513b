// Shared pieces of the window tests.
#include "AppTestSupport.h"

#include <QApplication>
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

}  // namespace app_test
