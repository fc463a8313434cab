// Methods that run in parallel, for one call.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "zevo/api_request.h"
#include "zevo/api_table.h"

#include "calls/parsed_answer.h"

namespace calls {

struct ChildCall {
  ApiHandler handler = nullptr;
  ZEVO::RequestContext context;
  // The result of summaryOf: the method's own process logs what it is about to change, and
  // afterwards the result. Empty if the method only reads.
  std::string summary = {};
};

// The time limits for the children of one call.
struct ChildTimes {
  std::chrono::steady_clock::time_point lastStart;  // no child is started later
  std::chrono::steady_clock::time_point end;        // running children are ended
};

inline constexpr std::size_t kMostChildren = 64;

// Runs each of `calls` in its own process, as the modules require, at most kMostChildren at a time,
// and returns their answers in the same order; nothing for a call that was not started. The
// children belong to the process group of this process and end with it. Requires a single-threaded
// process with the default action for SIGCHLD.
std::vector<std::optional<MethodAnswer>> callInChildren(const std::vector<ChildCall>& calls,
                                                        const ChildTimes& times);

}  // namespace calls
