#include "fakes/platform.h"

#include <cstdio>
#include <cstdlib>

#include "fakes/allocation.h"

namespace fakes {

namespace {

Platform* currentPlatform = nullptr;

}  // namespace

Platform::Platform() {
  currentPlatform = this;
}

Platform::~Platform() {
  currentPlatform = nullptr;
}

Platform* Platform::find() {
  return currentPlatform;
}

Platform& Platform::current(const char* function) {
  if (currentPlatform == nullptr) {
    std::fprintf(stderr, "%s called without a platform double\n", function);
    std::abort();
  }
  return *currentPlatform;
}

}  // namespace fakes

// The linker sends set_demo_mode() of the test program here.
extern "C" {

void __real_set_demo_mode();
void __wrap_set_demo_mode();

void __wrap_set_demo_mode() {
  {
    const fakes::AllocationPause pause;
    fakes::Platform::current("set_demo_mode").calls.record("set_demo_mode()");
  }
  __real_set_demo_mode();
}

}  // extern "C"
