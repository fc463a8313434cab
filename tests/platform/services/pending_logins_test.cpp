#include "services/pending_logins.h"

#include <csignal>

#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/openssh_fixture.h"

namespace zevo::connections {
namespace {

using test::kSshdUser;
using test::title;

class PendingLoginsTest : public test::OpensshTest {
 protected:
  // The user whose login the process serves, if it is one of `users`; "?" if nobody can tell.
  std::string userOf(pid_t pid, const std::set<std::string>& users = {"alice"}) {
    const test::FakeSources sources(tree_, sockets_);
    return pendingUser(*sources, *sources.processes().find(pid), users).value_or("?");
  }
};

TEST_F(PendingLoginsTest, ALoginUnderWayIsThatOfItsUser) {
  addMonitor(60, "alice");
  addChild(61, 60, "sshd: alice [net]", kSshdUser);
  EXPECT_EQ(userOf(60), "alice");
  EXPECT_EQ(userOf(61), "");
}

TEST_F(PendingLoginsTest, NewerReleasesHaveOtherNamesOfPrograms) {
  addMonitor(60, "alice", "sshd-session");
  addChild(61, 60, "sshd-auth: alice [net]", kSshdUser, "sshd-auth");
  EXPECT_EQ(userOf(60), "alice");
  EXPECT_EQ(userOf(61), "");
}

TEST_F(PendingLoginsTest, OneThatHasBeenLetInIsStillUnderWay) {
  addMonitor(60, "alice");
  EXPECT_EQ(userOf(60), "alice");
}

TEST_F(PendingLoginsTest, NamesOfOthersAreNotTakenForIt) {
  addMonitor(60, "alice.b");
  addMonitor(61, "alice [priv]");
  addMonitor(62, "unknown");
  addMonitor(63, "[alice]");
  for (const pid_t pid : {60, 61, 62, 63}) EXPECT_EQ(userOf(pid), "") << pid;
  EXPECT_EQ(userOf(60, {"alice.b"}), "alice.b");
  EXPECT_EQ(userOf(61, {"alice", "alice [priv]"}), "alice [priv]");
  EXPECT_EQ(userOf(63, {"[alice]"}), "[alice]");
}

TEST_F(PendingLoginsTest, ANameThatTheClientChoseIsThatOfTheAccount) {
  addMonitor(60, std::string(test::kOtherNameOfAlice));
  EXPECT_EQ(userOf(60), "alice");
}

TEST_F(PendingLoginsTest, TheGuardOfASessionIsNone) {
  add({.pid = 66,
       .parent = 56,
       .name = "sshd",
       .cmdline = title("sshd: alice [priv]"),
       .handledSignals = 1U << (SIGTERM - 1U)});
  addChild(72, 66, "sshd: alice@pts/1");
  EXPECT_EQ(userOf(66), "");
  EXPECT_EQ(userOf(72), "");
}

TEST_F(PendingLoginsTest, WhatWasForkedWithItsTitleIsCountedOnce) {
  addMonitor(60, "alice");
  addChild(61, 60, "sshd: alice [priv]", 0);
  EXPECT_EQ(userOf(60), "alice");
  EXPECT_EQ(userOf(61), "");
}

TEST_F(PendingLoginsTest, AUsersOwnProgramIsNone) {
  addProgram(80, 1, "sshd: alice [priv]", "sshd");
  add({.pid = 81,
       .parent = 1,
       .name = "sshd",
       .cmdline = title("sshd: alice [priv]"),
       .uids = "1001\t0\t0\t0",
       .image = 81,
       .setuid = true});
  EXPECT_EQ(userOf(80), "");
  EXPECT_EQ(userOf(81), "");
}

TEST_F(PendingLoginsTest, AnAccountOfAContainerIsAnother) {
  add({.pid = 60,
       .parent = 1,
       .name = "sshd",
       .cmdline = title("sshd: alice [priv]"),
       .namespaces = {4026532001, 4026532002, 4026532003},
       .cgroup = "0::/lxc.payload.web\n"});
  EXPECT_EQ(userOf(60), "");
}

TEST_F(PendingLoginsTest, OneThatCannotBeReadFails) {
  addMonitor(60, "alice");
  tree_.makeUnreadable(60, "status");
  EXPECT_EQ(userOf(60), "?");
}

}  // namespace
}  // namespace zevo::connections
