#include "turned_away.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace host {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

TEST(TurnedAway, HasOneLineForEachCaller) {
  TurnedAway turnedAway;
  const TurnedAway::Clock::time_point now{};
  for (int i = 0; i < 3; ++i) turnedAway.count(Entrance::kWeb, 33, now);
  turnedAway.count(Entrance::kLocal, 1000, now);
  EXPECT_THAT(
      turnedAway.takeLines(),
      ElementsAre("method=- user=- from=web status=503 code=503 calls=3: no place became free for "
                  "them",
                  "method=- user=- from=local uid=1000 status=503 code=503 calls=1: no place "
                  "became free for them"));
  EXPECT_THAT(turnedAway.takeLines(), ElementsAre());
}

TEST(TurnedAway, HasItsLinesASecondAfterTheFirstCall) {
  TurnedAway turnedAway;
  const TurnedAway::Clock::time_point now{};
  EXPECT_EQ(turnedAway.due(), TurnedAway::Clock::time_point::max());
  turnedAway.count(Entrance::kWeb, 33, now);
  turnedAway.count(Entrance::kWeb, 33, now + 500ms);
  EXPECT_EQ(turnedAway.due(), now + 1s);
  static_cast<void>(turnedAway.takeLines());
  EXPECT_EQ(turnedAway.due(), TurnedAway::Clock::time_point::max());
}

}  // namespace
}  // namespace host
