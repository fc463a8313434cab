#include "daemon/rejected_calls.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace currentconnd {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(RejectedCalls, HasOneLineForEachCaller) {
  RejectedCalls turnedAway;
  const RejectedCalls::Clock::time_point now{};
  for (int i = 0; i < 3; ++i) turnedAway.count(calls::SocketKind::kWeb, 33, now);
  turnedAway.count(calls::SocketKind::kLocal, 1000, now);
  EXPECT_THAT(
      turnedAway.takeLines(),
      ElementsAre("method=- user=- from=web status=503 code=503 calls=3: no place became free for "
                  "them",
                  "method=- user=- from=local uid=1000 status=503 code=503 calls=1: no place "
                  "became free for them"));
  EXPECT_THAT(turnedAway.takeLines(), ElementsAre());
}

TEST(RejectedCalls, HasItsLinesASecondAfterTheFirstCall) {
  RejectedCalls turnedAway;
  const RejectedCalls::Clock::time_point now{};
  EXPECT_EQ(turnedAway.due(), RejectedCalls::Clock::time_point::max());
  turnedAway.count(calls::SocketKind::kWeb, 33, now);
  turnedAway.count(calls::SocketKind::kWeb, 33, now + 500ms);
  EXPECT_EQ(turnedAway.due(), now + 1s);
  static_cast<void>(turnedAway.takeLines());
  EXPECT_EQ(turnedAway.due(), RejectedCalls::Clock::time_point::max());
}

}  // namespace
}  // namespace currentconnd
