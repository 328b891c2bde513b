// Membership test for the group that may replace PPD files.
#include "RequesterPolicy.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

RequesterPolicy::RequesterPolicy(std::string group) : group_(std::move(group)) {}

bool RequesterPolicy::Allows(uid_t uid) const {
  if (uid == 0) return true;
  if (group_.empty()) return false;

  std::vector<char> buffer(16384);
  group groupEntry{};
  group* foundGroup = nullptr;
  if (::getgrnam_r(group_.c_str(), &groupEntry, buffer.data(), buffer.size(), &foundGroup) != 0 || !foundGroup)
    return false;  // no such group: only root may ask
  const gid_t allowed = foundGroup->gr_gid;

  std::vector<char> userBuffer(16384);
  passwd userEntry{};
  passwd* foundUser = nullptr;
  if (::getpwuid_r(uid, &userEntry, userBuffer.data(), userBuffer.size(), &foundUser) != 0 || !foundUser) return false;
  if (foundUser->pw_gid == allowed) return true;

  int count = 64;
  std::vector<gid_t> groups(static_cast<size_t>(count));
  if (::getgrouplist(foundUser->pw_name, foundUser->pw_gid, groups.data(), &count) < 0) {
    groups.resize(static_cast<size_t>(count));
    if (::getgrouplist(foundUser->pw_name, foundUser->pw_gid, groups.data(), &count) < 0) return false;
  }
  groups.resize(static_cast<size_t>(count));
  return std::find(groups.begin(), groups.end(), allowed) != groups.end();
}
