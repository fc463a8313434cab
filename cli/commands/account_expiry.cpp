#include "cli/commands/account_expiry.h"

#include <shadow.h>

#include "base/account_name.h"

namespace cli {

std::optional<long> expiryOf(const std::string& user) {
  if (!zevo::canBeAccountName(user)) return {};
  const spwd* entry = getspnam(user.c_str());
  if (!entry) return {};
  return entry->sp_expire;
}

}  // namespace cli
