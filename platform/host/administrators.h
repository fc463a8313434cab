// Identifies the administrators of this server.
#pragma once

#include "zevo/account.h"
#include "zevo/export.h"

namespace zevo {

// Whether the account is an administrator: uid 0, or a member of the administrators' group of the
// configuration, by its primary group or otherwise, according to the name service. False if the
// name service fails. Does not check whether the account may log in.
ZEVO_EXPORT bool isAdministrator(const UserRecord& user);

}  // namespace zevo
