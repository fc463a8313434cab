#include "base/process_status.h"

#include <unistd.h>

#include <gtest/gtest.h>

namespace zevo {
namespace {

constexpr const char* kStatus =
    "Name:\tsshd: PPid:\t9\nState:\tD (disk sleep)\nPPid:\t40\nUid:\t0\t7\n";

TEST(ProcessStatus, HasTheValueOfEachLine) {
  EXPECT_EQ(statusValue(kStatus, "Name"), "sshd: PPid:\t9");
  EXPECT_EQ(statusValue(kStatus, "State"), "D (disk sleep)");
  EXPECT_EQ(statusValue(kStatus, "PPid"), "40");
  EXPECT_EQ(statusValue(kStatus, "Uid"), "0\t7");
}

TEST(ProcessStatus, HasNoValueOfALineThatIsMissing) {
  EXPECT_EQ(statusValue(kStatus, "Pid"), "");
  EXPECT_EQ(statusValue("", "PPid"), "");
  EXPECT_EQ(statusValue("PPid 40", "PPid"), "");
}

TEST(ProcessStatus, IsThatOfTheProcess) {
  const auto status = readProcessStatus(::getpid());
  ASSERT_TRUE(status);
  EXPECT_EQ(statusValue(*status, "Pid"), std::to_string(::getpid()));
  EXPECT_FALSE(readProcessStatus(::getpid(), "/nowhere"));
}

}  // namespace
}  // namespace zevo
