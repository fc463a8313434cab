// The resources of the disabled accounts.
#pragma once

#include <json/value.h>

#include "calls/answer.h"

namespace calls {

// POST /api/enable with {"users": [NAME, …]}: enables disabled accounts again. Only for
// administrators; the answer to a failure gives its causes.
Answer enableAccounts(const Json::Value& parameters);

// GET /api/disabled: the accounts that were disabled. Only for administrators.
Answer disabledAccounts();

}  // namespace calls
