#include "daemon/rejected_calls.h"

#include <algorithm>

#include "calls/call_log.h"
#include "calls/problem.h"

namespace currentconnd {

void RejectedCalls::count(calls::SocketKind socketKind, uid_t peer, Clock::time_point now) {
  ++counts_[{socketKind, peer}];
  due_ = std::min(due_, now + std::chrono::seconds(1));
}

std::vector<std::string> RejectedCalls::takeLines() {
  const calls::ProblemRow& busy = calls::rowOf(calls::Problem::kBusy);
  std::vector<std::string> lines;
  for (const auto& [caller, count] : counts_) {
    lines.push_back(calls::summaryOfUnread(caller.first, caller.second) +
                    calls::resultText(busy.status, busy.code) + " calls=" + std::to_string(count) +
                    ": no free place");
  }
  counts_.clear();
  due_ = Clock::time_point::max();
  return lines;
}

}  // namespace currentconnd
