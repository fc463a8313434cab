// Sessions whose data flows, and what is left of a session whose parent has ended.
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/vsftpd_fixture.h"
#include "services/vsftpd.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using test::kClient;
using test::kNobody;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using VsftpdTransfersTest = test::VsftpdFixture;

TEST_F(VsftpdTransfersTest, TheAddressIsTheClientsAlsoWhileDataFlows) {
  connect(35365, "10.20.0.99", 62956);
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  hold(78, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(78, "alice")));
}

TEST_F(VsftpdTransfersTest, WhileDataFlowsOverTlsItsHandlerEndsTheSession) {
  connect(35365, "10.20.0.99", 62956);
  addParent(57, kNobody);
  addUsers(58, 57, kAlice);
  addWaiting(59, 57);
  hold(58, 5, 35365);
  hold(59, 3, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(59, "alice")));
}

TEST_F(VsftpdTransfersTest, WhileDataFlowsBesideTlsTheUsersProcessEndsTheSession) {
  connect(35365, "10.20.0.99", 62956);
  addParent(57, kNobody);
  addWaiting(58, 57);
  addUsers(59, 57, kAlice);
  hold(59, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(59, "alice")));
}

TEST_F(VsftpdTransfersTest, TheParentThatOpensADataConnectionStillEndsTheSession) {
  connect(35365, "10.20.0.99", 62956);
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  hold(76, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice")));
}

TEST_F(VsftpdTransfersTest, AHalfClosedDataConnectionStillMovesData) {
  connect(35365, "10.20.0.99", 62956);
  sockets_.back().isHalfClosed = true;
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  hold(78, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(78, "alice")));
}

TEST_F(VsftpdTransfersTest, AUsersProcessWhoseParentIsGoneIsASessionOfItsAccount) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addUsers(78, 1, kAlice, "vsftpd: ::ffff:10.20.0.2/root: RETR x");
  ASSERT_EQ(sockets_.front().owner, 0U);
  auto found = read(readVsftpd);
  ASSERT_THAT(found, ::testing::SizeIs(1));
  found[0].time = test::kStartText;
  EXPECT_EQ(ftp(78, "alice"), found[0]);
}

TEST_F(VsftpdTransfersTest, OrphansOfOneSessionOverTlsAreOneAndTheHandlerEndsIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  connect(35365, "10.20.0.99", 62956);
  for (const pid_t handler : {58, 61}) {
    addWaiting(handler, 1);
    addUsers(60, 1, kAlice);
    hold(handler, 3, 35365);
    hold(60, 5, 35365);
    auto found = read(readVsftpd);
    ASSERT_THAT(found, ::testing::SizeIs(1));
    EXPECT_EQ(handler, found[0].pid);
    EXPECT_EQ("alice", found[0].user);
    tree_.remove(handler);
    tree_.remove(60);
  }
}

TEST_F(VsftpdTransfersTest, AnOrphanWhoseConnectionRootDidNotAcceptIsNone) {
  addUsers(78, 1, kAlice);
  sockets_.front().owner = kAlice;
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTransfersTest, AProcessBelowAUsersProgramIsNoOrphan) {
  add({.pid = 20, .name = "bash", .uid = kAlice});
  addUsers(78, 20, kAlice);
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTransfersTest, AnOrphanThatRunsAnotherProgramIsNone) {
  add({.pid = 78,
       .name = "vsftpd",
       .uid = kAlice,
       .program = "python3.11",
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTransfersTest, TheTitleOfAnOrphanIsNotRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addUsers(78, 1, kAlice);
  tree_.makeUnreadable(78, "cmdline");
  EXPECT_THAT(read(readVsftpd), ::testing::SizeIs(1));
}

}  // namespace
}  // namespace zevo::connections
