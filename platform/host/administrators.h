// Who administers this server.
#pragma once

#include "zevo/account.h"
#include "zevo/export.h"

namespace zevo {

// Whether the account is an administrator: uid 0, or a member of the administrators' group of the
// configuration, by its primary group or otherwise, as the name service tells it. False where the
// name service fails. Whether the account may log in is not asked.
ZEVO_EXPORT bool isAdministrator(const UserRecord& user);

}  // namespace zevo
