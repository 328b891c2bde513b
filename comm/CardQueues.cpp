// The listing rule of card-printer queues, shared by the chooser and the
// command-line tool.
#include "CardQueues.h"

// libcups marks its PPD calls deprecated; they remain the way to read a PPD.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

#include <cups/cups.h>
#include <cups/ppd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "CardModels.h"
#include "CupsHandles.h"
#include "Log.h"

namespace card_queues {
namespace {

struct PpdCloser {
  void operator()(ppd_file_t* ppd) const { ppdClose(ppd); }
};
using PpdFile = std::unique_ptr<ppd_file_t, PpdCloser>;

// The queue's PPD as the scheduler hands it out: a link to the installed file
// (local server) or a downloaded copy (remote server, unreadable file). The
// returned name is removed either way.
PpdFile OpenQueuePpd(const char* queue) {
  const char* returned = cupsGetPPD2(CUPS_HTTP_DEFAULT, queue);
  if (!returned) return nullptr;
  std::string path = returned;
  std::string target = path;
  struct stat info {};
  if (lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode)) {
    char buffer[1024] = {};
    ssize_t length = readlink(path.c_str(), buffer, sizeof(buffer) - 1);
    target = length > 0 ? std::string(buffer, static_cast<size_t>(length)) : std::string();
  }
  PpdFile ppd(target.empty() ? nullptr : ppdOpenFile(target.c_str()));
  unlink(path.c_str());
  return ppd;
}

}  // namespace

bool IsSupportedPCFileName(const char* pcFileName) {
  return pcFileName && card_models::ModelOfPcFileName(pcFileName) >= 0;
}

bool IsSupportedScheme(const std::string& scheme) {
  // The session talks directly only over these two; ipp and dnssd queues are left out.
  return scheme == "usb" || scheme == "vkt3socket";
}

std::vector<std::string> List() {
  std::vector<std::string> names;
  CupsDestList list;
  for (int i = 0; i < list.count(); ++i) {
    const cups_dest_t& dest = list.get()[i];
    PpdFile ppd = OpenQueuePpd(dest.name);
    if (!ppd || !IsSupportedPCFileName(ppd->pcfilename)) continue;
    const char* uri = cupsGetOption("device-uri", dest.num_options, dest.options);
    char scheme[255] = {}, user[255] = {}, host[1024] = {}, resource[1024] = {};
    int port = 0;
    if (uri) {
      httpSeparateURI(HTTP_URI_CODING_ALL, uri, scheme, sizeof(scheme), user, sizeof(user), host, sizeof(host), &port,
                      resource, sizeof(resource));
    }
    VktLog("The schme is %s\n", scheme);
    if (IsSupportedScheme(scheme)) names.push_back(dest.name);
  }
  return names;
}

}  // namespace card_queues
