// Methods that run beside each other, for one call.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "zevo/api_request.h"
#include "zevo/api_table.h"

#include "calls/method_answer.h"

namespace calls {

struct ChildCall {
  ApiHandler handler = nullptr;
  ZEVO::RequestContext context;
  // As summaryOf gives it: what the method is about to change is logged before it runs, and how it
  // ended afterwards, by its own process. Empty: it only reads.
  std::string summary = {};
};

// When one call has to be done with its children.
struct ChildTimes {
  std::chrono::steady_clock::time_point lastStart;  // none is begun later
  std::chrono::steady_clock::time_point end;        // whatever runs then is ended
};

inline constexpr std::size_t kMostChildren = 64;

// Runs each of `calls` in a process of its own, as the modules expect it, at most kMostChildren at
// a time, and gives their answers in the same order; nothing for a call that was not begun. The
// children belong to the process group of this process and end with it, however it ends. To be
// called in a process without further threads whose SIGCHLD has its default action.
std::vector<std::optional<MethodAnswer>> callInChildren(const std::vector<ChildCall>& calls,
                                                        const ChildTimes& times);

}  // namespace calls
