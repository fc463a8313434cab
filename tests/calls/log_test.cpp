#include "calls/log.h"

#include <gtest/gtest.h>

namespace calls {
namespace {

TEST(Log, ATextCannotPassForAnotherPartOfItsLine) {
  EXPECT_EQ(inQuotes("alice"), "\"alice\"");
  EXPECT_EQ(inQuotes("a\" from=\"b\\"), "\"a\\\" from=\\\"b\\\\\"");
  EXPECT_EQ(inQuotes("a\nlogin from 10.0.0.1"), "\"a\xEF\xBF\xBDlogin from 10.0.0.1\"");
  EXPECT_EQ(inQuotes("a\x1B[2Jb"), "\"a\xEF\xBF\xBD[2Jb\"");
}

TEST(Log, ALongTextIsCut) {
  EXPECT_EQ(inQuotes(std::string(1000, 'x'), 10), "\"xxxxxxxxxx\"");
}

}  // namespace
}  // namespace calls
