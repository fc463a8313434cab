#include "cli/commands/kick_result.h"

#include <algorithm>
#include <cstddef>

namespace cli {
namespace {

std::vector<std::string> causesOf(const std::optional<Answer>& answer) {
  if (!answer) return {"it was interrupted"};
  if (answer->status == Answer::Status::kDone) return {};
  if (!answer->causes.empty()) return answer->causes;
  return {"the system log tells more: journalctl -t currentconn"};
}

}  // namespace

Attempt attemptOf(const KickPlan& plan, const Answers& answers,
                  const std::vector<Connection>& before, const std::string& begin) {
  Attempt attempt{.targets = {}, .before = before, .begin = begin, .warnings = {}};
  for (std::size_t i = 0; i < plan.services.size(); ++i) {
    attempt.targets.push_back({plan.services[i], hindranceOf(answers[i])});
  }
  for (const Connection& login : plan.webLogins) {
    attempt.targets.push_back({login, hindranceOf(answers.back())});
  }
  for (const std::optional<Answer>& answer : answers) {
    if (!answer) continue;
    attempt.warnings.insert(attempt.warnings.end(), answer->warnings.begin(),
                            answer->warnings.end());
  }
  return attempt;
}

std::vector<std::string> problemsOf(const Answers& answers) {
  std::vector<std::string> problems;
  for (const std::optional<Answer>& answer : answers) {
    for (const std::string& cause : causesOf(answer)) {
      if (problems.empty()) problems.emplace_back("not every step succeeded:");
      if (std::find(problems.begin(), problems.end(), cause) == problems.end()) {
        problems.push_back(cause);
      }
    }
  }
  return problems;
}

}  // namespace cli
