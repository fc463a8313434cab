// Running out of memory at a chosen allocation.
#pragma once

namespace fakes {

// While it lives, the n-th allocation (counted from 1) of the code under test and of the libraries
// that it calls fails, once: operator new throws std::bad_alloc, malloc() returns null. Allocations
// that the double makes for itself do not count.
class AllocationFailure {
 public:
  explicit AllocationFailure(int nth);
  ~AllocationFailure();
  AllocationFailure(const AllocationFailure&) = delete;
  AllocationFailure& operator=(const AllocationFailure&) = delete;

  // Whether there was an n-th allocation.
  [[nodiscard]] bool happened() const;
};

// While it lives, allocations neither count nor fail.
class AllocationPause {
 public:
  AllocationPause();
  ~AllocationPause();
  AllocationPause(const AllocationPause&) = delete;
  AllocationPause& operator=(const AllocationPause&) = delete;

 private:
  int remaining_;
};

}  // namespace fakes
