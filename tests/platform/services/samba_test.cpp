#include "services/samba.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/print.h"
#include "platform/services/proc_tree.h"
#include "services/samba_processes.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr ToolLimits kLimits{.time = std::chrono::minutes(2), .bytes = 1000000};

struct Session {
  std::string id;
  std::string pid;
  std::string user;
  std::string from = "10.20.0.2";
  std::string port = "50000";
};

std::string sessionsText(const std::vector<Session>& sessions) {
  std::string text;
  for (const Session& session : sessions) {
    text += (text.empty() ? "" : ", ") +
            ("\"" + session.id + R"(": {"session_id": ")" + session.id) +
            R"(", "server_id": {"pid": ")" + session.pid + R"("}, "uid": 1001, "username": ")" +
            session.user + R"(", "hostname": "ipv4:)" + session.from + ":" + session.port + R"("})";
  }
  return R"({"sessions": {)" + text + "}}";
}

struct Share {
  std::string sessionId;
  std::string name;
  std::string second = "35";
};

std::string sharesText(const std::vector<Share>& shares) {
  std::string text;
  for (std::size_t i = 0; i < shares.size(); ++i) {
    text += (i == 0 ? "\"" : ", \"") + std::to_string(i) + R"(": {"service": ")" + shares[i].name +
            R"(", "session_id": ")" + shares[i].sessionId +
            R"(", "connected_at": "2026-11-21T03:08:)" + shares[i].second + R"(.5+00:00"})";
  }
  return R"({"tcons": {)" + text + "}}";
}

class SambaTest : public ::testing::Test {
 protected:
  void SetUp() override {
    addProcess(70, 1);
    tree_.add({.pid = 72, .parent = 70, .name = "smbd-notifyd"})
        .add({.pid = 73, .parent = 70, .name = "cleanupd"});
    addSession(87, "10.20.0.2");
  }

  void addProcess(pid_t pid, pid_t parent, const std::string& name = "smbd") {
    tree_.add({.pid = pid, .parent = parent, .name = name});
  }
  // A process of a client's connection.
  void addSession(pid_t pid, const std::string& from, const std::string& name = "smbd",
                  std::uint64_t startTicks = test::FakeProcess{}.startTicks) {
    const auto inode = 9000U + static_cast<std::uint64_t>(pid);
    tree_.add({.pid = pid,
               .parent = 70,
               .name = name,
               .startTicks = startTicks,
               .sockets = {{30, inode}}});
    sockets_.push_back(test::establishedSocket(inode, from, 445));
  }
  // One whose login may be going on: it began at most `age` ago.
  void addFreshSession(pid_t pid, const std::string& from, std::chrono::seconds age = {}) {
    const auto start = std::chrono::duration_cast<std::chrono::seconds>(timeSinceBoot()) - age;
    const auto ticks = start.count() * ::sysconf(_SC_CLK_TCK);
    addSession(pid, from, "smbd", static_cast<std::uint64_t>(ticks));
  }
  // The tool of the tree is a script with this body; $2 says what is asked for.
  void setTool(const std::string& body) {
    const std::string path = tree_.file("smbstatus", "#!/bin/sh\n" + body + "\n");
    ASSERT_EQ(::chmod(path.c_str(), 0755), 0);
  }
  void setAnswers(const std::string& sessions, const std::string& shares) {
    tree_.file("sessions.json", sessions);
    tree_.file("shares.json", shares);
    setTool("[ $1 = --json ] || exit 9\ncase \"$2 $3\" in\n'--processes --numeric') cat " +
            tree_.folder() + "/sessions.json;;\n'--shares ') cat " + tree_.folder() +
            "/shares.json;;\n*) exit 9;;\nesac");
  }
  std::vector<Connection> read(const ToolLimits& limits = kLimits) {
    const test::FakeSources sources(tree_, sockets_);
    std::vector<Connection> connections;
    const Result<void> outcome = readSamba(*sources, startSmbstatus(*sources, limits), connections);
    EXPECT_TRUE(outcome) << causeOf(outcome);
    log_ = sources.log();
    return connections;
  }
  static Connection record(pid_t pid, const std::string& user, const std::string& descr,
                           const std::string& time = "2026-11-21 03:08:35",
                           const std::string& from = "10.20.0.2") {
    return {pid, time, from, user, descr, ZEVO_CURCONN_CIFS};
  }
  // What processes and sockets tell of the two sessions.
  static std::vector<Connection> unknown() {
    return {record(87, "unknown", "share not known", test::kStartText),
            record(89, "unknown", "share not known", test::kStartText, "10.20.0.3")};
  }

