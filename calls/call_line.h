// The parts of a call's line in the log: method=… user=… from=… status=… code=… ms=…
#pragma once

#include <chrono>
#include <string>
#include <sys/types.h>

#include "calls/http_request.h"
#include "calls/identity.h"

namespace calls {

// What is called, by whom and from where; nobody is known yet where `caller` is null.
std::string summaryOf(const HttpRequest& request, const Caller* caller);

// The same of a call that was not read: all that is known of it is the process at the other end,
// which over the web is the web server.
std::string summaryOfUnread(SocketKind socketKind, uid_t peer);

// What came of it, with a space in front.
std::string resultText(int status, int code);
std::string timeText(std::chrono::steady_clock::duration spent);

}  // namespace calls
