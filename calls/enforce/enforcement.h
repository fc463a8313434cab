// POST /api/plan and POST /api/perform: what ending connections or disabling accounts would do, and
// doing it. Both are for administrators, and take
//   {"action": "kick", "connections": [ROW, …]}, rows as the list gives them; plan also
//   {"action": "kick", "select": {…}} with "pids", "user", "from", "type" or "filter"
//   {"action": "disable", "users": [NAME, …]}
// docs/http.md describes the answers. Reasons are keys with values; texts are the clients'.
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
  // The log's words for a method that is called on the way, as summaryOf gives them.
  std::function<std::string(std::string_view method)> summary;
};

// Changes nothing.
Answer plan(const Request& request, const Json::Value& parameters);

// Goes on to its end, whether or not the caller waits for it; each row leaves its lines in the
// authorisation log. To be called in the process of one call.
Answer perform(const Request& request, const Json::Value& parameters);

}  // namespace calls::enforce
