#include "kick_result.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

const Connection kShell = connection(12, "alice", "SSH");
const Connection kShares = connection(4711, "alice", "CIFS");
const Connection kWeb = connection(5, "alice", "HTTP/HTTPS");
const Answer kDone = {Answer::Status::kDone, 0, "null", {}};

TEST(StillThere, IsAProcessWhoeverItServesNow) {
  EXPECT_TRUE(isStillThere(kShares, {connection(4711, "bob", "CIFS", "10.20.0.7")}));
  EXPECT_FALSE(isStillThere(kShares, {connection(4712, "alice", "CIFS")}));
  EXPECT_FALSE(isStillThere(kShares, {connection(4711, "alice", "SSH")}));
}

TEST(StillThere, IsAWebLoginByUserAndAddress) {
  EXPECT_TRUE(isStillThere(kWeb, {connection(6, "alice", "HTTP/HTTPS")}));
  EXPECT_FALSE(isStillThere(kWeb, {connection(5, "bob", "HTTP/HTTPS")}));
  EXPECT_FALSE(isStillThere(kWeb, {connection(5, "alice", "HTTP/HTTPS", "10.20.0.3")}));
}

TEST(KickResult, ReportsEachConnection) {
  const KickResult result =
      makeKickResult({{kShell, kShares}, {kWeb}, {}, {}}, {kDone, kDone, kDone}, {kShares});
  EXPECT_EQ(result.lines, (Lines{"ended: SSH of alice from 10.20.0.2, pid 12",
                                 "still there: CIFS of alice from 10.20.0.2, pid 4711",
                                 "ended: HTTP/HTTPS of alice from 10.20.0.2"}));
  EXPECT_EQ(result.problems, Lines{});
  EXPECT_FALSE(result.isComplete);
}

TEST(KickResult, IsCompleteWhereAllEnded) {
  EXPECT_TRUE(makeKickResult({{kShell}, {}, {}, {}}, {kDone}, {}).isComplete);
}

TEST(KickResult, NamesEachCauseOnce) {
  const Answer refusal = {Answer::Status::kRefused, 117, "null", {"no smbd"}};
  const KickResult result =
      makeKickResult({{kShell, kShares}, {kWeb}, {}, {}},
                     {refusal, refusal, failedAnswer("the call ended by signal 9")}, {});
  EXPECT_EQ(result.problems,
            (Lines{"not every step succeeded:", "no smbd", "the call ended by signal 9"}));
  EXPECT_FALSE(result.isComplete);
}

TEST(KickResult, PointsToTheLogWhereNoCauseIsKnown) {
  const KickResult result =
      makeKickResult({{kShell}, {}, {}, {}}, {Answer{Answer::Status::kRefused, 117, "", {}}}, {});
  EXPECT_EQ(result.problems, (Lines{"not every step succeeded:",
                                    "the system log tells more: journalctl -t currentconn"}));
}

TEST(KickResult, SaysThatItWasInterrupted) {
  const KickResult result = makeKickResult({{kShell}, {}, {}, {}}, {std::nullopt}, {kShell});
  EXPECT_EQ(result.problems, (Lines{"not every step succeeded:", "it was interrupted"}));
}

}  // namespace
}  // namespace cli
