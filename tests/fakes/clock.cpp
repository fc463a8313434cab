#include "fakes/clock.h"

#include "fakes/allocation.h"
#include "fakes/platform.h"

// The linker sends time() and ctime() of the test program here.
extern "C" {

std::time_t __wrap_time(std::time_t* result);
char* __wrap_ctime(const std::time_t* moment);

std::time_t __wrap_time(std::time_t* result) {
  const fakes::AllocationPause pause;
  const std::time_t now = fakes::Platform::current("time").clock.read();
  if (result != nullptr) *result = now;
  return now;
}

char* __wrap_ctime(const std::time_t* moment) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("ctime").clock.format(*moment);
}

}  // extern "C"

namespace fakes {

void Clock::set(std::time_t now, std::string text) {
  now_ = now;
  text_ = std::move(text);
}

std::time_t Clock::read() {
  if (now_ == 0) {
    calls_.unscripted("time()");
  } else {
    calls_.record("time()");
  }
  return now_;
}

char* Clock::format(std::time_t moment) {
  calls_.record("ctime(" + std::to_string(moment) + ")");
  return text_.data();
}

}  // namespace fakes
