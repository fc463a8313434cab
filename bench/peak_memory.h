// How much memory a piece of work needs at its peak.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

// Runs the named work in a fresh process of this program, whose heap nothing has filled before, and
// returns by how many MiB its resident memory grew between resetPeak() and its peak. A negative
// number where that failed.
double peakGrowthMiB(const std::vector<std::string>& work);

// In main: where this process was started by peakGrowthMiB, does the work, reports and returns
// true.
bool runPeakWork(int argc, char** argv,
                 const std::function<void(const std::vector<std::string>&)>& runNamed);

// In the work: what it needs so far does not count.
void resetPeak();

}  // namespace bench
