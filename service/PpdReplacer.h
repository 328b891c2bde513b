// Puts an edited PPD in place of an installed card-printer PPD: checks both
// paths, reads the source with the requester's rights, checks its owner, its
// size and the content rule, then replaces the file atomically (the previous
// file kept as <queue>.ppd.O). Killed at any moment it leaves the old PPD or
// the new one, whole.
#pragma once

#include <sys/types.h>

#include <string>

class PpdReplacer {
 public:
  struct Outcome {
    bool done = false;
    std::string reason;  // why it was refused or failed; empty when done
  };

  // folder: the PPD folder, e.g. /etc/cups/ppd (a trailing "/" is ignored).
  explicit PpdReplacer(std::string folder);

  // Replaces destination (<folder>/<queue>.ppd) with the content of source,
  // a file of the requester.
  Outcome Replace(const std::string& source, const std::string& destination, uid_t requester) const;

  // Removes temporary files a killed run left in the folder.
  void RemoveStaleTemporaries() const;

  const std::string& Folder() const { return folder_; }

  static constexpr off_t kMaxSourceBytes = 4 * 1024 * 1024;
  // The one answer to every problem with the source file.
  static constexpr const char* kSourceRefusal = "the source is not a readable PPD file of the requester";
  // Every temporary file in the folder starts with this name.
  static constexpr const char* kTemporaryPrefix = ".vkts3-ppd-service.";

 private:
  std::string folder_;
};
