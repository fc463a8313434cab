// Names and ids of accounts.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

#include "services/gone.h"

namespace zevo::connections {

// Stands for an account that nobody can tell.
inline constexpr std::string_view kUnknownUser = "unknown";

// Whether no account has the id `uid`. False where the name service fails.
bool isNobodys(uid_t uid);

// Id of the account `name`; gone where there is none, failed where the name service does not
// answer.
Result<uid_t> accountId(const std::string& name);

}  // namespace zevo::connections
