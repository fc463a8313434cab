// What a piece of work costs.
#pragma once

#include <functional>
#include <vector>

namespace bench {

// Processor time of this process so far, the kernel's work for it included.
double processorSeconds();

double median(std::vector<double> values);

// Many runs of one piece of work. Machines are noisy: what counts is the median.
class Costs {
 public:
  // Runs the work once; returns the processor time that it took.
  double run(const std::function<void()>& work);

  // In seconds.
  [[nodiscard]] double processor() const { return median(processor_); }
  [[nodiscard]] double elapsed() const { return median(elapsed_); }

 private:
  std::vector<double> processor_;
  std::vector<double> elapsed_;
};

}  // namespace bench
