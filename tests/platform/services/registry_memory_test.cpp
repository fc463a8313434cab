// Its own program, since it replaces the allocation functions.
#include <cstdlib>
#include <unistd.h>

#include <gtest/gtest.h>

#include "zevo/connections.h"
#include "zevo/error.h"

#include "base/tool_run.h"
#include "platform/base/failing_allocations.h"

namespace {

TEST(CurConnGetTest, MemoryExhaustionAtAnyPointIsANegativeResult) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can read everybody's connections";
  long limit = 0;
  int count = -1;
  for (; count < 0 && limit < 100000; limit += 1 + limit / 20) {
    _tag_ZEVO_CURCONN_* records = nullptr;
    VLIBCErrSetEx(ZEVO_ERR_NONE, "", 0);
    zevo::testing_support::allocationsLeft = limit;
    count = ZEVOCurConnGet(&records);
    zevo::testing_support::allocationsLeft = -1;
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
    zevo::testing_support::allocationsLeft = 0;
  }
  zevo::testing_support::allocationsLeft = -1;
}

}  // namespace
