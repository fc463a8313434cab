// Who could still administer this server.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sdk/account_files.h"
#include "sdk/account_lookup.h"

namespace zevo {

// The group of administrators: `configured`, or where that is empty the first of administrators,
// sudo, wheel that exists. 0 or an errno; no such group is 0 and none.
int administratorsGroup(AccountSource& source, const std::string& configured,
                        std::optional<Group>* group);

// One who may be an administrator.
struct Administrator {
  Account account;
  std::optional<ShadowFields> shadow;  // as the name service tells it

  friend bool operator<(const Administrator& a, const Administrator& b) {
    return a.account.name < b.account.name;
  }
};

// The members of the administrators' group other than uid 0: those that the group names, those
// accounts that are told with it as their primary group, and those of `names` whose login would get
// it. A member whose account cannot be looked up is left out, so it counts as nobody who could log
// in. 0, or an errno where the group, its primary members or one of `names` cannot be judged.
int readAdministrators(AccountSource& source, const std::string& configured,
                       const std::set<std::string>& names,
                       std::vector<Administrator>* administrators);

// Names of those who could log in on `today` (a day since 1970): with a login shell, neither
// expired nor locked. An account with an entry in `shadow`, the local file, is judged by the first
// one; any other by what the name service tells of it: its shadow entry, or where it shows none the
// password field, in which "x" would refer to that entry. Directories that show "*" there keep the
// password to themselves, and their accounts count. `shells` empty: the system has no such list,
// and any shell will do.
std::set<std::string> validAdministrators(const std::vector<Administrator>& administrators,
                                          const std::vector<ShadowEntry>& shadow,
                                          const std::set<std::string>& shells, long today);

}  // namespace zevo
