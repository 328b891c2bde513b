// Reading a queue's PPD as an ordinary user: the installed file, or the copy
// the scheduler serves.
#include "QueuePpdSource.h"

#include <cups/cups.h>
#include <cups/ppd.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "Log.h"
#include "Paths.h"

namespace {

// "QUEUE" for "<PPD folder>/QUEUE.ppd"; "" for any other path.
std::string QueueOfInstalledPath(const std::string& path) {
  const std::string folder = vkt_paths::PpdFolder() + "/";
  const std::string suffix = ".ppd";
  if (path.size() <= folder.size() + suffix.size() || path.compare(0, folder.size(), folder) != 0 ||
      path.compare(path.size() - suffix.size(), suffix.size(), suffix) != 0)
    return {};
  std::string queue = path.substr(folder.size(), path.size() - folder.size() - suffix.size());
  if (queue.find('/') != std::string::npos) return {};
  return queue;
}

}  // namespace

QueuePpdSource::QueuePpdSource(std::string installedPath)
    : installed_(std::move(installedPath)), queue_(QueueOfInstalledPath(installed_)) {}

QueuePpdSource::~QueuePpdSource() { RemoveCopy(); }

std::string QueuePpdSource::ReadablePath() {
  if (queue_.empty() || ::access(installed_.c_str(), R_OK) == 0) return installed_;
  if (Fetch()) return copy_;
  return installed_;
}

void QueuePpdSource::Invalidate() { modified_ = 0; }

bool QueuePpdSource::Fetch() {
  // A file of our own, made exclusively, in the private temporary directory:
  // the scheduler's copy is written into it, never through a name that
  // someone else could have placed first. libcups truncates the file it is
  // given and removes it unless a new copy came, so each fetch gets a new one
  // and the copy in hand stays until a newer one replaces it.
  std::string pattern = vkt_paths::TemporaryDirectory() + "vkts3-" + queue_ + ".ppd.XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) {
    VktLog("PPD copy of %s: cannot create %s: %s\n", queue_.c_str(), pattern.c_str(), std::strerror(errno));
    return false;
  }
  ::close(fd);

  char buffer[4096] = {};
  if (name.size() > sizeof buffer) {
    ::unlink(name.data());
    return false;
  }
  std::memcpy(buffer, name.data(), name.size());
  time_t modified = copy_.empty() ? 0 : modified_;
  const http_status_t status = cupsGetPPD3(CUPS_HTTP_DEFAULT, queue_.c_str(), &modified, buffer, sizeof buffer);
  if (buffer[0] && std::strcmp(buffer, name.data()) != 0) ::unlink(name.data());
  if (status == HTTP_STATUS_NOT_MODIFIED && !copy_.empty()) return true;
  if (status != HTTP_STATUS_OK) {
    if (buffer[0]) ::unlink(buffer);
    VktLog("PPD of %s not served by the scheduler: %s\n", queue_.c_str(), cupsLastErrorString());
    RemoveCopy();
    return false;
  }
  RemoveCopy();
  copy_ = buffer;
  modified_ = modified;
  VktLog("PPD of %s read from the scheduler's copy %s\n", queue_.c_str(), copy_.c_str());
  return true;
}

void QueuePpdSource::RemoveCopy() {
  if (!copy_.empty()) ::unlink(copy_.c_str());
  copy_.clear();
  modified_ = 0;
}
