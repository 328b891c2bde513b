// Membership test for the groups that may replace PPD files.
#include "RequesterPolicy.h"

#include <grp.h>
#include <pwd.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <utility>

RequesterPolicy::RequesterPolicy(std::vector<std::string> groups) : groups_(std::move(groups)) {}

bool RequesterPolicy::Allows(uid_t uid) const {
  if (uid == 0) return true;

  std::vector<gid_t> allowed;
  for (const std::string& name : groups_) {
    std::vector<char> buffer(16384);
    group entry{};
    group* found = nullptr;
    if (!name.empty() && ::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) == 0 && found)
      allowed.push_back(found->gr_gid);
  }
  if (allowed.empty()) return false;  // no such group: only root may ask

  const std::optional<Account> account = AccountOf(uid);
  return account && std::any_of(account->groups.begin(), account->groups.end(), [&](gid_t gid) {
           return std::find(allowed.begin(), allowed.end(), gid) != allowed.end();
         });
}

std::optional<RequesterPolicy::Account> RequesterPolicy::AccountOf(uid_t uid) {
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) != 0 || !found) return std::nullopt;
  int count = 64;
  std::vector<gid_t> groups(static_cast<size_t>(count));
  if (::getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
    groups.resize(static_cast<size_t>(count));
    if (::getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) return std::nullopt;
  }
  groups.resize(static_cast<size_t>(count));
  return Account{found->pw_gid, std::move(groups)};
}

std::string RequesterPolicy::GroupsText() const {
  std::string names;
  for (const std::string& name : groups_) names += (names.empty() ? "" : ", ") + name;
  return (groups_.size() == 1 ? "group " : "any of the groups ") + names;
}

std::vector<std::string> RequesterPolicy::SystemGroups(std::string_view cupsFilesConf) {
  std::vector<std::string> groups;
  std::istringstream lines{std::string(cupsFilesConf)};
  std::string line;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string directive;
    // Directive names are matched without regard to case, as the scheduler does.
    if (!(words >> directive) || ::strcasecmp(directive.c_str(), "SystemGroup") != 0) continue;
    groups.clear();
    for (std::string name; words >> name;) groups.push_back(name);
  }
  return groups;
}
