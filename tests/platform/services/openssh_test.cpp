#include "services/openssh.h"

#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using test::kSshdUser;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// A title as the kernel shows it: NULs up to the length of the arguments that it replaced.
std::string title(const std::string& text) {
  return text + std::string(40, '\0');
}

class OpensshTest : public ::testing::Test {
 protected:
  void SetUp() override {
    add({.pid = 56,
         .name = "sshd",
         .cmdline = title("sshd: /usr/sbin/sshd -D [listener] 1 of 100-100 startups")});
  }

  void add(const test::FakeProcess& process) { tree_.add(process); }
  void addMonitor(pid_t pid, const std::string& user, const std::string& name = "sshd") {
    add({.pid = pid,
         .parent = 56,
         .name = name,
         .cmdline = title(name + ": " + user + " [priv]"),
         .startTicks = 100,
         .sockets = {{4, 9000U + static_cast<std::uint64_t>(pid)}}});
    sockets_.push_back(
        test::establishedSocket(9000U + static_cast<std::uint64_t>(pid), "10.20.0.2", 22));
  }
  // A process of a session below `parent`.
  void addChild(pid_t pid, pid_t parent, const std::string& text, uid_t uid = kAlice,
                const std::string& name = "sshd") {
    add({.pid = pid,
         .parent = parent,
         .name = name,
         .cmdline = title(text),
         .uid = uid,
         .cwd = "/home/alice"});
  }

  // A program that a user started: its name and its title are his own choice.
  void addProgram(pid_t pid, pid_t parent, const std::string& text, const std::string& name) {
    add({.pid = pid,
         .parent = parent,
         .name = name,
         .cmdline = title(text),
         .uid = kAlice,
         .image = 1000 + static_cast<std::uint64_t>(pid),
         .cwd = "/home/alice"});
  }
  // A session's process that holds the client's connection, its guard being gone.
  void addOrphan(pid_t pid, uid_t uid = kAlice, pid_t parent = 1, const std::string& program = "") {
    add({.pid = pid,
         .parent = parent,
         .name = "sshd",
         .cmdline = title("sshd: root@pts/9"),
         .uid = uid,
         .image = 1000 + static_cast<std::uint64_t>(pid),
         .program = program,
         .sockets = {{4, 9000U + static_cast<std::uint64_t>(pid)}}});
    sockets_.push_back(
        test::establishedSocket(9000U + static_cast<std::uint64_t>(pid), "10.20.0.2", 22));
  }
  // OpenSSH's own SFTP server.
  void addSftpServer(pid_t pid, pid_t parent) {
    add({.pid = pid,
         .parent = parent,
         .name = "sftp-server",
         .uid = kAlice,
         .image = 5,
         .exe = tree_.file("sftp-server", "x")});
  }

  std::vector<Connection> read() {
    const test::FakeSources sources(tree_, sockets_);
    return test::readAll(readOpenssh, *sources);
  }
  static Connection ssh(pid_t pid, const std::string& descr, const std::string& user = "alice") {
    return {pid, test::kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_SSH};
  }
  static Connection sftp(pid_t pid, const std::string& descr, const std::string& user = "alice") {
    return {pid, test::kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_SFTP};
  }

  test::ProcTree tree_;
  std::vector<Socket> sockets_;
};

TEST_F(OpensshTest, TheListenerAloneIsNoConnection) {
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AShellIsNamedByItsTerminal) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshTest, EachTerminalOfOneConnectionIsARecord) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1,pts/5");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1"), ssh(72, "pts/5")));
}

TEST_F(OpensshTest, ACommandHasNoTerminal) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sleep", "sleep");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, AConnectionThatOnlyForwardsPortsHasNoTerminal) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, LoginsInProgressAreNoConnections) {
  add({.pid = 58, .parent = 56, .name = "sshd", .cmdline = title("sshd: [accepted]")});
  addChild(59, 58, "sshd: [net]", kSshdUser);
  addMonitor(60, "alice");
  addChild(61, 60, "sshd: alice [net]", kSshdUser);
  addChild(62, 60, "sshd: alice [pam]", 0);
  addMonitor(63, "unknown");
  addChild(64, 63, "sshd: unknown [net]", kSshdUser);
  addMonitor(70, "root");
  addChild(71, 70, "sshd: root [net]", kSshdUser);
  add({.pid = 80, .parent = 56, .name = "sshd", .cmdline = title("/usr/sbin/sshd -D -R")});
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AnInternalSftpServerIsARecordBesideThatOfItsConnection) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@internal-sftp");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "SFTP"), sftp(73, "/home/alice")));
}

