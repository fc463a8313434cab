#include "services/boot_clock.h"

#include <ctime>
#include <stdlib.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

class BootClockTest : public ::testing::Test {
 protected:
  void SetUp() override { useZone("UTC"); }
  void TearDown() override {
    ::unsetenv("TZ");
    ::tzset();
  }
  static void useZone(const char* zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
  }

  test::ProcTree tree_;
};

TEST_F(BootClockTest, AddsTheTicksToTheStartOfTheSystem) {
  const auto ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK)) * 3661;
  EXPECT_EQ(BootClock(tree_.paths()).startText(ticks), "2025-11-20 13:01:01");
}

TEST_F(BootClockTest, WritesLocalTime) {
  useZone("CET-1");
  EXPECT_EQ(BootClock(tree_.paths()).startText(0), "2025-11-20 13:00:00");
}

TEST_F(BootClockTest, AnUnknownStartOfTheSystemGivesNoTime) {
  tree_.file("proc/stat", "cpu 1 2 3\n");
  EXPECT_EQ(BootClock(tree_.paths()).startText(100), "");
}

TEST_F(BootClockTest, TellsHowLongAProcessHasRun) {
  const std::chrono::milliseconds before =
      std::chrono::duration_cast<std::chrono::milliseconds>(timeSinceBoot());
  const BootClock clock(tree_.paths());
  const auto ticks = static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK)) * 5 / 2;
  EXPECT_GE(clock.age(ticks), before - std::chrono::milliseconds(2500));
  EXPECT_EQ(clock.age(0) - clock.age(ticks), std::chrono::milliseconds(2500));
}

}  // namespace
}  // namespace zevo::connections
