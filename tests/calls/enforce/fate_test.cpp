#include "calls/enforce/fate.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/json.h"
#include "calls/answer.h"
#include "calls/enforce/connections.h"

namespace calls::enforce {
namespace {

using Connections = std::vector<Connection>;
using Notes = std::vector<zevo::ReadNote>;

const std::string kBegin = "2026-11-20 22:00:00";
const std::string kEarlier = "2026-11-20 21:59:59";
const std::string kLater = "2026-11-20 22:00:03";

Connection since(const std::string& time, Connection connection) {
  connection.time = time;
  return connection;
}

Json::Value why(const char* key) {
  Json::Value value(Json::objectValue);
  value["reason"] = key;
  return value;
}

// "still_there not_in_time 12": the fate, the reason, the pid of the row that is there now.
std::string briefly(const Json::Value& fate) {
  std::string text = fate["fate"].asString();
  if (fate.isMember("reason")) text += " " + fate["reason"]["reason"].asString();
  if (fate.isMember("now")) text += " " + fate["now"]["pid"].asString();
  return text;
}

std::vector<std::string> brieflyAll(const Json::Value& fates) {
  std::vector<std::string> texts;
  for (const Json::Value& fate : fates)
    texts.push_back(fate["pid"].asString() + ": " + briefly(fate));
  return texts;
}

const Connection kTargetShell = connection(12, "alice");
const Connection kTargetShares = connection(4711, "alice", "CIFS");
const Connection kTargetWeb = connection(5, "alice", "HTTP/HTTPS");
const Connection kTargetFtp = connection(30, "alice", "FTP");
const Connection kTargetConsole = connection(7, "alice", "LOGIN", "");

struct FateCase {
  const char* name;
  Connection target;
  Connections now;
  std::string expected;
  Json::Value hindrance = {};
  Notes warnings = {};      // of the list afterwards
  Connections others = {};  // listed before, too
};

std::vector<FateCase> fateCases() {
  const Connection another = connection(20, "alice");
  const Connection nameless = since(kLater, connection(20, "unknown", "CIFS"));
  return {
      {"Gone", kTargetShell, {}, "ended"},
      {"PidOfAnotherService", kTargetShell, {connection(12, "alice", "CIFS")}, "ended"},
      {"AnotherClient",
       kTargetShell,
       {since(kLater, connection(20, "alice", "SSH", "10.20.0.3"))},
       "ended"},
      {"AnotherConnectionOfBefore", kTargetShell, {another}, "ended", {}, {}, {another}},
      {"NewProcess", kTargetShell, {since(kLater, another)}, "connected_again 20"},
      {"LoginOverAnOlderConnection",
       kTargetShell,
       {since(kEarlier, another)},
       "connected_again 20"},
      {"NewProcessInTheSameSecond", kTargetShell, {since(kBegin, another)}, "connected_again 20"},
      {"NewSessionUnderTheSamePid",
       kTargetShares,
       {since(kLater, kTargetShares)},
       "connected_again 4711"},
      {"NewWebLogin",
       kTargetWeb,
       {since(kLater, connection(9, "alice", "HTTP/HTTPS"))},
       "connected_again 9"},
      {"Process", kTargetShell, {kTargetShell}, "still_there not_in_time"},
      {"CallFailed", kTargetShell, {kTargetShell}, "still_there call_failed", why("call_failed")},
      {"ProcessOfAnotherUserByNow",
       kTargetShares,
       {connection(4711, "bob", "CIFS", "10.20.0.7")},
       "still_there serves_other 4711"},
      {"WebLogin",
       kTargetWeb,
       {connection(6, "alice", "HTTP/HTTPS")},
       "still_there still_recorded"},
      {"NumberOfAnotherWebLogin", kTargetWeb, {connection(5, "bob", "HTTP/HTTPS")}, "ended"},
      {"TransferBegan", kTargetFtp, {connection(31, "alice", "FTP")}, "still_there goes_on 31"},
      {"TransferLostItsSession",
       kTargetFtp,
       {since(kEarlier, connection(31, "alice", "FTP"))},
       "still_there goes_on 31"},
      {"NewFtpSession",
       kTargetFtp,
       {since(kLater, connection(31, "alice", "FTP"))},
       "connected_again 31"},
      {"Console", kTargetConsole, {kTargetConsole}, "still_there console"},
      {"ServiceCouldNotBeRead",
       kTargetShares,
       {},
       "not_known",
       {},
       {{"connections_missing", "CIFS", ""}}},
      {"ListCouldNotBeReadWhole",
       kTargetShares,
       {},
       "not_known",
       {},
       {{"connections_missing", "", ""}}},
      {"SshCouldNotBeReadForSftp",
       connection(9, "alice", "SFTP"),
       {},
       "not_known",
       {},
       {{"connections_missing", "SSH", ""}}},
      {"AnotherServiceCouldNotBeRead",
       kTargetShares,
       {},
       "ended",
       {},
       {{"connections_missing", "SSH", ""}}},
      {"WebLoginsAreInNoRegistry", kTargetWeb, {}, "ended", {}, {{"connections_missing", "", ""}}},
      {"NobodyIsLeftWhoseUserIsNotKnown",
       kTargetShares,
       {},
       "ended",
       {},
       {{"details_missing", "CIFS", ""}}},
      {"SomebodyConnectedWhoseUserIsNotKnown",
       kTargetShares,
       {nameless},
       "not_known",
       {},
       {{"details_missing", "CIFS", ""}}},
  };
}

class FateTest : public ::testing::TestWithParam<FateCase> {};

TEST_P(FateTest, TellsWhatBecameOfIt) {
  const FateCase& given = GetParam();
  Connections before = given.others;
  before.push_back(given.target);
  ProcessTree tree;
  if (hasProcess(given.target)) tree.add(given.target.pid, 1);
  const Attempt attempt{.targets = {{given.target, given.hindrance}},
                        .before = before,
                        .begin = kBegin,
                        .proc = tree.path()};
  const Json::Value fates = fatesOf(attempt, Snapshot{given.now, given.warnings});
  ASSERT_EQ(fates.size(), 1U);
  EXPECT_EQ(briefly(fates[0]), given.expected);
  EXPECT_EQ(fates[0]["who"], given.target.who);
  EXPECT_EQ(fates[0]["pid"], given.target.pid);
}

INSTANTIATE_TEST_SUITE_P(Fates, FateTest, ::testing::ValuesIn(fateCases()),
                         [](const auto& test) { return std::string(test.param.name); });

Attempt attemptOn(const Connections& targets) {
  Attempt attempt{.targets = {}, .before = targets, .begin = kBegin, .proc = "/nowhere"};
  for (const Connection& target : targets) attempt.targets.push_back({target});
  return attempt;
}

TEST(Fates, KnowThatAProcessHasEndedWhateverTheListMayLack) {
  const Snapshot now{{}, {{"connections_missing", "", "too many processes"}}};
  EXPECT_EQ(briefly(fatesOf(attemptOn({kTargetShell}), now)[0]), "ended");
  EXPECT_EQ(briefly(fatesOf(attemptOn({kTargetFtp}), now)[0]), "not_known");
}

TEST(Fates, CountOneReturnOnce) {
  const Attempt attempt = attemptOn({kTargetShell, connection(13, "alice")});
  const Snapshot now{{since(kLater, connection(20, "alice"))}, {}};
  EXPECT_EQ(brieflyAll(fatesOf(attempt, now)),
            (std::vector<std::string>{"12: connected_again 20", "13: ended"}));
}

TEST(Fates, NameFurtherConnectionsOfTheUsers) {
  Attempt attempt = attemptOn({kTargetShell});
  attempt.users = {"alice"};
  const Connection shared = connection(4711, "bob", "CIFS");
  Snapshot now{
      {since(kLater, connection(20, "alice")), since(kLater, connection(21, "alice", "FTP")),
       connection(22, "alice", "TELNET"), shared, since(kLater, connection(23, "bob"))},
      {}};
  now.smbUsers[4711] = {"bob", "alice"};
  const Json::Value fates = fatesOf(attempt, now);
  EXPECT_EQ(brieflyAll(fates),
            (std::vector<std::string>{"12: connected_again 20", "21: connected_since",
                                      "22: still_there not_in_time",
                                      "4711: still_there under_other_user"}));
  EXPECT_EQ(fates[3]["reason"]["user"], "alice");
}

TEST(Fates, SayThatTheCallMayHaveMissedIt) {
  Attempt attempt = attemptOn({kTargetShares});
  attempt.warnings = {{"still_let_in", "CIFS", ""},
                      {"details_missing", "CIFS", "smbstatus failed"}};
  const Json::Value fates = fatesOf(attempt, Snapshot{{kTargetShares}, {}});
  EXPECT_EQ(zevo::compactJson(fates[0]["reason"]),
            R"({"reason":"may_be_unlisted","warning":{"code":"details_missing",)"
            R"("detail":"smbstatus failed","service":"CIFS"}})");
}

TEST(Fates, AreNotKnownOfAListThatCannotBeRead) {
  const Json::Value fates = fatesOf(attemptOn({kTargetShell}), zevo::failure("no sockets today"));
  ASSERT_EQ(fates.size(), 1U);
  EXPECT_EQ(fates[0]["fate"], "not_known");
  EXPECT_EQ(zevo::compactJson(fates[0]["reason"]),
            R"({"causes":["no sockets today"],"reason":"list_failed"})");
}

TEST(Fates, SayThatAProcessWaitsInTheKernel) {
  ProcessTree tree;
  tree.add(12, 1, "D (disk sleep)");
  Attempt attempt = attemptOn({kTargetShell});
  attempt.proc = tree.path();
  EXPECT_EQ(briefly(fatesOf(attempt, Snapshot{{kTargetShell}, {}})[0]), "still_there in_kernel");
}

TEST(Fates, SayThatALoginGoesOnAsItsSession) {
  ProcessTree tree;
  tree.add(20, 12);
  tree.add(21, 1);
  Attempt attempt = attemptOn({kTargetShell});
  attempt.proc = tree.path();
  for (const std::string& time : {kTargetShell.time, kLater}) {
    const Json::Value fates =
        fatesOf(attempt, Snapshot{{since(time, connection(20, "alice"))}, {}});
    EXPECT_EQ(briefly(fates[0]), "still_there goes_on 20");
  }
  const Snapshot another{{since(kLater, connection(21, "alice"))}, {}};
  EXPECT_EQ(briefly(fatesOf(attempt, another)[0]), "connected_again 21");
}

TEST(ServicesWithoutUsers, AreThoseWithARowThatNobodyIsNamedFor) {
  Snapshot now{{connection(20, "unknown", "CIFS"), kTargetShell}, {}};
  EXPECT_EQ(servicesWithoutUsers(now), std::vector<std::string>{});
  now.warnings = {{"details_missing", "CIFS", ""}, {"details_missing", "NFS", ""}};
  EXPECT_EQ(servicesWithoutUsers(now), std::vector<std::string>{"CIFS"});
}

TEST(MayStillGo, IsTrueOfAnotherProcessOfAnFtpSession) {
  const auto fates = [](const std::string& type) {
    return *zevo::parseJson(R"([{"fate":"connected_again","type":")" + type + R"("}])");
  };
  EXPECT_TRUE(mayStillGo(fates("FTP")));
  EXPECT_FALSE(mayStillGo(fates("SSH")));
}

}  // namespace
}  // namespace calls::enforce
