// The definitions of the account write's opaque types.
#pragma once

#include <optional>
#include <vector>

#include "zevo/local_account.h"

// One ZEVO_ERROR per account of the batch; ZEVO_ERR_NONE if it was written.
struct VLIBCMResult {
  std::vector<int> codes;
};

struct VLIBUserShadow {
  std::optional<long> expiryDay;  // days since 1 January 1970; none: unchanged
};
