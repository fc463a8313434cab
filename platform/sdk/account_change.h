// What stands behind the account write's opaque types.
#pragma once

#include <optional>
#include <vector>

#include "zevo/local_account.h"

// One ZEVO_ERROR for each account of the batch; ZEVO_ERR_NONE where it was written.
struct VLIBCMResult {
  std::vector<int> codes;
};

struct VLIBUserShadow {
  std::optional<long> expiryDay;  // days since 1 January 1970; none: left as it is
};
