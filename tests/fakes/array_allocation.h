// Running out of memory at a chosen calloc().
#pragma once

namespace fakes {

// While it lives, the n-th calloc() of the code under test (counted from 1) fails.
class ArrayFailure {
 public:
  explicit ArrayFailure(int nth);
  ~ArrayFailure();
  ArrayFailure(const ArrayFailure&) = delete;
  ArrayFailure& operator=(const ArrayFailure&) = delete;
};

}  // namespace fakes
