// vkts3-ppd-service [--port PORT] [--group NAME]: the root service that puts
// PPD files edited by the settings tool in place in $CUPS_SERVERROOT/ppd.
#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Log.h"
#include "Paths.h"
#include "PpdService.h"

namespace {

PpdService* gService = nullptr;

void OnTerminate(int) {
  if (gService) gService->Stop();
}

int Usage() {
  std::fprintf(stderr, "usage: vkts3-ppd-service [--port PORT] [--group NAME]\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  PpdServiceOptions options;
  options.port = 24671;
  options.ppdFolder = vkt_paths::PpdFolder();
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if ((arg == "--port" || arg == "--group") && i + 1 < argc) {
      std::string value = argv[++i];
      if (arg == "--group") {
        options.group = value;
        continue;
      }
      char* end = nullptr;
      long port = std::strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || port < 0 || port > 65535) return Usage();
      options.port = static_cast<int>(port);
    } else {
      return Usage();
    }
  }

  PpdService service(options);
  int port = service.Listen();
  if (port < 0) return 1;

  gService = &service;
  struct sigaction action {};
  action.sa_handler = OnTerminate;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);

  VktLog("vkts3-ppd-service listening on 127.0.0.1:%d, PPD folder %s, group %s", port, options.ppdFolder.c_str(),
         options.group.c_str());
  service.Run();
  gService = nullptr;
  VktLog("vkts3-ppd-service stopped");
  return 0;
}
