// What became of a kick.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "answer.h"
#include "connection.h"
#include "kick_plan.h"

namespace cli {

struct KickResult {
  std::vector<std::string> lines;     // one for each connection of the plan
  std::vector<std::string> problems;  // what went wrong: a sentence, and why; empty where nothing
  bool isComplete = false;            // all that was to end has ended
};

// `answers` are those to the plan's calls: one for each service connection, in their order, and one
// for the web logins together. `now` is the list of all connections after them.
KickResult makeKickResult(const KickPlan& plan, const std::vector<std::optional<Answer>>& answers,
                          const Page& now);

// A line on `connection`, which was to end: whether it is among those of `now`, as far as that
// tells.
std::string fateOf(const Connection& connection, const Page& now);

// Whether `connection` is among those of `now`. A process is known by its pid and service, since
// the users whom it serves may change; a web login by user and address.
bool isStillThere(const Connection& connection, const std::vector<Connection>& now);

}  // namespace cli
