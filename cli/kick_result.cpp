#include "kick_result.h"

#include <algorithm>
#include <cstddef>

namespace cli {
namespace {

void addLine(const Connection& connection, bool isThere, KickResult* result) {
  result->lines.push_back((isThere ? "still there: " : "ended: ") + describe(connection));
  if (isThere) result->isComplete = false;
}

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

KickResult makeKickResult(const KickPlan& plan, const std::vector<std::optional<Answer>>& answers,
                          const std::vector<Connection>& now) {
  KickResult result;
  result.isComplete = true;
  for (const Connection& connection : plan.services) {
    addLine(connection, isStillThere(connection, now), &result);
  }
  for (const Connection& login : plan.webLogins) addLine(login, isStillThere(login, now), &result);
  for (const std::optional<Answer>& answer : answers) addProblem(answer, &result);
  return result;
}

}  // namespace cli
