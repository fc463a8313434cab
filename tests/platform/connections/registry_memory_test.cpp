// Its own program, since it replaces the allocation functions.
#include <cstdlib>
#include <new>
#include <unistd.h>

#include <gtest/gtest.h>

#include "zevo/connections.h"
#include "zevo/error.h"

#include "base/tool_run.h"

namespace {

long allocationsLeft = -1;  // below 0: no limit

void* allocate(std::size_t size) {
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  void* block = std::malloc(size == 0 ? 1 : size);
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

namespace {

TEST(CurConnGetTest, MemoryExhaustionAtAnyPointIsANegativeResult) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can read everybody's connections";
  long limit = 0;
  int count = -1;
  for (; count < 0 && limit < 100000; limit += 1 + limit / 20) {
    _tag_ZEVO_CURCONN_* records = nullptr;
    VLIBCErrSetEx(ZEVO_ERR_NONE, "", 0);
    allocationsLeft = limit;
    count = ZEVOCurConnGet(&records);
    allocationsLeft = -1;
    std::free(records);
    if (count < 0) {
      ASSERT_EQ(VLIBCErrGet(), ZEVO_ERR_OUT_OF_MEMORY) << limit;
    }
  }
  EXPECT_GE(count, 0);
  EXPECT_GT(limit, 10);
}

TEST(ToolRunTest, IsGivenUpWithoutMemory) {
  {
    const zevo::ToolRun run({"/bin/sleep", "600"}, {});
    allocationsLeft = 0;
  }
  allocationsLeft = -1;
}

}  // namespace
