// The system's clock.
#pragma once

#include <ctime>
#include <string>

#include "fakes/calls.h"

namespace fakes {

class Clock {
 public:
  explicit Clock(Calls& calls) : calls_(calls) {}

  // From here on it is `now`, which ctime writes as `text`.
  void set(std::time_t now, std::string text);

  std::time_t read();
  char* format(std::time_t moment);

 private:
  Calls& calls_;
  std::time_t now_ = 0;
  std::string text_;
};

}  // namespace fakes
