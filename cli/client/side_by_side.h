// Calls that run at the same time.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "cli/client/answer.h"
#include "cli/client/client.h"

namespace cli {

struct Call {
  std::string method;
  Json::Value parameters;
};

// Makes each of `calls` in a process of its own, at most kMostCalls at a time, and gives their
// answers in the same order. `isWaiting` is called with the number of answers that are there, at
// first, with each answer and once a second. On SIGINT or SIGTERM no further call is begun, and the
// running ones go on to their end: nothing for a call that was not made. A second signal ends the
// program, though not the running calls.
std::vector<std::optional<Answer>> callSideBySide(
    Client& client, const std::vector<Call>& calls,
    const std::function<void(std::size_t done)>& isWaiting);

inline constexpr std::size_t kMostCalls = 64;

}  // namespace cli
