#include "calls/enforce/kick_plan.h"

#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "base/json.h"
#include "base/read_file.h"
#include "calls/answer.h"
#include "calls/enforce/connections.h"

namespace calls::enforce {
namespace {

using Connections = std::vector<Connection>;
using Pids = std::vector<std::uint32_t>;

const Connection kShell = connection(12, "alice", "SSH");
const Connection kSftp = connection(14, "alice", "SFTP", "10.20.0.2", "/home/alice");
const Connection kShares = connection(4711, "alice", "CIFS", "10.20.0.2", "media (alice), x (bob)");
const Connection kWeb = connection(5, "alice", "HTTP/HTTPS", "10.20.0.9", "Firefox");
const Connection kNfs = connection(0, "", "NFS", "10.20.0.4");
const Connection kConsole = connection(77, "alice", "LOGIN", "");

Snapshot snapshot() {
  Snapshot now{{kNfs, kShell, kSftp, kShares, kWeb, kConsole}, {}};
  now.smbUsers[4711] = {"bob", "alice"};
  now.webLogins[{"alice", "10.20.0.9"}] = 1;
  return now;
}

Json::Value plan(const Connections& wanted, const PlanView& view) {
  return planOf(wanted, view, whyNotEnded);
}

std::vector<std::string> keysOf(const Json::Value& effects) {
  std::vector<std::string> keys;
  for (const Json::Value& effect : effects) keys.push_back(effect["reason"].asString());
  return keys;
}

Pids pidsOf(const Json::Value& rows) {
  Pids pids;
  for (const Json::Value& row : rows) pids.push_back(row["pid"].asUInt());
  return pids;
}

std::optional<Selection> parsed(const std::string& json) {
  return selectionOf(zevo::parseJson(json).value_or(Json::Value()));
}

Pids selected(const std::string& json) {
  const Snapshot now = snapshot();
  Pids pids;
  for (const Connection& row : now.connections) {
    if (isSelected(row, parsed(json).value_or(Selection()), now)) pids.push_back(row.pid);
  }
  return pids;
}

Pids pidsNow(const Connections& named, const Connections& rows, const ProcessTree& tree) {
  Pids pids;
  for (const Connection* row : rowsOf(named, rows, tree.path())) pids.push_back(row ? row->pid : 0);
  return pids;
}

// alice's two FTP sessions: `idle`, which becomes `transferring`, and `other`.
const Connection idle = connection(41, "alice", "FTP");
const Connection transferring = connection(42, "alice", "FTP");
const Connection other = connection(45, "alice", "FTP");

// 40 serves two sessions, of the processes 41 above 42 and 45 above 46.
void addSessions(ProcessTree* tree) {
  tree->add(40, 1);
  tree->add(41, 40);
  tree->add(42, 41);
  tree->add(45, 40);
  tree->add(46, 45);
}

TEST(RowsOf, FindAnFtpSessionUnderAnotherOfItsProcesses) {
  ProcessTree tree;
  addSessions(&tree);
  EXPECT_EQ(pidsNow({idle}, {transferring, other}, tree), Pids{42});
  EXPECT_EQ(pidsNow({transferring, other}, {other, idle}, tree), (Pids{41, 45}));
}

TEST(RowsOf, DoNotFindAnotherSession) {
  ProcessTree tree;
  addSessions(&tree);
  const Connection ended = connection(39, "alice", "FTP");
  EXPECT_EQ(pidsNow({idle, ended}, {other}, tree), (Pids{0, 0}));
  EXPECT_EQ(pidsNow({idle, transferring}, {transferring}, tree), (Pids{0, 42}));
  EXPECT_EQ(pidsNow({idle}, {connection(42, "bob", "FTP")}, tree), Pids{0});
  EXPECT_EQ(pidsNow({connection(41, "alice", "TELNET")}, {connection(42, "alice", "TELNET")}, tree),
            Pids{0});
}

// The page is held to the same cases.
TEST(WhyNotEnded, IsTheReasonOfEachCase) {
  std::string text;
  ASSERT_FALSE(zevo::readFile(NOT_ENDED_FILE, 65536, &text));
  const auto cases = zevo::parseJson(text);
  ASSERT_TRUE(cases && cases->isArray() && !cases->empty());
  for (const Json::Value& each : *cases) {
    const Json::Value& given = each["row"];
    Connection row = connection(given.get("pid", 7).asUInt(), given.get("who", "alice").asString(),
                                given["type"].asString(), given.get("from", "::1").asString());
    if (given.isMember("can_be_kicked")) row.canBeKicked = given["can_be_kicked"].asBool();
    const char* reason = whyNotEnded(row);
    EXPECT_EQ(reason ? Json::Value(reason) : Json::Value(), each["reason"])
        << zevo::compactJson(given);
  }
}

TEST(WhyOutOfReach, IsNotThatTheListLacksAUserOrAnAddress) {
  EXPECT_EQ(whyOutOfReach(connection(12, "")), nullptr);
  EXPECT_EQ(whyOutOfReach(connection(12, "alice", "SSH", "")), nullptr);
}

TEST(Plan, TellsWhatEndsWhatStaysAndWhatIsGone) {
  const Snapshot now = snapshot();
  const Json::Value parts = plan({kConsole, kShell, connection(99, "alice"), kNfs}, {now, {}});
  EXPECT_EQ(pidsOf(parts["ends"]), Pids{12});
  EXPECT_EQ(pidsOf(parts["stays"]), (Pids{77, 0}));
  EXPECT_EQ(parts["stays"][0]["reason"]["reason"], "console");
  EXPECT_EQ(zevo::compactJson(parts["gone"]),
            R"([{"from":"10.20.0.2","pid":99,"type":"SSH","who":"alice"}])");
}

TEST(Plan, TakesRowsAsTheyAreNow) {
  const Snapshot now = snapshot();
  Connection named{
      .time = "", .who = "alice", .from = "10.20.0.9", .type = "HTTP/HTTPS", .descr = "", .pid = 8};
  const Json::Value ends = plan({named}, {now, {}})["ends"];
  ASSERT_EQ(ends.size(), 1U) << "the number of a web login that stands for several may be another";
  EXPECT_EQ(ends[0]["descr"], "Firefox");
  named.who = "bob";
  EXPECT_EQ(plan({named}, {now, {}})["gone"].size(), 1U);
}

TEST(Plan, NamesTheOtherUsersOfAProcessAsTheRegistryKnowsThem) {
  Snapshot now = snapshot();
  EXPECT_EQ(zevo::compactJson(plan({kShares}, {now, {}})["ends"][0]["effects"]),
            R"([{"reason":"same_process","user":"bob"}])");
  now.smbUsers[4711] = {"alice"};
  EXPECT_TRUE(plan({kShares}, {now, {}})["ends"][0]["effects"].empty())
      << "a share may be called \"x (bob)\"";
}

TEST(Plan, NamesNoUserWhoIsMeantToo) {
  const Snapshot now = snapshot();
  EXPECT_TRUE(plan({kShares}, {now, {}, {}, {"alice", "bob"}})["ends"][0]["effects"].empty());
}

TEST(Plan, NamesTheSftpSessionBelowAnSshConnectionUnlessItIsMeantItself) {
  ProcessTree tree;
  tree.add(14, 12);
  tree.add(12, 11);
  const Snapshot now = snapshot();
  const PlanView view{now, {}, {}, {}, tree.path()};
  const Json::Value effects = plan({kShell}, view)["ends"][0]["effects"];
  EXPECT_EQ(keysOf(effects), std::vector<std::string>{"same_ssh_connection"});
  EXPECT_EQ(effects[0]["connection"]["pid"].asInt(), 14);
  for (const Json::Value& row : plan({kShell, kSftp}, view)["ends"])
    EXPECT_TRUE(row["effects"].empty());
}

TEST(Plan, CountsFurtherWebLogins) {
  Snapshot now = snapshot();
  EXPECT_TRUE(plan({kWeb}, {now, {}})["ends"][0]["effects"].empty());
  now.webLogins[{"alice", "10.20.0.9"}] = 3;
  EXPECT_EQ(zevo::compactJson(plan({kWeb}, {now, {}})["ends"][0]["effects"]),
            R"([{"count":2,"reason":"further_web_logins"}])");
}

TEST(Plan, NamesTheCallersOwnConnection) {
  const Snapshot now = snapshot();
  const OwnWay web{"alice", "10.20.0.9", {}};
  const OwnWay local{"", "", {300, 12, 5}};
  EXPECT_EQ(keysOf(plan({kWeb}, {now, web})["ends"][0]["effects"]),
            std::vector<std::string>{"own_connection"});
  EXPECT_EQ(keysOf(plan({kShell}, {now, local})["ends"][0]["effects"]),
            std::vector<std::string>{"own_connection"});
  EXPECT_TRUE(plan({kWeb}, {now, local})["ends"][0]["effects"].empty())
      << "the number of a web login is no process";
}

TEST(Plan, ShowsTheFirstOpenFilesOfAnSmbProcess) {
  const Snapshot now = snapshot();
  zevo::OpenFiles files;
  for (int i = 10; i < 35; ++i) files[4711].insert("/srv/" + std::to_string(i));
  const Json::Value ends = plan({kShares, kShell}, {now, {}, files})["ends"];
  EXPECT_EQ(ends[0]["open_files"]["total"].asInt(), 25);
  EXPECT_EQ(ends[0]["open_files"]["names"].size(), 20U);
  EXPECT_EQ(ends[0]["open_files"]["names"][0], "/srv/10");
  EXPECT_FALSE(ends[1].isMember("open_files"));
  EXPECT_FALSE(plan({kShares}, {now, {}})["ends"][0].isMember("open_files")) << "nothing is known";
}

TEST(Selection, IsOneThatMeansSomething) {
  EXPECT_EQ(
      parsed(R"({"pids":[12,12],"user":"root","from":"10.20.0.2","type":"SSH","filter":"x"})"),
      (Selection{{12}, "admin", "10.20.0.2", "SSH", "x"}));
  for (const char* json : {"{}", "[]", R"({"user":""})", R"({"user":7})", R"({"pids":[]})",
                           R"({"pids":[0]})", R"({"pids":["12"]})", R"({"who":"alice"})"}) {
    EXPECT_FALSE(parsed(json)) << json;
  }
}

TEST(Selection, WantsEveryConditionToHold) {
  EXPECT_EQ(selected(R"({"user":"alice","from":"10.20.0.2","type":"SSH","pids":[12,13]})"),
            Pids{12});
  EXPECT_EQ(selected(R"({"pids":[13]})"), Pids{});
  EXPECT_EQ(selected(R"({"pids":[12],"user":"Alice"})"), Pids{});
  EXPECT_EQ(selected(R"({"pids":[12],"from":"10.20.0.3"})"), Pids{});
  EXPECT_EQ(selected(R"({"pids":[12],"type":"CIFS"})"), Pids{});
}

TEST(Selection, FindsAUserOnTheProcessOfAnother) {
  EXPECT_EQ(selected(R"({"user":"bob"})"), Pids{4711});
  EXPECT_EQ(selected(R"({"user":"carol"})"), Pids{});
}

TEST(Selection, TakesEveryWayToWriteAnAddress) {
  const Snapshot now;
  const Connection alice = connection(12, "alice", "SSH", "fd00::1");
  EXPECT_TRUE(isSelected(alice, {{}, "", "FD00:0:0:0:0:0:0:1", "", ""}, now));
  EXPECT_FALSE(isSelected(alice, {{}, "", "fd00::2", "", ""}, now));
  EXPECT_TRUE(isSelected(kShell, {{}, "", "::ffff:10.20.0.2", "", ""}, now));
  const Connection linkLocal = connection(12, "alice", "SSH", "fe80::1%eth0");
  EXPECT_TRUE(isSelected(linkLocal, {{}, "", "fe80::1%eth0", "", ""}, now));
  EXPECT_FALSE(isSelected(linkLocal, {{}, "", "fe80::1%eth1", "", ""}, now));
}

TEST(Selection, TellsNumbersThatNothingHasOrTwoThingsHave) {
  Connection login = kWeb;
  login.pid = 12;
  const Selection selection{{99, 12}, "", "", "", ""};
  EXPECT_EQ(missingPids({kShell}, selection), Pids{99});
  EXPECT_EQ(ambiguousPids({kShell, login}, selection), Pids{12});
  EXPECT_EQ(ambiguousPids({kShell, kWeb}, selection), Pids{});
}

TEST(UsersOf, AreTheOwnFirstAndEachOnceAndOfSmbAlone) {
  const Snapshot now = snapshot();
  EXPECT_EQ(now.usersOf(kShares), (std::vector<std::string>{"alice", "bob"}));
  EXPECT_EQ(now.usersOf(connection(4711, "mallory", "SFTP")), std::vector<std::string>{"mallory"});
  EXPECT_EQ(now.usersOf(kNfs), std::vector<std::string>{});
}

TEST(ProcessesAbove, AreClimbedAsFarAsTheyCanBeRead) {
  ProcessTree tree;
  for (const auto& [pid, parent] : {std::pair{40U, 30U}, {30U, 20U}, {20U, 1U}, {1U, 0U}, {7U, 6U}})
    tree.add(pid, parent);
  EXPECT_EQ(processesAbove(40, tree.path()), (Pids{30, 20, 1}));
  EXPECT_EQ(processesAbove(7, tree.path()), Pids{6});
  EXPECT_EQ(processesAbove(41, tree.path()), Pids{});
  tree.add(1, 40);
  EXPECT_EQ(processesAbove(40, tree.path()).size(), 64U) << "a circle has an end";
  const auto own = static_cast<std::uint32_t>(::getpid());
  EXPECT_EQ(processesAbove(own, "/proc").front(), static_cast<std::uint32_t>(::getppid()));
}

}  // namespace
}  // namespace calls::enforce
