// The resources of the disabled accounts.
#pragma once

#include <json/value.h>

#include "calls/answer.h"

namespace calls {

// POST /api/enable with {"users": [NAME, …]}: undoes what disabling the accounts did. For callers
// who are administrators; the answer of a failure names its causes.
Answer enableAccounts(const Json::Value& parameters);

// GET /api/disabled: the accounts that were disabled. For administrators too.
Answer disabledAccounts();

}  // namespace calls
