#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/openssh_fixture.h"
#include "platform/services/print.h"
#include "services/openssh.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using test::kSshdUser;
using test::title;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using OpensshSessionsTest = test::OpensshTest;

TEST_F(OpensshSessionsTest, TheListenerAloneIsNoConnection) {
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshSessionsTest, AShellIsNamedByItsTerminal) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshSessionsTest, EachTerminalOfOneConnectionIsARecord) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1,pts/5");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1"), ssh(72, "pts/5")));
}

TEST_F(OpensshSessionsTest, ACommandHasNoTerminal) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sleep", "sleep");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, AConnectionThatOnlyForwardsPortsHasNoTerminal) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, LoginsInProgressAreNoConnections) {
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

TEST_F(OpensshSessionsTest, AnInternalSftpServerIsARecordBesideThatOfItsConnection) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@internal-sftp");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "SFTP"), sftp(73, "/home/alice")));
}

TEST_F(OpensshSessionsTest, AConnectionWhoseSftpServerVanishesMeanwhileIsStillThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@internal-sftp");
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(73);
  EXPECT_THAT(test::readAll(readOpenssh, *sources), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, AConnectionWithAnUnreadableChildIsStillThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@internal-sftp");
  tree_.makeUnreadable(73, "status");
  const test::FakeSources sources(tree_, sockets_);
  std::vector<Connection> connections;
  EXPECT_TRUE(hasFailed(readOpenssh(*sources, connections)));
  EXPECT_THAT(connections, ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, AnExternalSftpServerIsOneSshRecordThatSaysSo) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addSftpServer(73, 72);
  EXPECT_THAT(read(), ElementsAre(ssh(72, "SFTP (sftp-server)")));
}

TEST_F(OpensshSessionsTest, AnExternalSftpServerMayStandBelowTheUsersShell) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sh", "sh");
  addSftpServer(74, 73);
  EXPECT_THAT(read(), ElementsAre(ssh(72, "SFTP (sftp-server)")));
}

TEST_F(OpensshSessionsTest, WhatRunsBesideTheServerBelowTheUsersShellIsNotSftpAlone) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sh", "sh");
  addSftpServer(74, 73);
  addProgram(75, 73, "sleep", "sleep");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal"), ssh(72, "SFTP (sftp-server)")));
}

TEST_F(OpensshSessionsTest, AUsersOwnProgramCalledSftpServerIsACommand) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "/usr/lib/openssh/sftp-server", "sftp-server");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, AUsersOwnProgramCalledInternalSftpIsACommand) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sshd: alice@internal-sftp", "sshd");
  tree_.makeUnreadable(73, "cmdline");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, AChildThatHasNotBecomeAProgramYetIsNoConnection) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: alice@notty");
  addRootsSession(106, "sshd: root@notty", 5);
  add({.pid = 107,
       .parent = 106,
       .name = "sshd",
       .cmdline = title("sshd: root@notty"),
       .sockets = {{4, 5}}});
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal"), ssh(106, "no terminal", "root")));
}

TEST_F(OpensshSessionsTest, ALoginWhoseSessionHasNotBegunIsOneOfTheProcessThatOpensIt) {
  addMonitor(66, "alice");
  addMonitor(76, "bob", "sshd-session");
  addProgram(77, 76, "run-parts", "run-parts");
  EXPECT_THAT(read(), ElementsAre(ssh(66, "logging in"), ssh(76, "logging in", "bob")));
}

TEST_F(OpensshSessionsTest, ALoginIsThatOfTheAccountUnderWhateverNameTheClientGave) {
  addMonitor(66, std::string(test::kOtherNameOfAlice));
  addMonitor(76, "nobody-known");
  EXPECT_THAT(read(), ElementsAre(ssh(66, "logging in"), ssh(76, "logging in", "nobody-known")));
}

TEST_F(OpensshSessionsTest, ASessionThatHasItsGuardsTitleStillIsALogin) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice [priv]");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "logging in")));
}

