#include "turned_away.h"

#include <algorithm>

#include "call_line.h"
#include "problem.h"

namespace host {

void TurnedAway::count(Entrance entrance, uid_t peer, Clock::time_point now) {
  ++counts_[{entrance, peer}];
  due_ = std::min(due_, now + std::chrono::seconds(1));
}

std::vector<std::string> TurnedAway::takeLines() {
  const ProblemRow& busy = rowOf(Problem::kBusy);
  std::vector<std::string> lines;
  for (const auto& [caller, count] : counts_) {
    lines.push_back(summaryOfUnread(caller.first, caller.second) +
                    resultText(busy.status, busy.code) + " calls=" + std::to_string(count) +
                    ": no place became free for them");
  }
  counts_.clear();
  due_ = Clock::time_point::max();
  return lines;
}

}  // namespace host
