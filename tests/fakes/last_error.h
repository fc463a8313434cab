// The last error of the system SDK.
#pragma once

#include <string>

#include "fakes/calls.h"

namespace fakes {

class LastError {
 public:
  explicit LastError(Calls& calls) : calls_(calls) {}

  // Set by the code under test, recorded.
  void set(int code);
  // Set by the platform itself.
  void assign(int code) { code_ = code; }
  int get();
  [[nodiscard]] int code() const { return code_; }

 private:
  Calls& calls_;
  int code_ = 0;
};

}  // namespace fakes
