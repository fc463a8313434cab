// Disabling local accounts.
#pragma once

#include <list>
#include <string>

// Sets the expiry of each account to day 1, in one write: all of them or none. `names` holds each
// name once. True for an empty list, which touches nothing. On failure the SDK's last error has the
// reason; nothing is logged.
bool DisableUserAccounts(const std::list<std::string>& names);
