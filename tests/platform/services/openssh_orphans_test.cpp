#include <unistd.h>

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
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using OpensshOrphansTest = test::OpensshTest;

TEST_F(OpensshOrphansTest, ASessionWhoseGuardIsGoneIsOneOfItsAccountAndItsTitleIsNotRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addOrphan(72);
  tree_.makeUnreadable(72, "cmdline");
  addOrphan(82);
  addSftpServer(83, 82);
  EXPECT_THAT(read(), ElementsAre(ssh(72, "terminal not known"), ssh(82, "terminal not known"),
                                  ssh(82, "SFTP (sftp-server)")));
}

TEST_F(OpensshOrphansTest, WhatIsLeftOfALoginInProgressIsNoConnection) {
  addOrphan(72, kSshdUser);
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshOrphansTest, AnOrphanWhoseConnectionRootDidNotAcceptIsNone) {
  addOrphan(72);
  sockets_.back().owner = kAlice;
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshOrphansTest, AnOrphanWithoutAConnectionIsNone) {
  addOrphan(72);
  sockets_.clear();
  EXPECT_THAT(read(), IsEmpty());
}

TEST_F(OpensshOrphansTest, AnOrphanThatRunsAnotherProgramOrStandsBelowAUsersIsNone) {
  addProgram(70, 1, "-bash", "bash");
  addOrphan(72, kAlice, 1, "python3.11");
  addOrphan(74, kAlice, 70);
  EXPECT_THAT(read(), IsEmpty());
}

}  // namespace
}  // namespace zevo::connections
