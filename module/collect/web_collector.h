// The logins to the web interface.
#pragma once

#include "zevo/api_request.h"

#include "session/session.h"

// Appends the current web logins, sorted and merged, to `out`. False, with a log line and `out`
// unchanged, if the request names no session file or the file could not be read. Takes no lock:
// writers replace the whole file.
bool HttpSessionListGet(ZEVO::APIRequest* request, SessionList& out);
