// Allocations that fail at a chosen point. It replaces the allocation functions, so a program
// includes it in one file.
#pragma once

#include <cstdlib>
#include <new>

namespace zevo::testing_support {

inline long allocationsLeft = -1;  // below 0: no limit

inline void* allocate(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace zevo::testing_support

void* operator new(std::size_t size) {
  return zevo::testing_support::allocate(size);
}
void* operator new[](std::size_t size) {
  return zevo::testing_support::allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return std::malloc(size == 0 ? 1 : size);
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
