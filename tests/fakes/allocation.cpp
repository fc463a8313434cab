#include "fakes/allocation.h"

#include <cerrno>
#include <cstdlib>
#include <new>

#include "zevo/export.h"

namespace {

// Allocations left until one fails; 0 while none shall.
int remaining = 0;

}  // namespace

extern "C" {

#ifdef __SANITIZE_ADDRESS__
void* __interceptor_malloc(std::size_t size);
#else
void* __libc_malloc(std::size_t size);
#endif

// Libraries come here as well: jsoncpp takes the memory of its texts from malloc().
ZEVO_EXPORT void* malloc(std::size_t size) noexcept {
  if (remaining > 0 && --remaining == 0) {
    errno = ENOMEM;
    return nullptr;
  }
#ifdef __SANITIZE_ADDRESS__
  return __interceptor_malloc(size);
#else
  return __libc_malloc(size);
#endif
}

}  // extern "C"

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return std::malloc(size != 0 ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void* operator new(std::size_t size) {
  void* block = operator new(size, std::nothrow);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void* operator new[](std::size_t size) {
  return operator new(size);
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
bool AllocationFailure::happened() const {
  return remaining == 0;
}

AllocationPause::AllocationPause() : remaining_(remaining) {
  remaining = 0;
}
AllocationPause::~AllocationPause() {
  remaining = remaining_;
}

}  // namespace fakes
