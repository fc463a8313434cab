#include "kick_result.h"

#include <algorithm>
#include <cstddef>

#include "warnings.h"

namespace cli {
namespace {

void addProblem(const std::optional<Answer>& answer, KickResult* result) {
  std::vector<std::string> causes;
  if (!answer) {
    causes.emplace_back("it was interrupted");
  } else if (answer->status != Answer::Status::kDone) {
    causes = answer->causes;
    if (causes.empty()) causes.emplace_back("the system log tells more: journalctl -t currentconn");
  }
  for (const std::string& cause : causes) {
    if (result->problems.empty()) result->problems.emplace_back("not every step succeeded:");
    if (std::find(result->problems.begin(), result->problems.end(), cause) ==
        result->problems.end()) {
      result->problems.push_back(cause);
    }
    result->isComplete = false;
  }
}

}  // namespace

bool isStillThere(const Connection& connection, const std::vector<Connection>& now) {
  return std::any_of(now.begin(), now.end(), [&](const Connection& other) {
    if (other.type != connection.type) return false;
    if (connection.type != "HTTP/HTTPS") return other.pid == connection.pid;
    return other.who == connection.who && other.from == connection.from;
  });
}

std::string fateOf(const Connection& connection, const Page& now) {
  if (isStillThere(connection, now.connections)) return "still there: " + describe(connection);
  return (mayLack(now.warnings, {connection}) ? "not known: " : "ended: ") + describe(connection);
}

KickResult makeKickResult(const KickPlan& plan, const std::vector<std::optional<Answer>>& answers,
                          const Page& now) {
  KickResult result;
  result.isComplete = true;
  for (const auto* connections : {&plan.services, &plan.webLogins}) {
    for (const Connection& connection : *connections) {
      result.lines.push_back(fateOf(connection, now));
      result.isComplete &= result.lines.back().starts_with("ended: ");
    }
  }
  for (const std::optional<Answer>& answer : answers) addProblem(answer, &result);
  return result;
}

}  // namespace cli
