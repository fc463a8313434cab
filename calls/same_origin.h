// Whether a call that changes something comes from a page of this server.
#pragma once

#include "calls/http_request.h"

namespace calls {

// Browsers send the origin of a state-changing call in Sec-Fetch-Site, in Origin, or in both. A
// call with neither does not come from a page in a browser, and calls from a page of another origin
// carry no cookie of ours (SameSite=Strict). False if either header names another origin. With TLS,
// only an encrypted page of this server may call; if TLS ends at a proxy in front of the web
// server, either scheme is accepted.
bool isSameOrigin(const HttpRequest& request);

}  // namespace calls
