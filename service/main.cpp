// vkts3-ppd-service [--port PORT] [--group NAME]...: the root service that
// puts PPD files edited by the settings tool in place in $CUPS_SERVERROOT/ppd.
// Members of the groups named, by default those of the scheduler's
// SystemGroup in $CUPS_SERVERROOT/cups-files.conf, may ask besides root.
// Under systemd it serves on the socket its socket unit holds from boot (no
// other local program can take the port first); started by hand it binds
// the port itself.
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Log.h"
#include "Paths.h"
#include "PpdService.h"

namespace {

PpdService* gService = nullptr;

void OnTerminate(int) {
  if (gService) gService->Stop();
}

// The listening socket systemd passes (LISTEN_PID is this process,
// LISTEN_FDS counts the sockets from descriptor 3), or -1.
int InheritedSocket() {
  const char* pid = std::getenv("LISTEN_PID");
  const char* fds = std::getenv("LISTEN_FDS");
  if (pid == nullptr || fds == nullptr) return -1;
  const bool ours = std::strtol(pid, nullptr, 10) == static_cast<long>(::getpid());
  const long count = std::strtol(fds, nullptr, 10);
  ::unsetenv("LISTEN_PID");
  ::unsetenv("LISTEN_FDS");
  ::unsetenv("LISTEN_FDNAMES");
  return ours && count >= 1 ? 3 : -1;
}

int Usage() {
  std::fprintf(stderr, "usage: vkts3-ppd-service [--port PORT] [--group NAME]...\n");
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  PpdServiceOptions options;
  options.port = 24671;
  options.ppdFolder = vkt_paths::PpdFolder();
  bool portGiven = false;
  std::vector<std::string> groups;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    if ((arg == "--port" || arg == "--group") && i + 1 < argc) {
      std::string value = argv[++i];
      if (arg == "--group") {
        groups.push_back(value);
        continue;
      }
      char* end = nullptr;
      long port = std::strtol(value.c_str(), &end, 10);
      if (value.empty() || *end != '\0' || port < 0 || port > 65535) return Usage();
      options.port = static_cast<int>(port);
      portGiven = true;
    } else {
      return Usage();
    }
  }

  std::string groupSource = "--group";
  if (groups.empty()) {
    groupSource = vkt_paths::CupsServerRoot() + "/cups-files.conf";
    std::ifstream conf(groupSource);
    groups = RequesterPolicy::SystemGroups(std::string(std::istreambuf_iterator<char>(conf), {}));
    if (groups.empty()) {
      // Debian's scheduler is built with this one.
      groups = {"lpadmin"};
      groupSource += " names no SystemGroup";
    }
  }
  options.groups = groups;

  PpdService service(options);
  const int inherited = portGiven ? -1 : InheritedSocket();
  int port = inherited >= 0 ? service.Adopt(inherited) : service.Listen();
  if (port < 0) return 1;

  gService = &service;
  struct sigaction action {};
  action.sa_handler = OnTerminate;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGPIPE, SIG_IGN);

  VktLog("vkts3-ppd-service listening on 127.0.0.1:%d%s, PPD folder %s, %s (%s)", port,
         inherited >= 0 ? " (socket from systemd)" : "", options.ppdFolder.c_str(),
         RequesterPolicy(options.groups).GroupsText().c_str(), groupSource.c_str());
  service.Run();
  gService = nullptr;
  VktLog("vkts3-ppd-service stopped");
  return 0;
}
