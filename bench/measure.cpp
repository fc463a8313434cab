#include "bench/measure.h"

#include <algorithm>
#include <chrono>
#include <ctime>

namespace bench {

double processorSeconds() {
  timespec now = {};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double Costs::run(const std::function<void()>& work) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point began = Clock::now();
  const double start = processorSeconds();
  work();
  processor_.push_back(processorSeconds() - start);
  elapsed_.push_back(std::chrono::duration<double>(Clock::now() - began).count());
  return processor_.back();
}

}  // namespace bench
