// Whether a call that changes something comes from a page of this server.
#pragma once

#include "calls/http_request.h"

namespace calls {

// Browsers say where a state-changing call comes from: in Sec-Fetch-Site, in Origin, or in both. A
// call that says neither comes from no browser's page, and what a page of another origin could send
// carries no cookie of ours (SameSite=Strict). False where either header names another origin. An
// encrypted connection is asked from an encrypted page only; where TLS ends at a proxy in front of
// the web server, either scheme will do.
bool isSameOrigin(const HttpRequest& request);

}  // namespace calls
