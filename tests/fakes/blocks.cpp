#include "fakes/blocks.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include <gtest/gtest.h>

#include "fakes/allocation.h"
#include "fakes/platform.h"

// The linker sends every free() of the test program here.
extern "C" void __real_free(void* block);
extern "C" void __wrap_free(void* block);
void __wrap_free(void* block) {
  fakes::Platform* platform = fakes::Platform::find();
  if (platform == nullptr || !platform->blocks.owns(block)) return __real_free(block);
  const fakes::AllocationPause pause;
  platform->blocks.release(block, "free");
}

namespace fakes {

Blocks::~Blocks() {
  for (const auto& [address, block] : blocks_) {
    EXPECT_EQ(block.releases, 1) << "releases of the block of " << block.name;
    __real_free(const_cast<void*>(address));
  }
}

void* Blocks::make(std::size_t size, const std::string& name) {
  void* block = std::malloc(size);
  if (block == nullptr) throw std::bad_alloc();
  std::memset(block, 0, size);
  blocks_[block] = {name, size, 0};
  return block;
}

void Blocks::release(void* block, const std::string& through) {
  const auto known = blocks_.find(block);
  if (known == blocks_.end()) return calls_.unscripted(through + "(unknown block)");
  calls_.record(through + "(" + known->second.name + ")");
  ++known->second.releases;
  std::memset(block, 0xDD, known->second.size);
}

}  // namespace fakes