TEST_F(OpensshTest, AConnectionWhoseSftpServerVanishesMeanwhileIsStillThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@internal-sftp");
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(73);
  EXPECT_THAT(test::readAll(readOpenssh, *sources), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, AConnectionWithAnUnreadableChildIsStillThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@internal-sftp");
  tree_.makeUnreadable(73, "status");
  const test::FakeSources sources(tree_, sockets_);
  std::vector<Connection> connections;
  EXPECT_TRUE(readOpenssh(*sources, connections).failed());
  EXPECT_THAT(connections, ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, AnExternalSftpServerIsOneSshRecordThatSaysSo) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addSftpServer(73, 72);
  EXPECT_THAT(read(), ElementsAre(ssh(72, "SFTP (sftp-server)")));
}

TEST_F(OpensshTest, AnExternalSftpServerMayStandBelowTheUsersShell) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sh", "sh");
  addSftpServer(74, 73);
  EXPECT_THAT(read(), ElementsAre(ssh(72, "SFTP (sftp-server)")));
}

TEST_F(OpensshTest, WhatRunsBesideTheServerBelowTheUsersShellIsNotSftpAlone) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sh", "sh");
  addSftpServer(74, 73);
  addProgram(75, 73, "sleep", "sleep");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal"), ssh(72, "SFTP (sftp-server)")));
}

TEST_F(OpensshTest, AUsersOwnProgramCalledSftpServerIsACommand) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "/usr/lib/openssh/sftp-server", "sftp-server");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, AUsersOwnProgramCalledInternalSftpIsACommand) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sshd: alice@internal-sftp", "sshd");
  tree_.makeUnreadable(73, "cmdline");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, AChildThatHasNotBecomeAProgramYetIsNoConnection) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@notty");
  add({.pid = 106,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: root@notty"),
       .sockets = {{4, 5}}});
  add({.pid = 107,
       .parent = 106,
       .name = "sshd",
       .cmdline = title("sshd: root@notty"),
       .sockets = {{4, 5}}});
  sockets_.push_back(test::establishedSocket(5, "10.20.0.2", 22));
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal"), ssh(106, "no terminal", "root")));
}

TEST_F(OpensshTest, AShellAndSftpOverOneConnectionAreBothThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  addProgram(73, 72, "-bash", "bash");
  addChild(74, 72, "sshd: alice@internal-sftp");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1"), sftp(74, "/home/alice")));
}

TEST_F(OpensshTest, ACommandAndSftpOverOneConnectionAreBothThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sleep", "sleep");
  addChild(74, 72, "sshd: alice@internal-sftp");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal"), sftp(74, "/home/alice")));
}

TEST_F(OpensshTest, RootsSessionsHaveNoProcessThatGuardsThem) {
  add({.pid = 106,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: root@pts/1"),
       .sockets = {{4, 5}}});
  add({.pid = 107,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: root@notty"),
       .sockets = {{4, 6}}});
  addChild(108, 107, "sshd: root@internal-sftp", 0);
  add({.pid = 109,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: root"),
       .sockets = {{4, 7}}});
  for (std::uint64_t inode : {5U, 6U, 7U})
    sockets_.push_back(test::establishedSocket(inode, "10.20.0.2", 22));
  EXPECT_THAT(read(),
              ElementsAre(ssh(106, "pts/1", "root"), ssh(107, "SFTP", "root"),
                          sftp(108, "/home/alice", "root"), ssh(109, "no terminal", "root")));
}

