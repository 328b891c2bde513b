// Path rules and the atomic replacement of a PPD file.
#include "PpdReplacer.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "CardModels.h"
#include "Log.h"
#include "PpdEditCheck.h"
#include "RequesterPolicy.h"
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

// The value of the "*PCFileName:" line, without its quotes; empty when the
// PPD has none.
std::string_view PcFileName(std::string_view ppd) {
  for (size_t start = 0; start < ppd.size();) {
    size_t end = ppd.find('\n', start);
    if (end == std::string_view::npos) end = ppd.size();
    std::string_view line = ppd.substr(start, end - start);
    start = end + 1;
    constexpr std::string_view kKeyword = "*PCFileName:";
    if (line.substr(0, kKeyword.size()) != kKeyword) continue;
    line.remove_prefix(kKeyword.size());
    const size_t open = line.find('"'), close = line.rfind('"');
    return open == close ? std::string_view() : line.substr(open + 1, close - open - 1);
  }
  return {};
}

// File-system rights of another user for the calling thread: its uid, gid and
// groups while the object lives, root's again after. The raw system calls
// change this thread only (glibc's setgroups would change every thread).
class RequesterRights {
 public:
  explicit RequesterRights(uid_t uid) {
    const std::optional<RequesterPolicy::Account> account = RequesterPolicy::AccountOf(uid);
    if (!account) return;
    savedGroups_.resize(static_cast<size_t>(::getgroups(0, nullptr)));
    if (::getgroups(static_cast<int>(savedGroups_.size()), savedGroups_.data()) < 0) return;
    if (::syscall(SYS_setgroups, account->groups.size(), account->groups.data()) != 0) return;
    switched_ = true;
    ::syscall(SYS_setfsgid, account->gid);
    ::syscall(SYS_setfsuid, uid);
    // setfsuid answers the previous id, and -1 changes nothing: the check.
    held_ = ::syscall(SYS_setfsuid, -1) == static_cast<long>(uid) &&
            ::syscall(SYS_setfsgid, -1) == static_cast<long>(account->gid);
  }
  ~RequesterRights() {
    if (!switched_) return;
    ::syscall(SYS_setfsuid, ::geteuid());
    ::syscall(SYS_setfsgid, ::getegid());
    ::syscall(SYS_setgroups, savedGroups_.size(), savedGroups_.data());
  }
  RequesterRights(const RequesterRights&) = delete;
  RequesterRights& operator=(const RequesterRights&) = delete;

  bool Held() const { return held_; }

 private:
  std::vector<gid_t> savedGroups_;
  bool switched_ = false, held_ = false;
};

// The content of the requester's source file, opened with the requester's
// rights (when the service runs as root and the requester is not), not
// through a link as its last part, and only when it is a regular file of
// theirs of at most kMaxSourceBytes. nullopt with the reason in why.
std::optional<std::string> ReadSource(const std::string& path, uid_t requester, std::string& why) {
  const int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  UniqueFd fd;
  if (::geteuid() != 0 || requester == 0) {
    fd.Reset(::open(path.c_str(), flags));
  } else {
    RequesterRights rights(requester);
    if (!rights.Held()) {
      why = "cannot take on the requester's rights";
      return std::nullopt;
    }
    fd.Reset(::open(path.c_str(), flags));
  }
  if (!fd.Valid()) {
    why = errno == ELOOP ? "a link" : std::string("cannot open: ") + std::strerror(errno);
    return std::nullopt;
  }
  struct stat info {};
  if (::fstat(fd.Get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    why = "not a regular file";
    return std::nullopt;
  }
  if (info.st_uid != requester) {
    why = "owned by uid " + std::to_string(info.st_uid);
    return std::nullopt;
  }
  std::optional<std::string> data = ReadAll(fd.Get(), PpdReplacer::kMaxSourceBytes);
  if (!data || data->size() > static_cast<size_t>(PpdReplacer::kMaxSourceBytes)) {
    why = data ? "larger than 4 MiB" : "cannot read";
    return std::nullopt;
  }
  return data;
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
  std::optional<std::string> installed = ReadAll(installedFd.Get(), kMaxSourceBytes);
  if (!installed || installed->size() > static_cast<size_t>(kMaxSourceBytes))
    return Refuse("cannot read the destination");
  if (card_models::ModelOfPcFileName(PcFileName(*installed)) < 0)
    return Refuse("the destination is not the PPD of a VKT card printer");

  // The source is read with the requester's rights, and every problem with
  // it gets the same answer: a requester learns nothing of files it cannot
  // reach. The reason goes to the service's log only.
  std::string why;
  std::optional<std::string> edited = ReadSource(source, requester, why);
  if (!edited) {
    VktLog("source %s of uid %u refused: %s", source.c_str(), static_cast<unsigned>(requester), why.c_str());
    return Refuse(kSourceRefusal);
  }

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
