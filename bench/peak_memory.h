// How much memory a piece of work needs at its peak.
#pragma once

#include <functional>

namespace bench {

// Runs `work` in a child process and returns by how many MiB its resident memory grew at the peak;
// a negative number where the child failed.
double peakGrowthMiB(const std::function<void()>& work);

}  // namespace bench
