#include "fakes/array_allocation.h"

#include <cstddef>

namespace {

// Calls left until one fails; 0 while none shall.
int arraysRemaining = 0;

}  // namespace

// The linker sends every calloc() of the test program here.
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (arraysRemaining > 0 && --arraysRemaining == 0) return nullptr;
  return __real_calloc(count, size);
}

namespace fakes {

ArrayFailure::ArrayFailure(int nth) {
  arraysRemaining = nth;
}
ArrayFailure::~ArrayFailure() {
  arraysRemaining = 0;
}

}  // namespace fakes
