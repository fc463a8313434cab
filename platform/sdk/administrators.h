// Who could still administer this server.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "sdk/account_files.h"

namespace zevo {

// What the rule looks at.
struct AccountFiles {
  std::map<std::string, PasswdEntry> passwd;
  std::map<std::string, Group> groups;
  std::set<std::string> shells;  // empty: the system has no such list, and any shell will do
};

// Names of the valid administrators: local members of `group` (empty: the first of administrators,
// sudo, wheel that exists) other than uid 0, with a login shell, whose shadow entry is neither
// expired on `today` (a day since 1970) nor locked. Where a name has several shadow entries the
// first counts.
std::set<std::string> validAdministrators(const AccountFiles& files,
                                          const std::vector<ShadowEntry>& shadow,
                                          const std::string& group, long today);

}  // namespace zevo
