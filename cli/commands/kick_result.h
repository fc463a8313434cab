// What became of a kick.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/client/answer.h"
#include "cli/commands/ending.h"
#include "cli/commands/kick_plan.h"

namespace cli {

// `answers` are those to the plan's calls: one for each service connection, in their order, and one
// for the web logins together.
using Answers = std::vector<std::optional<Answer>>;

// The attempt to end what `plan` would; `before` and `begin` as in an attempt.
Attempt attemptOf(const KickPlan& plan, const Answers& answers,
                  const std::vector<Connection>& before, const std::string& begin);

// What went wrong in the calls: a sentence, and why; empty where nothing did.
std::vector<std::string> problemsOf(const Answers& answers);

}  // namespace cli
