#include "base/group.h"

#include <cerrno>
#include <unistd.h>

#include <gtest/gtest.h>

namespace zevo {
namespace {

TEST(GroupNumber, IsThatOfTheGroup) {
  EXPECT_EQ(groupNumber("root"), gid_t{0});
}

TEST(GroupNumber, OfNoGroupIsNoneAndNoError) {
  for (const char* name : {"", "no_such_group"}) {
    errno = EIO;
    EXPECT_EQ(groupNumber(name), std::nullopt);
    EXPECT_EQ(errno, 0);
  }
}

TEST(GroupFailure, TellsAMissingGroupFromALookupThatFailed) {
  EXPECT_EQ(groupFailure("a\n", 0), "there is no group \"a\uFFFD\"");
  EXPECT_EQ(groupFailure("a", EIO), "cannot look up the group \"a\": Input/output error");
}

}  // namespace
}  // namespace zevo
