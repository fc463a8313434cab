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

using OpensshTitlesTest = test::OpensshTest;

TEST_F(OpensshTitlesTest, NewerReleasesNameTheirSessionsOtherwise) {
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

TEST_F(OpensshTitlesTest, NamesOfUsersMayHoldBlanksBracketsAndAtSigns) {
  addMonitor(66, "alice liddell");
  addChild(67, 66, "sshd: alice liddell@pts/1");
  addMonitor(76, "bob@example.com");
  addChild(77, 76, "sshd: bob@example.com@pts/2");
  addMonitor(86, "carol [net]");
  addChild(87, 86, "sshd: carol [net]@pts/3");
  addMonitor(96, R"(DOM\\dave)");
  addChild(97, 96, R"(sshd: DOM\\dave@notty)");
  addMonitor(106, R"(j\303\274rgen)");
  addChild(107, 106, R"(sshd: j\303\274rgen@notty)");
  EXPECT_THAT(read(),
              ElementsAre(ssh(67, "pts/1", "alice liddell"), ssh(77, "pts/2", "bob@example.com"),
                          ssh(87, "pts/3", "carol [net]"), ssh(97, "no terminal", "DOM\\dave"),
                          ssh(107, "no terminal", "jürgen")));
}

TEST_F(OpensshTitlesTest, TheUserIsTheAccountUnderWhateverNameTheClientGave) {
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

TEST_F(OpensshTitlesTest, WhereTitlesAreCutOffTheIdsTellTheUser) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: al");
  tree_.write(66, "cmdline", title("sshd: alice [pr"));
  addChild(73, 72, "sshd: alice@intern");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "no terminal")));
}

TEST_F(OpensshTitlesTest, ALoginInProgressWhoseTitleIsCutOffIsNoConnection) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alic", kSshdUser);
  tree_.write(66, "cmdline", title("sshd: alic"));
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTitlesTest, AUsersOwnProgramOfThatNameIsNoConnection) {
  addProgram(200, 1, "-bash", "bash");
  addProgram(201, 200, "sshd: root [priv]", "sshd");
  addProgram(202, 201, "sshd: root@pts/9", "sshd");
  addProgram(203, 1, "sshd: root@pts/8", "sshd");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTitlesTest, TheTitleOfAUsersOwnProgramIsNotRead) {
  addProgram(201, 1, "sshd: root@pts/9", "sshd");
  addProgram(202, 201, "sshd: root@pts/9", "sshd");
  tree_.makeUnreadable(201, "cmdline");
  tree_.makeUnreadable(202, "cmdline");
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshTitlesTest, WhatAUserStartsInASessionCannotClaimAnotherUser) {
  addMonitor(66, "alice");
  addChild(72, 66, "sshd: alice@pts/1");
  addProgram(73, 72, "sshd: root@pts/9", "sshd");
  addProgram(74, 72, "sshd: bob@internal-sftp", "sshd");
  addProgram(75, 73, "sshd: bob [priv]", "sshd");
  addProgram(76, 75, "sshd: bob@pts/7", "sshd");
  EXPECT_THAT(read(), ElementsAre(ssh(72, "pts/1")));
}

TEST_F(OpensshTitlesTest, ASetuidProgramUnderTheNameOfSshdIsNoConnection) {
  add({.pid = 200,
       .name = "sshd",
       .cmdline = title("sshd: root@pts/9"),
       .uids = "1001\t0\t0\t0",
       .setuid = true});
  EXPECT_THAT(read(), IsEmpty());
}

TEST(OpensshTitleTest, AProgramsArgumentsAreNoTitle) {
  EXPECT_EQ(sshTitleText("/usr/sbin/sshd -D -R"), std::nullopt);
  EXPECT_EQ(sshTitleText("bash: alice@pts/1"), std::nullopt);
  EXPECT_EQ(sshTitleText(""), std::nullopt);
  EXPECT_EQ(sshTitleText("sshd: "), "");
}

}  // namespace
}  // namespace zevo::connections
