#include "services/iso_time.h"

#include <gtest/gtest.h>

namespace zevo::connections {
namespace {

constexpr std::time_t kMoment = 1795230515;  // 2026-11-21 03:08:35 UTC

TEST(IsoTimeTest, TheOffsetFromUtcIsTakenOff) {
  EXPECT_EQ(parseIsoTime("2026-11-21T03:08:35.673897+00:00"), kMoment);
  EXPECT_EQ(parseIsoTime("2026-11-21T04:08:35.673897+01:00"), kMoment);
  EXPECT_EQ(parseIsoTime("2026-11-20T21:38:35-0530"), kMoment);
  EXPECT_EQ(parseIsoTime("2026-11-21T03:08:35Z"), kMoment);
}

TEST(IsoTimeTest, AnythingElseIsNoTime) {
  for (const char* text :
       {"", "-", "2026-11-21", "2026-11-21T03:08:35", "2026-11-21 03:08:35+00:00",
        "2026-13-21T03:08:35Z", "2026-11-21T24:08:35Z", "2026-11-21T03:08:35.+00:00",
        "2026-11-21T03:08:35+00:00x", "2026-11-21T03:08:35+0", "2026-11-21T03:08:35+24:00",
        "+026-11-21T03:08:35Z", "2026-11-21T-3:08:35Z"}) {
    EXPECT_EQ(parseIsoTime(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace zevo::connections
