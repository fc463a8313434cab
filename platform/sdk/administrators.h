// Determines who could still administer this server.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "sdk/account_files.h"
#include "sdk/account_lookup.h"

namespace zevo {

// The group of administrators: `configured`, or if that is empty the first of administrators, sudo,
// wheel that exists. 0 or an errno; 0 and none if there is no such group.
int administratorsGroup(AccountSource& source, const std::string& configured,
                        std::optional<Group>* group);

// A possible administrator.
struct Administrator {
  Account account;
  std::optional<ShadowFields> shadow;  // according to the name service

  friend bool operator<(const Administrator& a, const Administrator& b) {
    return a.account.name < b.account.name;
  }
};

// The members of the administrators' group other than uid 0: those listed in the group, those with
// it as their primary group, and those of `names` whose login would get it. A member whose account
// cannot be looked up is left out, so it does not count as somebody who can log in. 0, or an errno
// if the group, its primary members or one of `names` cannot be read.
int readAdministrators(AccountSource& source, const std::string& configured,
                       const std::set<std::string>& names,
                       std::vector<Administrator>* administrators);

// The names of those who can log in on `today` (a day since 1970): with a login shell, neither
// expired nor locked. For an account with an entry in `shadow`, the local file, the first entry
// counts; otherwise the shadow entry of the name service or, if there is none, the password field,
// in which "x" would refer to that entry. Directory services that show "*" there do not disclose
// the password, and their accounts count. `shells` empty: the system has no such list, and any
// shell is accepted.
std::set<std::string> validAdministrators(const std::vector<Administrator>& administrators,
                                          const std::vector<ShadowEntry>& shadow,
                                          const std::set<std::string>& shells, long today);

}  // namespace zevo