TEST_F(OpensshTest, NewerReleasesNameTheirSessionsOtherwise) {
  addMonitor(66, "alice", "sshd-session");
  addChild(72, 66, "sshd-session: alice@pts/1", kAlice, "sshd-session");
  addMonitor(76, "bob", "sshd-session");
  addChild(77, 76, "sshd-session: bob@notty", 1002, "sshd-session");
  addChild(78, 77, "sshd-session: bob@internal-sftp", 1002, "sshd-session");
  addMonitor(86, "carol", "sshd-session");
  addChild(87, 86, "sshd-auth: carol [net]", kSshdUser, "sshd-auth");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1"), ssh(77, "SFTP", "bob"),
                                  sftp(78, "/home/alice", "bob")));
}

TEST_F(OpensshTest, NamesOfUsersMayHoldBlanksBracketsAndAtSigns) {
  addMonitor(66, "alice liddell");
  addChild(67, 66, "sshd: alice liddell@pts/1");
  addMonitor(76, "bob@example.com");
  addChild(77, 76, "sshd: bob@example.com@pts/2");
  addMonitor(86, "carol [net]");
  addChild(87, 86, "sshd: carol [net]@pts/3");
  addMonitor(96, "DOM\\dave");
  addChild(97, 96, "sshd: DOM\\dave@notty");
  EXPECT_THAT(read(),
              ElementsAre(ssh(67, "pts/1", "alice liddell"), ssh(77, "pts/2", "bob@example.com"),
                          ssh(87, "pts/3", "carol [net]"), ssh(97, "no terminal", "DOM\\dave")));
}

TEST_F(OpensshTest, TheUserIsTheAccountUnderWhateverNameTheClientGave) {
  addMonitor(66, "ALICE");
  addChild(72, 66, "sshd: alice@pts/1");
  addMonitor(76, "alice@example.com");
  addChild(77, 76, "sshd: alice");
  addMonitor(86, "EXAMPLE\\alice");
  addChild(87, 86, "sshd: alice@notty");
  addChild(88, 87, "sshd: alice@internal-sftp");
  addMonitor(96, "bob");
  addChild(97, 96, "sshd: bob@example.com");
  EXPECT_THAT(read(),
              ElementsAre(ssh(72, "pts/1"), ssh(77, "no terminal"), ssh(87, "SFTP"),
                          sftp(88, "/home/alice"), ssh(97, "no terminal", "bob@example.com")));
}

TEST_F(OpensshTest, WhereTitlesAreCutOffTheIdsTellTheUser) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: al");
  tree_.write(66, "cmdline", title("sshd: alice [pr"));
  addChild(73, 72, "sshd: alice@intern");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTest, ALoginInProgressWhoseTitleIsCutOffIsNoConnection) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alic", kSshdUser);
  tree_.write(66, "cmdline", title("sshd: alic"));
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, ASessionWhoseGuardIsGoneIsOneOfItsAccountAndItsTitleIsNotRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addOrphan(72);
  tree_.makeUnreadable(72, "cmdline");
  addOrphan(82);
  addSftpServer(83, 82);
  EXPECT_THAT(read(), ElementsAre(ssh(72, "terminal not known"), ssh(82, "terminal not known"),
                                  ssh(82, "SFTP (sftp-server)")));
}

