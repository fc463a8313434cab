// Names and ids of accounts.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

#include "services/gone.h"

namespace zevo::connections {

// Whether no account has the id `uid`. False if the name service fails.
bool isNobodys(uid_t uid);

// The id of the account `name`; gone if there is none, failed if the name service fails.
Result<uid_t> accountId(const std::string& name);

}  // namespace zevo::connections
