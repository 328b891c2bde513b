// Decides who may ask the service to replace a PPD: root, and the members of
// the groups CUPS trusts with queue set-up (by default the scheduler's own
// SystemGroup: lpadmin on Debian, sys, root and wheel on Fedora).
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

class RequesterPolicy {
 public:
  explicit RequesterPolicy(std::vector<std::string> groups);

  // Root always; another user when one of the groups exists and is the
  // user's primary group or one of their supplementary groups. Looked up on
  // every call so a change of membership counts at once.
  bool Allows(uid_t uid) const;

  // "group lpadmin", or "any of the groups sys, root, wheel".
  std::string GroupsText() const;

  // The primary group of an account and all its groups (the primary one
  // among them); nullopt when the uid has no account.
  struct Account {
    gid_t gid;
    std::vector<gid_t> groups;
  };
  static std::optional<Account> AccountOf(uid_t uid);

  // The groups of the SystemGroup directive in the text of cups-files.conf
  // (the last one counts, as for the scheduler); empty when there is none.
  static std::vector<std::string> SystemGroups(std::string_view cupsFilesConf);

 private:
  std::vector<std::string> groups_;
};
