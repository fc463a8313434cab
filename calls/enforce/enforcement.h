// POST /api/plan and POST /api/perform: what ending connections or disabling accounts would do, and
// doing it. Both are for administrators, and take
//   {"action": "kick", "connections": [ROW, …]}, rows of the list; plan also
//   {"action": "kick", "select": {…}} with "pids", "user", "from", "type" or "filter"
//   {"action": "disable", "users": [NAME, …]}
// docs/http.md describes the answers. Reasons are keys with values; texts are up to the clients.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <json/value.h>

#include "calls/answer.h"
#include "calls/identity.h"
#include "calls/modules.h"

namespace calls::enforce {

struct Request {
  const Caller& caller;
  const Modules& modules;
  const std::string& sessionFile;
  // The log's words for a method called internally, from summaryOf.
  std::function<std::string(std::string_view method)> summary;
};

// Changes nothing.
Answer plan(const Request& request, const Json::Value& parameters);

// Completes its work even if the caller does not wait; each row has its lines in the authorisation
// log. Call it in the process of one call.
Answer perform(const Request& request, const Json::Value& parameters);

}  // namespace calls::enforce