TEST_F(OpensshTest, WhatIsLeftOfALoginInProgressIsNoConnection) {
  addOrphan(72, kSshdUser);
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AnOrphanWhoseConnectionRootDidNotAcceptIsNone) {
  addOrphan(72);
  sockets_.back().owner = kAlice;
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AnOrphanWithoutAConnectionIsNone) {
  addOrphan(72);
  sockets_.clear();
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AnOrphanThatRunsAnotherProgramOrStandsBelowAUsersIsNone) {
  addProgram(70, 1, "-bash", "bash");
  addOrphan(72, kAlice, 1, "python3.11");
  addOrphan(74, kAlice, 70);
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AUsersOwnProgramOfThatNameIsNoConnection) {
  addProgram(200, 1, "-bash", "bash");
  addProgram(201, 200, "sshd: root [priv]", "sshd");
  addProgram(202, 201, "sshd: root@pts/9", "sshd");
  addProgram(203, 1, "sshd: root@pts/8", "sshd");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, TheTitleOfAUsersOwnProgramIsNotRead) {
  addProgram(201, 1, "sshd: root@pts/9", "sshd");
  addProgram(202, 201, "sshd: root@pts/9", "sshd");
  tree_.makeUnreadable(201, "cmdline");
  tree_.makeUnreadable(202, "cmdline");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, WhatAUserStartsInASessionCannotClaimAnotherUser) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  addProgram(73, 72, "sshd: root@pts/9", "sshd");
  addProgram(74, 72, "sshd: bob@internal-sftp", "sshd");
  addProgram(75, 73, "sshd: bob [priv]", "sshd");
  addProgram(76, 75, "sshd: bob@pts/7", "sshd");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshTest, ASetuidProgramUnderTheNameOfSshdIsNoConnection) {
  add({.pid = 200,
       .name = "sshd",
       .cmdline = title("sshd: root@pts/9"),
       .uids = "1001\t0\t0\t0",
       .setuid = true});
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTest, AConnectionThatDoesNotComeOverTcpHasNoAddress) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  sockets_.clear();
  Connection expected = ssh(72, "pts/1");
  expected.from = "";
  EXPECT_THAT(read(), ElementsAre(expected));
}

TEST_F(OpensshTest, TheClientsConnectionIsTheOneOfTheLowestDescriptor) {
  add({.pid = 66,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: alice [priv]"),
       .sockets = {{9, 50}, {4, 51}, {3, 52}}});
  addChild(72, 66, "sshd: alice@pts/1");
  sockets_ = {test::establishedSocket(50, "192.0.2.7", 40000),
              test::establishedSocket(51, "10.20.0.2", 22)};
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshTest, ASessionThatVanishesMeanwhileIsLeftOut) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  addMonitor(76, "alice");
  addChild(77, 76, "sshd: alice@pts/2");
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(76);
  tree_.remove(77);
  EXPECT_THAT(test::readAll(readOpenssh, *sources), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshTest, ASessionThatCannotBeReadIsAFailure) {
  for (const auto& [pid, file] : {std::pair{66, "fd"}, {66, "status"}, {72, "cmdline"}}) {
    test::ProcTree tree;
    tree.add({.pid = 66, .name = "sshd", .cmdline = title("sshd: alice [priv]")})
        .add({.pid = 72,
              .parent = 66,
              .name = "sshd",
              .cmdline = title("sshd: alice@notty"),
              .uid = kAlice});
    tree.makeUnreadable(pid, file);
    const test::FakeSources sources(tree);
    std::vector<Connection> connections;
    EXPECT_TRUE(readOpenssh(*sources, connections).failed()) << pid << " " << file;
  }
}

TEST_F(OpensshTest, ASessionThatCannotBeReadCostsNoOtherItsRow) {
  for (const pid_t pid : {60, 80}) {
    test::ProcTree tree;
    for (const pid_t guard : {60, 70, 80}) {
      tree.add({.pid = guard, .name = "sshd", .cmdline = title("sshd: alice [priv]")})
          .add({.pid = guard + 2,
                .parent = guard,
                .name = "sshd",
                .cmdline = title("sshd: alice@pts/1"),
                .uid = kAlice});
    }
    tree.makeUnreadable(pid, "status");
    const test::FakeSources sources(tree);
    std::vector<Connection> connections;
    EXPECT_TRUE(readOpenssh(*sources, connections).failed());
    std::vector<pid_t> pids;
    for (const Connection& connection : connections) pids.push_back(connection.pid);
    EXPECT_THAT(pids, ElementsAre(pid == 60 ? 72 : 62, pid == 60 ? 82 : 72));
  }
}

TEST(OpensshTitleTest, AProgramsArgumentsAreNoTitle) {
  EXPECT_EQ(sshTitleText("/usr/sbin/sshd -D -R"), std::nullopt);
  EXPECT_EQ(sshTitleText("bash: alice@pts/1"), std::nullopt);
  EXPECT_EQ(sshTitleText(""), std::nullopt);
  EXPECT_EQ(sshTitleText("sshd: "), "");
}

}  // namespace
}  // namespace zevo::connections
