// Removes the accounts that are never listed.
#pragma once

#include "session/session.h"

// Removes the sessions of users whose user id is 100000 to 299999. Each distinct user is looked up
// once per pass; a user who cannot be looked up is logged once and kept. Always true.
bool SessionListUidFilter(SessionList& list);
