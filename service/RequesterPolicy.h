// Decides who may ask the service to replace a PPD: root, and the members of
// one group (lpadmin by default, the group CUPS trusts with queue set-up).
#pragma once

#include <sys/types.h>

#include <string>

class RequesterPolicy {
 public:
  explicit RequesterPolicy(std::string group);

  // Root always; another user when the group exists and is the user's
  // primary group or one of their supplementary groups. Looked up on every
  // call so a change of membership counts at once.
  bool Allows(uid_t uid) const;

  const std::string& Group() const { return group_; }

 private:
  std::string group_;
};
