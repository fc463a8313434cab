// Names of accounts.
#pragma once

#include <string>
#include <string_view>
#include <sys/types.h>

namespace zevo::connections {

// Stands for an account that nobody can tell.
inline constexpr std::string_view kUnknownUser = "unknown";

// Name of the account with the id `uid`; the id itself where no account has it (any longer) or the
// name service does not answer, as ps writes it.
std::string accountName(uid_t uid);

}  // namespace zevo::connections
