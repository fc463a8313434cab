#include "daemon/rejected_calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace currentconnd {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(RejectedCalls, HasOneLineForEachCaller) {
  RejectedCalls rejected;
  const RejectedCalls::Clock::time_point now{};
  for (int i = 0; i < 3; ++i) rejected.count(calls::SocketKind::kWeb, 33, now);
  rejected.count(calls::SocketKind::kLocal, 1000, now);
  EXPECT_THAT(
      rejected.takeLines(),
      ElementsAre(
          "method=- user=- from=web status=503 code=503 calls=3: no free place",
          "method=- user=- from=local uid=1000 status=503 code=503 calls=1: no free place"));
  EXPECT_THAT(rejected.takeLines(), ElementsAre());
}

TEST(RejectedCalls, HasItsLinesASecondAfterTheFirstCall) {
  RejectedCalls rejected;
  const RejectedCalls::Clock::time_point now{};
  EXPECT_EQ(rejected.due(), RejectedCalls::Clock::time_point::max());
  rejected.count(calls::SocketKind::kWeb, 33, now);
  rejected.count(calls::SocketKind::kWeb, 33, now + 500ms);
  EXPECT_EQ(rejected.due(), now + 1s);
  static_cast<void>(rejected.takeLines());
  EXPECT_EQ(rejected.due(), RejectedCalls::Clock::time_point::max());
}

}  // namespace
}  // namespace currentconnd
