// The parts of a call's line in the log: method=… user=… from=… status=… code=… ms=…
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <sys/types.h>

#include <json/value.h>

#include "calls/http_request.h"
#include "calls/identity.h"

namespace calls {

// What is called, by whom and from where; nobody is known yet where `caller` is null. `method`:
// what the call does on its way, where that is not what the request's path names.
std::string summaryOf(const HttpRequest& request, const Caller* caller,
                      std::string_view method = {});

// The same of a call that was not read: all that is known of it is the process at the other end,
// which over the web is the web server.
std::string summaryOfUnread(SocketKind socketKind, uid_t peer);

// What came of it, with a space in front.
std::string resultText(int status, int code);
std::string timeText(std::chrono::steady_clock::duration spent);

// Says in the authorisation log what a state-changing call is about, before it runs: its process
// may not come back. All of it, on as many lines as that takes, or padding could push a name out;
// of a caller whom the method will refuse the first line is enough.
void logBeginning(const std::string& summary, const Json::Value& parameters, bool isAdmin);
// What a call does not do that it was asked for.
void logLeftOut(const std::string& summary, const Json::Value& what);
// And what came of it.
void logEnd(const std::string& summary, int status, int code, bool isAdmin);

}  // namespace calls
