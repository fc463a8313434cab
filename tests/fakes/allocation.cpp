#include "fakes/allocation.h"

#include <cstdlib>
#include <new>

namespace {

// Allocations left until one fails; 0 while none shall.
int remaining = 0;

void* allocateOrNull(std::size_t size) {
  if (remaining > 0 && --remaining == 0) return nullptr;
  return std::malloc(size != 0 ? size : 1);
}

void* allocate(std::size_t size) {
  void* block = allocateOrNull(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new[](std::size_t size) {
  return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocateOrNull(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return allocateOrNull(size);
}
void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete[](void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
  std::free(block);
}

namespace fakes {

AllocationFailure::AllocationFailure(int nth) {
  remaining = nth;
}
AllocationFailure::~AllocationFailure() {
  remaining = 0;
}

AllocationPause::AllocationPause() : remaining_(remaining) {
  remaining = 0;
}
AllocationPause::~AllocationPause() {
  remaining = remaining_;
}

}  // namespace fakes
