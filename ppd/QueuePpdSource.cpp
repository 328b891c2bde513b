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
  if (copy_.empty()) {
    // Our own file, made exclusively, in the private temporary directory: the
    // scheduler's copy is written into it, never through a name that someone
    // else could have placed first.
    std::string pattern = vkt_paths::TemporaryDirectory() + "vkts3-" + queue_ + ".ppd.XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = ::mkstemp(name.data());
    if (fd < 0) {
      VktLog("PPD copy of %s: cannot create %s: %s\n", queue_.c_str(), pattern.c_str(), std::strerror(errno));
      return false;
    }
    ::close(fd);
    copy_ = name.data();
    modified_ = 0;
  }

  char buffer[4096] = {};
  if (copy_.size() >= sizeof buffer) return false;
  std::memcpy(buffer, copy_.data(), copy_.size());
  time_t modified = modified_;
  const http_status_t status = cupsGetPPD3(CUPS_HTTP_DEFAULT, queue_.c_str(), &modified, buffer, sizeof buffer);
  if (status == HTTP_STATUS_NOT_MODIFIED) return true;
  if (status != HTTP_STATUS_OK) {
    VktLog("PPD of %s not served by the scheduler: %s\n", queue_.c_str(), cupsLastErrorString());
    RemoveCopy();
    return false;
  }
  if (copy_ != buffer) {
    // The scheduler's library chose another file: take that one instead.
    RemoveCopy();
    copy_ = buffer;
  }
  modified_ = modified;
  VktLog("PPD of %s read from the scheduler's copy %s\n", queue_.c_str(), copy_.c_str());
  return true;
}

void QueuePpdSource::RemoveCopy() {
  if (!copy_.empty()) ::unlink(copy_.c_str());
  copy_.clear();
  modified_ = 0;
}
