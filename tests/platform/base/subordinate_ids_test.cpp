#include "base/subordinate_ids.h"

#include <gtest/gtest.h>

#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

TEST(SubordinateIds, AreReadFromTheLinesOfTheFile) {
  const testing_support::TemporaryFolder folder;
  const auto ranges = subordinateRanges(
      folder.write("subuid", "alice:100000:65536\nbob:x:1\n1002:4294967295:4294967295\n\ncarol\n"));
  ASSERT_EQ(ranges.size(), 2U);
  EXPECT_EQ(ranges[0].account, "alice");
  EXPECT_FALSE(ranges[0].holds(99999));
  EXPECT_TRUE(ranges[0].holds(100000));
  EXPECT_TRUE(ranges[0].holds(165535));
  EXPECT_FALSE(ranges[0].holds(165536));
  EXPECT_EQ(ranges[1].account, "1002");
  EXPECT_TRUE(ranges[1].holds(4294967295));
}

TEST(SubordinateIds, AreNoneWithoutAFile) {
  EXPECT_TRUE(subordinateRanges("/nonexistent/subuid").empty());
}

}  // namespace
}  // namespace zevo
