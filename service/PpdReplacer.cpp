// Path rules and the atomic replacement of a PPD file.
#include "PpdReplacer.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "Log.h"
#include "PpdEditCheck.h"
#include "UniqueFd.h"

namespace {

using Outcome = PpdReplacer::Outcome;

Outcome Refuse(std::string reason) { return {false, std::move(reason)}; }

bool HasDotDotComponent(std::string_view path) {
  size_t pos = 0;
  while (pos <= path.size()) {
    size_t end = path.find('/', pos);
    if (end == std::string_view::npos) end = path.size();
    if (path.substr(pos, end - pos) == "..") return true;
    pos = end + 1;
  }
  return false;
}

// Reads at most limit + 1 bytes, so a caller sees a file that grew past limit.
std::optional<std::string> ReadAll(int fd, size_t limit) {
  std::string data;
  char buffer[65536];
  while (data.size() <= limit) {
    ssize_t got = ::read(fd, buffer, sizeof buffer);
    if (got < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (got == 0) break;
    data.append(buffer, static_cast<size_t>(got));
  }
  return data;
}

bool WriteAll(int fd, std::string_view data) {
  while (!data.empty()) {
    ssize_t put = ::write(fd, data.data(), data.size());
    if (put < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data.remove_prefix(static_cast<size_t>(put));
  }
  return true;
}

std::string RandomTemporaryName() {
  unsigned char bytes[12];
  size_t filled = 0;
  while (filled < sizeof bytes) {
    ssize_t got = ::getrandom(bytes + filled, sizeof bytes - filled, 0);
    if (got < 0) {
      if (errno == EINTR) continue;
      return {};
    }
    filled += static_cast<size_t>(got);
  }
  std::string name = PpdReplacer::kTemporaryPrefix;
  static const char kHex[] = "0123456789abcdef";
  for (unsigned char b : bytes) {
    name += kHex[b >> 4];
    name += kHex[b & 15];
  }
  return name + ".tmp";
}

// A temporary file in the folder that is removed again unless Commit()
// renames it into place.
class TemporaryFile {
 public:
  explicit TemporaryFile(int folder) : folder_(folder) {}
  ~TemporaryFile() {
    if (!name_.empty()) ::unlinkat(folder_, name_.c_str(), 0);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Writes data with the owner, group and mode of like and syncs it.
  std::optional<std::string> Write(std::string_view data, const struct stat& like) {
    for (int attempt = 0; attempt < 8 && !fd_.Valid(); ++attempt) {
      std::string name = RandomTemporaryName();
      if (name.empty()) return "no random name for the temporary file";
      fd_.Reset(::openat(folder_, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
      if (fd_.Valid())
        name_ = std::move(name);
      else if (errno != EEXIST)
        return Failure("cannot create a temporary file");
    }
    if (!fd_.Valid()) return "cannot create a temporary file";
    if (!WriteAll(fd_.Get(), data)) return Failure("cannot write the temporary file");
    // Owner first: chown clears the set-id bits that fchmod then restores.
    if (::fchown(fd_.Get(), like.st_uid, like.st_gid) != 0) return Failure("cannot give the file its owner");
    if (::fchmod(fd_.Get(), like.st_mode & 07777) != 0) return Failure("cannot give the file its mode");
    if (::fsync(fd_.Get()) != 0) return Failure("cannot sync the temporary file");
    fd_.Reset();
    return std::nullopt;
  }

  std::optional<std::string> Commit(const std::string& target) {
    if (::renameat(folder_, name_.c_str(), folder_, target.c_str()) != 0)
      return Failure("cannot rename the temporary file to " + target);
    name_.clear();
    return std::nullopt;
  }

 private:
  static std::string Failure(const std::string& what) { return what + " (" + std::strerror(errno) + ")"; }

  int folder_;
  UniqueFd fd_;
  std::string name_;
};

}  // namespace

PpdReplacer::PpdReplacer(std::string folder) : folder_(std::move(folder)) {
  while (folder_.size() > 1 && folder_.back() == '/') folder_.pop_back();
}

PpdReplacer::Outcome PpdReplacer::Replace(const std::string& source, const std::string& destination,
                                          uid_t requester) const {
  // Destination: <folder>/<queue>.ppd, written exactly so.
  if (destination.empty() || destination[0] != '/' || HasDotDotComponent(destination))
    return Refuse("the destination must be an absolute path without \"..\"");
  if (destination.size() <= folder_.size() + 1 || destination.compare(0, folder_.size(), folder_) != 0 ||
      destination[folder_.size()] != '/')
    return Refuse("the destination is not in the PPD folder");
  const std::string name = destination.substr(folder_.size() + 1);
  if (name.find('/') != std::string::npos) return Refuse("the destination is not directly in the PPD folder");
  if (name.size() <= 4 || name.compare(name.size() - 4, 4, ".ppd") != 0 || name[0] == '.')
    return Refuse("the destination is not named <queue>.ppd");

  // Source: an absolute path without "..".
  if (source.empty() || source[0] != '/' || HasDotDotComponent(source))
    return Refuse("the source must be an absolute path without \"..\"");

  UniqueFd folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.Valid()) return Refuse("cannot open the PPD folder");

  UniqueFd installedFd(::openat(folder.Get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!installedFd.Valid()) return Refuse(errno == ELOOP ? "the destination is a link" : "cannot open the destination");
  struct stat installedStat {};
  if (::fstat(installedFd.Get(), &installedStat) != 0) return Refuse("cannot inspect the destination");
  if (!S_ISREG(installedStat.st_mode)) return Refuse("the destination is not a regular file");
  if (installedStat.st_nlink != 1) return Refuse("the destination has more than one link");
  if (installedStat.st_size > kMaxSourceBytes) return Refuse("the destination is too large");

  // lstat only keeps the service from opening devices; fstat after the
  // O_NOFOLLOW open is what decides.
  struct stat sourceStat {};
  if (::lstat(source.c_str(), &sourceStat) != 0) return Refuse("cannot find the source");
  if (S_ISLNK(sourceStat.st_mode)) return Refuse("the source is a link");
  if (!S_ISREG(sourceStat.st_mode)) return Refuse("the source is not a regular file");
  UniqueFd sourceFd(::open(source.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!sourceFd.Valid()) return Refuse(errno == ELOOP ? "the source is a link" : "cannot open the source");
  if (::fstat(sourceFd.Get(), &sourceStat) != 0) return Refuse("cannot inspect the source");
  if (!S_ISREG(sourceStat.st_mode)) return Refuse("the source is not a regular file");
  if (sourceStat.st_uid != requester) return Refuse("the source does not belong to the requester");
  if (sourceStat.st_size > kMaxSourceBytes) return Refuse("the source is larger than 4 MiB");

  std::optional<std::string> edited = ReadAll(sourceFd.Get(), kMaxSourceBytes);
  if (!edited) return Refuse("cannot read the source");
  if (edited->size() > static_cast<size_t>(kMaxSourceBytes)) return Refuse("the source is larger than 4 MiB");
  std::optional<std::string> installed = ReadAll(installedFd.Get(), kMaxSourceBytes);
  if (!installed || installed->size() > static_cast<size_t>(kMaxSourceBytes))
    return Refuse("cannot read the destination");

  if (std::optional<std::string> reason = PpdEditCheck::FindForbiddenChange(*installed, *edited))
    return Refuse("the edited PPD changes more than the settings: " + *reason);
  if (*edited == *installed) return {true, {}};

  TemporaryFile backup(folder.Get());
  if (std::optional<std::string> failure = backup.Write(*installed, installedStat)) return Refuse(*failure);
  TemporaryFile replacement(folder.Get());
  if (std::optional<std::string> failure = replacement.Write(*edited, installedStat)) return Refuse(*failure);

  // Someone else (lpadmin) may have replaced the PPD while it was checked.
  struct stat current {};
  if (::fstatat(folder.Get(), name.c_str(), &current, AT_SYMLINK_NOFOLLOW) != 0 ||
      current.st_ino != installedStat.st_ino || current.st_dev != installedStat.st_dev)
    return Refuse("the destination changed while it was being replaced");

  if (std::optional<std::string> failure = backup.Commit(name + ".O")) return Refuse(*failure);
  if (std::optional<std::string> failure = replacement.Commit(name)) return Refuse(*failure);
  if (::fsync(folder.Get()) != 0)
    return Refuse(std::string("cannot sync the PPD folder (") + std::strerror(errno) + ")");
  return {true, {}};
}

void PpdReplacer::RemoveStaleTemporaries() const {
  UniqueFd folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder.Valid()) return;
  int listingFd = ::dup(folder.Get());
  if (listingFd < 0) return;
  DIR* listing = ::fdopendir(listingFd);
  if (!listing) {
    ::close(listingFd);
    return;
  }
  const size_t prefixLength = std::strlen(kTemporaryPrefix);
  while (dirent* entry = ::readdir(listing)) {
    if (std::strncmp(entry->d_name, kTemporaryPrefix, prefixLength) != 0) continue;
    if (::unlinkat(folder.Get(), entry->d_name, 0) == 0)
      VktLog("removed the stale temporary file %s/%s", folder_.c_str(), entry->d_name);
  }
  ::closedir(listing);
}
