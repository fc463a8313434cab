// Accounts of this server.
#pragma once

#include <string_view>
#include <sys/types.h>

#include "zevo/export.h"

// One account according to the name service, in one block of memory.
struct UserRecord {
  uid_t uid;
  gid_t gid;
  const char* name;  // the account name: "root" for a look-up of its alias
  const char* home;
  const char* shell;
};

namespace zevo {

// The name under which uid 0 is shown.
inline constexpr const char* kRootAlias = "admin";

// The name under which connections of the account `user` are shown.
constexpr std::string_view shownName(std::string_view user) {
  return user == "root" ? kRootAlias : user;
}

}  // namespace zevo

extern "C" {

// Looks up the account `name` (local or of any other source of the name service) and stores a new
// record in *user. Returns 0 on success; a negative number, with *user null and the last error set,
// if there is no such account (ZEVO_ERR_NO_SUCH_USER) or the look-up failed. If there is no
// account "admin", "admin" is uid 0, since root's connections are shown under that name. The caller
// releases the record with ZEVOUserFree.
ZEVO_EXPORT int ZEVOUserGet(const char* name, UserRecord** user);

// Releases a record of ZEVOUserGet; null is allowed.
ZEVO_EXPORT void ZEVOUserFree(UserRecord* user);

}  // extern "C"