  test::ProcTree tree_;
  std::vector<Socket> sockets_;
  std::vector<std::string> log_;
};

TEST_F(SambaTest, TheDescriptorsOfUsersProgramsAreNotRead) {
  for (const pid_t pid : {70, 72, 73, 87}) tree_.remove(pid);
  tree_.add({.pid = 60, .name = "smbd", .uid = 1001});
  tree_.makeUnreadable(60, "fd");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(SambaTest, EachShareOfASessionIsARecord) {
  setAnswers(sessionsText({{"1", "87", "alice"}}),
             sharesText({{"1", "photos", "36"}, {"1", "media"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "photos", "2026-11-21 03:08:36"),
                                  record(87, "alice", "media")));
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(SambaTest, UsersAreGivenByTheirIds) {
  addSession(88, "10.20.0.3");
  addSession(89, "10.20.0.4");
  setAnswers(sessionsText({{"1", "87", "0"},
                           {"2", "88", "0", "10.20.0.3"},
                           {"3", "89", "3999999999", "10.20.0.4"}}),
             sharesText({}));
  EXPECT_THAT(read(), ElementsAre(record(87, "root", "", test::kStartText),
                                  record(88, "root", "", test::kStartText, "10.20.0.3"),
                                  record(89, "3999999999", "", test::kStartText, "10.20.0.4")));
}

TEST_F(SambaTest, ASessionWithoutAShareIsARecordWithoutDescription) {
  setAnswers(sessionsText({{"1", "87", "alice"}}), sharesText({}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "", test::kStartText)));
}

TEST_F(SambaTest, TheHiddenShareCountsOnlyWhereASessionHasNothingElse) {
  addSession(89, "10.20.0.3");
  setAnswers(sessionsText({{"1", "87", "alice"}, {"2", "89", "bob", "10.20.0.3"}}),
             sharesText({{"1", "IPC$"}, {"1", "media"}, {"2", "IPC$"}, {"2", "IPC$"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "media"),
                                  record(89, "bob", "IPC$", "2026-11-21 03:08:35", "10.20.0.3")));
}

TEST_F(SambaTest, UsersOfOneProcessAreNamedInTheDescriptions) {
  setAnswers(sessionsText({{"1", "87", "alice"}, {"2", "87", "bob"}, {"3", "87", "carol"}}),
             sharesText({{"1", "media"}, {"2", "photos"}}));
  EXPECT_THAT(read(),
              ElementsAre(record(87, "alice", "media (alice)"), record(87, "bob", "photos (bob)"),
                          record(87, "carol", "(carol)", test::kStartText)));
}

TEST_F(SambaTest, TwoSessionsOfOneUserOnOneProcessNeedNoName) {
  setAnswers(sessionsText({{"1", "87", "alice"}, {"2", "87", "alice"}}),
             sharesText({{"1", "media"}, {"2", "photos"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "media"), record(87, "alice", "photos")));
}

TEST_F(SambaTest, SessionsOfAnotherNodeAreLeftOutWithOneLine) {
  // Pids 87 and 89 are sessions here too, but of other connections.
  addFreshSession(89, "10.20.0.3");
  setAnswers(sessionsText({{"1", "0:87", "alice"},
                           {"2", "1:89", "bob", "10.99.0.9"},
                           {"3", "1:89", "carol", "10.20.0.3", "50001"}}),
             sharesText({{"1", "media"}, {"2", "photos"}, {"3", "photos"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "media")));
  EXPECT_THAT(log_, ElementsAre(HasSubstr("2 sessions of other nodes")));
}

TEST_F(SambaTest, ASessionWhoseProcessIsNoSmbdIsOutOfDate) {
  tree_.remove(87);
  addFreshSession(88, "10.20.0.2");
  tree_.add({.pid = 300, .name = "bash"});
  setAnswers(sessionsText({{"1", "300", "a"},
                           {"2", "301", "b"},
                           {"3", "72", "c"},
                           {"4", "1", "d"},
                           {"5", "-1", "e"},
                           {"6", "4294967295", "f"},
                           {"7", "0", "g"}}),
             sharesText({{"1", "media"}}));
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(SambaTest, ASessionThatBeganAfterTheScanIsThere) {
  setAnswers(sessionsText({{"1", "87", "bob"}, {"2", "95", "alice"}}),
             sharesText({{"1", "media"}, {"2", "media"}}));
  const test::FakeSources sources(tree_, sockets_);
  auto runs = startSmbstatus(*sources, kLimits);
  addSession(95, "10.20.0.2");
  std::vector<Connection> connections;
  EXPECT_TRUE(readSamba(*sources, std::move(runs), connections));
  EXPECT_THAT(connections, ElementsAre(record(87, "bob", "media"), record(95, "alice", "media")));
}

TEST_F(SambaTest, ProcessesOfNewerReleasesCarryTheirClientsAddress) {
  tree_.remove(87);
  addSession(95, "10.20.0.2", "smbd[10.20.0.2]");
  setAnswers(sessionsText({{"1", "95", "alice"}}), sharesText({{"1", "media"}}));
  EXPECT_THAT(read(), ElementsAre(record(95, "alice", "media")));
}

TEST_F(SambaTest, AUserWithoutANameIsUnknown) {
  setAnswers(sessionsText({{"1", "87", ""}}), sharesText({{"1", "media"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "unknown", "media")));
}

TEST_F(SambaTest, TheToolIsNotStartedWhereNobodyIsConnected) {
  setTool("touch " + tree_.folder() + "/started");
  tree_.remove(87);
  EXPECT_THAT(read(), IsEmpty());
  tree_.remove(70);
  tree_
      .add({.pid = 301, .name = "smbd", .uid = 1001})  // a user's programs of that name
      .add({.pid = 302, .parent = 301, .name = "smbd", .uid = 1001, .sockets = {{30, 9087}}});
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_NE(::access((tree_.folder() + "/started").c_str(), F_OK), 0);
}

TEST_F(SambaTest, TheToolIsNotAskedForAContainersSessions) {
  constexpr Namespaces kContainers = {4026532001, 4026532002, 4026532003};
  setTool("touch " + tree_.folder() + "/started");
  tree_.remove(70);
  tree_.remove(87);
  tree_.add({.pid = 70, .name = "smbd", .namespaces = kContainers})
      .add({.pid = 87,
            .parent = 70,
            .name = "smbd",
            .sockets = {{30, 9087}},
            .namespaces = kContainers});
  EXPECT_THAT(read(), ElementsAre(record(87, "unknown", "share not known", test::kStartText)));
  EXPECT_NE(::access((tree_.folder() + "/started").c_str(), F_OK), 0);
}

TEST_F(SambaTest, ASessionThatTheToolDoesNotKnowIsARecordOnceALoginWouldBeOver) {
  addFreshSession(88, "10.20.0.4");
  addFreshSession(89, "10.20.0.3", kLongestSmbLogin + std::chrono::seconds(1));
  setAnswers(sessionsText({{"1", "87", "alice"}}), sharesText({{"1", "media"}}));
  const auto found = read();
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0], record(87, "alice", "media"));
  EXPECT_EQ(found[1], record(89, "unknown", "share not known", found[1].time, "10.20.0.3"));
  EXPECT_THAT(log_, IsEmpty());
}

TEST_F(SambaTest, SoIsOneWhoseLoginNeverEnds) {
  setAnswers(R"({"sessions": {"1": {"session_id": "1", "server_id": {"pid": "87"}, "uid": -1}}})",
             sharesText({}));
  EXPECT_THAT(read(), ElementsAre(record(87, "unknown", "share not known", test::kStartText)));
}

TEST_F(SambaTest, SoIsOneOfADifferentConnectionThanTheOtherNodesOfThatPid) {
  setAnswers(sessionsText({{"1", "1:87", "alice", "10.99.0.9"}}), sharesText({}));
  EXPECT_THAT(read(), ElementsAre(record(87, "unknown", "share not known", test::kStartText)));
}

TEST_F(SambaTest, SoIsOneThatASuperServerStarted) {
  tree_.remove(87);
  tree_.remove(70);
  tree_.add({.pid = 50, .name = "inetd"})
      .add({.pid = 96, .parent = 50, .name = "smbd", .sockets = {{0, 9087}}});
  setAnswers(sessionsText({}), sharesText({}));
  EXPECT_THAT(read(), ElementsAre(record(96, "unknown", "share not known", test::kStartText)));
}

TEST_F(SambaTest, SmbdItselfIsNoSessionWhileItAcceptsAConnection) {
  tree_.remove(70);
  tree_.add({.pid = 70, .name = "smbd", .sockets = {{25, 9087}}});
  setAnswers(sessionsText({{"1", "87", "alice"}}), sharesText({{"1", "media"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "media")));
}

TEST_F(SambaTest, AUsersProgramOfThatNameIsNone) {
  tree_.add({.pid = 301, .parent = 300, .name = "smbd", .uid = 1001, .sockets = {{30, 9087}}})
      .add({.pid = 300, .name = "smbd", .uid = 1001});
  setAnswers(sessionsText({{"1", "87", "alice"}}), sharesText({{"1", "media"}}));
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "media")));
}

class SambaFallbackTest : public SambaTest {
 protected:
  void SetUp() override {
    SambaTest::SetUp();
    addSession(89, "10.20.0.3");
  }
  void expectFallback(const std::string& cause, const ToolLimits& limits = kLimits) {
    EXPECT_EQ(read(limits), unknown());
    EXPECT_THAT(log_, ElementsAre(::testing::AllOf(HasSubstr("Samba"), HasSubstr(cause))));
  }
};

TEST_F(SambaFallbackTest, AToolThatIsTooOldLeavesUserAndShareUnknown) {
  setTool("echo 'Invalid option --json: unknown option' >&2; exit 1");
  expectFallback("ended with status 1");
}

TEST_F(SambaFallbackTest, SoDoesAToolThatIsMissing) {
  expectFallback("cannot be started");
}

TEST_F(SambaFallbackTest, SoDoesGarbage) {
  setTool("head -c 5000 /dev/urandom");
  expectFallback("an unreadable answer");
}

TEST_F(SambaFallbackTest, SoDoesAnEmptyAnswer) {
  setTool("exit 0");
  expectFallback("an unreadable answer");
}

TEST_F(SambaFallbackTest, SoDoesAnEndlessAnswer) {
  setTool("while :; do echo '{\"sessions\": {'; done");
  expectFallback("more than 1000000 bytes");
}

TEST_F(SambaFallbackTest, SoDoesAnAnswerThatNeverComes) {
  setTool("sleep 1000");
  expectFallback("did not answer within", {.time = std::chrono::milliseconds(300), .bytes = 1000});
}

TEST_F(SambaFallbackTest, WithoutTheSharesTheUsersAreStillKnown) {
  tree_.file("sessions.json", sessionsText({{"1", "87", "alice"}}));
  setTool("[ $2 = --processes ] && cat " + tree_.folder() + "/sessions.json");
  tree_.remove(89);
  EXPECT_THAT(read(), ElementsAre(record(87, "alice", "share not known", test::kStartText)));
  EXPECT_EQ(log_.size(), 1U);
}

TEST_F(SambaFallbackTest, ListenersHelpersAndUsersProgramsAreNoConnections) {
  const auto listener = test::establishedSocket(1, "192.0.2.1", 40000);  // to a directory server
  sockets_.push_back(listener);
  tree_.remove(70);
  tree_.add({.pid = 70, .name = "smbd", .sockets = {{9, 1}}});
  sockets_.push_back(test::establishedSocket(2, "192.0.2.2", 445));
  tree_.add({.pid = 74, .parent = 70, .name = "smbd-cleanupd", .sockets = {{9, 2}}})
      .add({.pid = 300, .name = "smbd", .uid = 1001})
      .add({.pid = 301, .parent = 300, .name = "smbd", .uid = 1001, .sockets = {{9, 2}}});
  setTool("exit 1");
  expectFallback("ended with status 1");
}

TEST_F(SambaFallbackTest, TheClientsConnectionIsTheOneToAnSmbPort) {
  sockets_.push_back(test::establishedSocket(1, "192.0.2.1", 40000));
  tree_.remove(87);
  tree_.add({.pid = 87, .parent = 70, .name = "smbd", .sockets = {{9, 1}, {30, 9087}}});
  setTool("exit 1");
  expectFallback("ended with status 1");
}

TEST_F(SambaFallbackTest, AProcessThatCannotBeReadCostsNoOtherItsRow) {
  setTool("exit 1");
  tree_.makeUnreadable(89, "fd");
  const test::FakeSources sources(tree_, sockets_);
  std::vector<Connection> connections;
  const Result<void> outcome = readSamba(*sources, startSmbstatus(*sources, kLimits), connections);
  EXPECT_THAT(causeOf(outcome), HasSubstr("/proc/89/fd"));
  EXPECT_THAT(connections, ElementsAre(record(87, "unknown", "share not known", test::kStartText)));
}

TEST_F(SambaFallbackTest, TheCallerLearnsWhatIsMissing) {
  setTool("exit 1");
  const test::FakeSources sources(tree_, sockets_);
  std::vector<Connection> connections;
  EXPECT_TRUE(readSamba(*sources, startSmbstatus(*sources, kLimits), connections));
  EXPECT_THAT((*sources).notes(),
              ElementsAre(ReadNote{std::string(kDetailsMissing), "CIFS", sources.log().at(0)}));
}

}  // namespace
}  // namespace zevo::connections
