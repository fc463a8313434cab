#include "kick_result.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

const Connection kAliceShell = connection(12, "alice", "SSH");
const Connection kAliceShares = connection(4711, "alice", "CIFS");
const Connection kAliceWeb = connection(5, "alice", "HTTP/HTTPS");
const Answer kDoneAnswer = {Answer::Status::kDone, 0, "null", {}};

Page pageOf(const std::vector<Connection>& connections) {
  return {static_cast<int>(connections.size()), connections, ""};
}

TEST(StillThere, IsAProcessWhoeverItServesNow) {
  EXPECT_TRUE(isStillThere(kAliceShares, {connection(4711, "bob", "CIFS", "10.20.0.7")}));
  EXPECT_FALSE(isStillThere(kAliceShares, {connection(4712, "alice", "CIFS")}));
  EXPECT_FALSE(isStillThere(kAliceShares, {connection(4711, "alice", "SSH")}));
}

TEST(StillThere, IsAWebLoginByUserAndAddress) {
  EXPECT_TRUE(isStillThere(kAliceWeb, {connection(6, "alice", "HTTP/HTTPS")}));
  EXPECT_FALSE(isStillThere(kAliceWeb, {connection(5, "bob", "HTTP/HTTPS")}));
  EXPECT_FALSE(isStillThere(kAliceWeb, {connection(5, "alice", "HTTP/HTTPS", "10.20.0.3")}));
}

TEST(KickResult, ReportsEachConnection) {
  const KickResult result =
      makeKickResult({{kAliceShell, kAliceShares}, {kAliceWeb}, {}, {}},
                     {kDoneAnswer, kDoneAnswer, kDoneAnswer}, pageOf({kAliceShares}));
  EXPECT_EQ(result.lines, (Lines{"ended: SSH of alice from 10.20.0.2, pid 12",
                                 "still there: CIFS of alice from 10.20.0.2, pid 4711",
                                 "ended: HTTP/HTTPS of alice from 10.20.0.2"}));
  EXPECT_EQ(result.problems, Lines{});
  EXPECT_FALSE(result.isComplete);
}

TEST(KickResult, DoesNotKnowOfWhatTheListMayLack) {
  const auto resultWith = [](const std::string& code, const std::string& service) {
    Page now = pageOf({});
    now.warnings = {{code, service, ""}};
    return makeKickResult({{kAliceShares}, {kAliceWeb}, {}, {}}, {kDoneAnswer, kDoneAnswer}, now);
  };
  const std::string ended = "ended: CIFS of alice from 10.20.0.2, pid 4711";
  const std::string notKnown = "not known: CIFS of alice from 10.20.0.2, pid 4711";
  for (const char* service : {"CIFS", ""}) {
    EXPECT_EQ(resultWith("connections_missing", service).lines,
              (Lines{notKnown, "ended: HTTP/HTTPS of alice from 10.20.0.2"}));
    EXPECT_FALSE(resultWith("connections_missing", service).isComplete);
  }
  EXPECT_EQ(resultWith("connections_missing", "SSH").lines[0], ended);
  EXPECT_EQ(resultWith("details_missing", "CIFS").lines[0], ended);
  EXPECT_TRUE(resultWith("details_missing", "CIFS").isComplete);
}

TEST(KickResult, IsCompleteWhereAllEnded) {
  EXPECT_TRUE(makeKickResult({{kAliceShell}, {}, {}, {}}, {kDoneAnswer}, {}).isComplete);
}

TEST(KickResult, NamesEachCauseOnce) {
  const Answer refusal = {Answer::Status::kRefused, 117, "null", {"no smbd"}};
  const KickResult result =
      makeKickResult({{kAliceShell, kAliceShares}, {kAliceWeb}, {}, {}},
                     {refusal, refusal, failedAnswer("the call ended by signal 9")}, {});
  EXPECT_EQ(result.problems,
            (Lines{"not every step succeeded:", "no smbd", "the call ended by signal 9"}));
  EXPECT_FALSE(result.isComplete);
}

TEST(KickResult, PointsToTheLogWhereNoCauseIsKnown) {
  const KickResult result = makeKickResult({{kAliceShell}, {}, {}, {}},
                                           {Answer{Answer::Status::kRefused, 117, "", {}}}, {});
  EXPECT_EQ(result.problems, (Lines{"not every step succeeded:",
                                    "the system log tells more: journalctl -t currentconn"}));
}

TEST(KickResult, SaysThatItWasInterrupted) {
  const KickResult result =
      makeKickResult({{kAliceShell}, {}, {}, {}}, {std::nullopt}, pageOf({kAliceShell}));
  EXPECT_EQ(result.problems, (Lines{"not every step succeeded:", "it was interrupted"}));
}

}  // namespace
}  // namespace cli
