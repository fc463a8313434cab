#include "cli/commands/kick_result.h"

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
const Answer kRefusal = {Answer::Status::kRefused, 117, "null", {"no smbd"}};

TEST(KickAttempt, GivesEachConnectionItsAnswer) {
  const KickPlan plan = {{kAliceShell, kAliceShares}, {kAliceWeb}, {}, {}};
  const Attempt attempt =
      attemptOf(plan, {kDoneAnswer, kRefusal, std::nullopt}, {kAliceShell}, "2026-11-20 22:00:00");
  Lines hindrances;
  for (const Target& target : attempt.targets) hindrances.push_back(target.hindrance);
  EXPECT_EQ(hindrances, (Lines{"", "no smbd", "it was interrupted"}));
  EXPECT_EQ(attempt.targets[2].connection, kAliceWeb);
  EXPECT_EQ(attempt.begin, "2026-11-20 22:00:00");
}

TEST(KickAttempt, KnowsWhatTheCallsCouldNotRead) {
  Answer answer = kDoneAnswer;
  answer.warnings = {{"details_missing", "CIFS", ""}};
  EXPECT_EQ(attemptOf({{kAliceShell}, {}, {}, {}}, {answer}, {}, "").warnings, answer.warnings);
}

TEST(KickProblems, AreNoneWhereAllIsDone) {
  EXPECT_EQ(problemsOf({kDoneAnswer, kDoneAnswer}), Lines{});
}

TEST(KickProblems, NameEachCauseOnce) {
  EXPECT_EQ(problemsOf({kRefusal, kRefusal, failedAnswer("the call ended by signal 9")}),
            (Lines{"not every step succeeded:", "no smbd", "the call ended by signal 9"}));
}

TEST(KickProblems, PointToTheLogWhereNoCauseIsKnown) {
  EXPECT_EQ(
      problemsOf({Answer{Answer::Status::kRefused, 117, "", {}}}),
      (Lines{"not every step succeeded:", "the system log tells more: journalctl -t currentconn"}));
}

TEST(KickProblems, SayThatItWasInterrupted) {
  EXPECT_EQ(problemsOf({std::nullopt}), (Lines{"not every step succeeded:", "it was interrupted"}));
}

}  // namespace
}  // namespace cli
