#include "zevo/error.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error_trail.h"

namespace zevo {
namespace {

using testing::ElementsAre;

TEST(LastError, IsTheCodeLastRecorded) {
  ZEVO_ERR_SET(ZEVO_ERR_FILE_OPEN);
  ZEVO_ERR_SET(ZEVO_ERR_NO_SUCH_USER);
  EXPECT_EQ(VLIBCErrGet(), 0x8000);
}

TEST(LastError, IsOneForEachThread) {
  ZEVO_ERR_SET(ZEVO_ERR_FILE_OPEN);
  int other = -1;
  std::thread([&other] { other = VLIBCErrGet(); }).join();
  EXPECT_EQ(other, ZEVO_ERR_NONE);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
}

TEST(ErrorTrail, KeepsTheCausesOldestFirst) {
  clearErrorTrail();
  ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, "first");
  ZEVO_NOTE_ERROR(ZEVO_ERR_BAD_TEXT, "second");
  EXPECT_THAT(errorTrail(), ElementsAre("first", "second"));
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_BAD_TEXT);
  clearErrorTrail();
  EXPECT_THAT(errorTrail(), ElementsAre());
}

TEST(ErrorTrail, KeepsTheLastEight) {
  clearErrorTrail();
  for (int i = 0; i < 10; ++i) ZEVO_NOTE_ERROR(ZEVO_ERR_SYSTEM, std::to_string(i));
  EXPECT_THAT(errorTrail(), ElementsAre("2", "3", "4", "5", "6", "7", "8", "9"));
}

}  // namespace
}  // namespace zevo
