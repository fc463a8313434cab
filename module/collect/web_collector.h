// The logins to the web interface.
#pragma once

#include "zevo/api_request.h"

#include "session/session.h"

// Appends the current web logins, sorted and folded among themselves, to `out`. False, with a log
// line and `out` unchanged, where the request names no session file or the file could not be read.
// Takes no lock: writers replace the file as a whole.
bool HttpSessionListGet(ZEVO::APIRequest* request, SessionList& out);
