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

// What is called, by whom and from where; `caller` is null while the caller is unknown. `method`:
// the method called, if it differs from the request's path.
std::string summaryOf(const HttpRequest& request, const Caller* caller,
                      std::string_view method = {});

// The same for a call whose request was not read: only the process at the other end is known, which
// over the web is the web server.
std::string summaryOfUnread(SocketKind socketKind, uid_t peer);

// The result of the call, with a leading space.
std::string resultText(int status, int code);
std::string timeText(std::chrono::steady_clock::duration spent);

// Logs a state-changing call to the authorisation log before it runs, since its process may crash.
// Logs all of it, on as many lines as needed, or padding could hide a name; for a caller whom the
// method will refuse, the first line is enough.
void logBeginning(const std::string& summary, const Json::Value& parameters, bool isAdmin);
// Logs what a call skips.
void logLeftOut(const std::string& summary, const Json::Value& what);
// Logs the result of the call.
void logEnd(const std::string& summary, int status, int code, bool isAdmin);

// Runs `run`, which returns a Reply, between the lines of a state-changing call.
template <typename Run>
auto runLogged(const std::string& summary, const Json::Value& parameters, bool isAdmin, Run run) {
  logBeginning(summary, parameters, isAdmin);
  auto reply = run();
  logEnd(summary, reply.status, reply.code, isAdmin);
  return reply;
}

}  // namespace calls
