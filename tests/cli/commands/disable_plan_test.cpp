#include "cli/commands/disable_plan.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/connections.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

const Connection kAlice = connection(12, "alice");
const Connection kBob = connection(13, "bob");
const Connection kShared = connection(4711, "alice", "CIFS", "10.20.0.2", "x (alice), y (bob)");

TEST(ConnectionsOf, GoesByTheNameInTheList) {
  EXPECT_EQ(connectionsOf({"bob", "carol"}, {kAlice, kBob, kShared}),
            std::vector<Connection>{kBob});
}

TEST(OthersHit, AreUsersOfTheSameProcess) {
  EXPECT_EQ(othersHit({"alice"}, {kAlice, kBob, kShared}),
            Lines{"pid 4711 also serves bob, whose connection ends with it"});
}

TEST(OthersHit, NamesConnectionsThatGoOnUnderAnothersName) {
  EXPECT_EQ(othersHit({"bob"}, {kAlice, kBob, kShared}),
            Lines{"pid 4711 serves bob under the name of alice and goes on; end it with: "
                  "currentconn kick 4711"});
}

TEST(OthersHit, AreNoneWhereAllAreMeant) {
  EXPECT_EQ(othersHit({"alice", "bob"}, {kAlice, kBob, kShared}), Lines{});
}

TEST(ThoseThatMayStay, AreRowsWithoutAProcessAndLoginsAtTheConsole) {
  Connection nfs = connection(0, "alice", "NFS");
  nfs.canBeKicked = false;
  EXPECT_EQ(
      thoseThatMayStay({nfs, connection(0, "alice", "SSH"), connection(7, "alice", "LOGIN", ""),
                        connection(8, "alice", "UNKNOWN", "")}),
      (Lines{"will stay: NFS of alice from 10.20.0.2: no process serves it alone",
             "will stay: SSH of alice from 10.20.0.2: no process serves it alone",
             "may stay: LOGIN of alice, pid 7: logins at the console are not ended from here; "
             "use loginctl terminate-session",
             "may stay: UNKNOWN of alice, pid 8: its service is not known"}));
}

TEST(ThoseThatMayStay, AreNoneForWantOfAnAddress) {
  EXPECT_EQ(thoseThatMayStay({connection(9, "alice", "SSH", ""), kAlice, kShared,
                              connection(3, "alice", "HTTP/HTTPS")}),
            Lines{});
}

TEST(AccountLines, PrintTheCommandThatUndoesIt) {
  EXPECT_EQ(accountLines({{"alice", -1, 1, true}, {"-b", 20000, 1, true}, {"carol", 1, 1, true}}),
            (Lines{"disabled: alice; to undo it: currentconn enable alice",
                   "disabled: -b; to undo it: currentconn enable -- -b",
                   "was disabled already: carol; to undo it: currentconn enable carol"}));
}

TEST(AccountLines, SayWhatDidNotChange) {
  EXPECT_EQ(accountLines({{"alice", 1, 1}, {"bob", -1, -1}, {"carol", {}, {}}}),
            (Lines{"was disabled already: alice", "not disabled: bob", "not disabled: carol"}));
}

TEST(DisableFailure, HasAnExitCodeForTooFewAdministrators) {
  const Failure failure = explainDisableFailure({Answer::Status::kRefused, 7100, "", {}}, false);
  EXPECT_EQ(failure.exitCode, 4);
  EXPECT_EQ(
      failure.lines,
      (Lines{"refused: too few administrators who can log in would be left; nothing has changed",
             "make another account an administrator first, or leave this one out"}));
}

TEST(DisableFailure, HasAnExitCodeForNonAdministrators) {
  const Failure failure = explainDisableFailure({Answer::Status::kRefused, 105, "", {}}, false);
  EXPECT_EQ(failure.exitCode, 3);
  EXPECT_EQ(failure.lines, Lines{"only an administrator may disable accounts"});
}

TEST(DisableFailure, SaysHowFarItGot) {
  const Answer answer = {Answer::Status::kRefused, 117, "", {"there is no account \"carol\""}};
  EXPECT_EQ(
      explainDisableFailure(answer, false).lines,
      (Lines{"no account was disabled and no connection ended:", "there is no account \"carol\""}));
  EXPECT_EQ(explainDisableFailure(answer, true).lines.front(),
            "the accounts are disabled, but not all connections were ended:");
  EXPECT_EQ(explainDisableFailure(answer, true).exitCode, 1);
}

}  // namespace
}  // namespace cli