TEST_F(OpensshSessionsTest, AGuardsTitleOfAUsersProcessMakesNoLogin) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addChild(73, 72, "sshd: bob [priv]");
  addChild(74, 73, "sshd: bob [priv]");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshSessionsTest, AGuardWhoseSessionIsOverIsNoConnection) {
  add({.pid = 66,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: alice [priv]"),
       .handledSignals = 1U << (SIGTERM - 1U)});
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshSessionsTest, ALoginInProgressWhoseHelperHasJustEndedIsNoConnection) {
  addMonitor(66, "alice");
  add({.pid = 67, .parent = 66, .name = "sshd", .cmdline = "", .state = 'Z'});
  addMonitor(76, "alice", "sshd-session");
  add({.pid = 77, .parent = 76, .name = "sshd-auth", .cmdline = "", .state = 'Z'});
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshSessionsTest, WhatSshdForksForALoginInProgressIsNoConnection) {
  addMonitor(66, "alice");
  addChild(67, 66, "sshd: alice [net]", kSshdUser);
  addChild(68, 66, "sshd: alice [priv]", 0);  // "alice [pam]" in a moment
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshSessionsTest, ALoginInProgressWhoseHelperCannotBeReadIsNoConnection) {
  addMonitor(66, "alice");
  addChild(67, 66, "sshd: alice [net]", kSshdUser);
  tree_.makeUnreadable(67, "stat");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshSessionsTest, ALoginOfAKernelThatTellsNoChildrenIsNotTakenForASession) {
  addMonitor(66, "alice");
  tree_.removeFile(66, "task/66/children");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshSessionsTest, AShellAndSftpOverOneConnectionAreBothThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  addProgram(73, 72, "-bash", "bash");
  addChild(74, 72, "sshd: alice@internal-sftp");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1"), sftp(74, "/home/alice")));
}

TEST_F(OpensshSessionsTest, ACommandAndSftpOverOneConnectionAreBothThere) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@notty");
  addProgram(73, 72, "sleep", "sleep");
  addChild(74, 72, "sshd: alice@internal-sftp");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal"), sftp(74, "/home/alice")));
}

TEST_F(OpensshSessionsTest, RootsSessionsHaveNoProcessThatGuardsThem) {
  addRootsSession(106, "sshd: root@pts/1", 5);
  addRootsSession(107, "sshd: root@notty", 6);
  addChild(108, 107, "sshd: root@internal-sftp", 0);
  addRootsSession(109, "sshd: root", 7);
  EXPECT_THAT(read(),
              ElementsAre(ssh(106, "pts/1", "root"), ssh(107, "SFTP", "root"),
                          sftp(108, "/home/alice", "root"), ssh(109, "no terminal", "root")));
}

TEST_F(OpensshSessionsTest, TheAddressOfAConnectionThatDoesNotComeOverTcpIsUnknown) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  sockets_.clear();
  Connection expected = ssh(72, "pts/1");
  expected.from = "unknown";
  EXPECT_THAT(read(), ElementsAre(expected));
}

TEST_F(OpensshSessionsTest, TheClientsConnectionIsTheOneOfTheLowestDescriptor) {
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

TEST_F(OpensshSessionsTest, ASessionThatVanishesMeanwhileIsLeftOut) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  addMonitor(76, "alice");
  addChild(77, 76, "sshd: alice@pts/2");
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(76);
  tree_.remove(77);
  EXPECT_THAT(test::readAll(readOpenssh, *sources), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshSessionsTest, ASessionThatCannotBeReadIsAFailure) {
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
    EXPECT_TRUE(hasFailed(readOpenssh(*sources, connections))) << pid << " " << file;
  }
}

TEST_F(OpensshSessionsTest, ASessionThatCannotBeReadCostsNoOtherItsRow) {
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
    EXPECT_TRUE(hasFailed(readOpenssh(*sources, connections)));
    std::vector<pid_t> pids;
    for (const Connection& connection : connections) pids.push_back(connection.pid);
    EXPECT_THAT(pids, ElementsAre(pid == 60 ? 72 : 62, pid == 60 ? 82 : 72));
  }
}

}  // namespace
}  // namespace zevo::connections
