#include "services/trust.h"

#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

bool isFtp(std::string_view name) {
  return name == "vsftpd";
}

class TrustTest : public ::testing::Test {
 protected:
  bool isVouched(pid_t pid) {
    const test::FakeSources sources(tree_);
    const Process* process = sources.processes().find(pid);
    if (process == nullptr) ADD_FAILURE() << "no process " << pid;
    const auto vouched = isVouchedFor(*sources, *process, isFtp);
    EXPECT_TRUE(vouched.has_value()) << causeOf(vouched);
    return vouched && *vouched;
  }

  std::string titleOf(pid_t pid) {
    const test::FakeSources sources(tree_);
    const auto title = readTitle(*sources, *sources.processes().find(pid));
    EXPECT_TRUE(title) << pid << causeOf(title);
    return title ? title->first : "failure";
  }

  test::ProcTree tree_;
};

TEST_F(TrustTest, AProcessOfTheServiceIsVouchedForByItsListener) {
  tree_.add({.pid = 10, .name = "vsftpd"})
      .add({.pid = 11, .parent = 10, .name = "vsftpd", .uid = 65534})
      .add({.pid = 12, .parent = 11, .name = "vsftpd", .uid = 1000});
  EXPECT_TRUE(isVouched(12));
}

TEST_F(TrustTest, AnyOfTheThreeIdsOfAnAncestorMayBeRoots) {
  tree_.add({.pid = 10, .name = "vsftpd", .uids = "0\t65534\t65534\t65534"})
      .add({.pid = 11, .name = "vsftpd", .uids = "1000\t1000\t0\t1000"})
      .add({.pid = 12, .name = "vsftpd", .uids = "1000\t0\t1000\t1000"});
  EXPECT_TRUE(isVouched(10));
  EXPECT_TRUE(isVouched(11));
  EXPECT_TRUE(isVouched(12));
}

TEST_F(TrustTest, AUsersProgramOfThatNameIsNot) {
  tree_.add({.pid = 20, .name = "bash", .uid = 1000})
      .add({.pid = 21, .parent = 20, .name = "vsftpd", .uid = 1000})
      .add({.pid = 22, .parent = 21, .name = "vsftpd", .uid = 1000});
  EXPECT_FALSE(isVouched(22));
}

TEST_F(TrustTest, AnOrphanIsNotVouchedForByInit) {
  tree_.add({.pid = 30, .parent = 1, .name = "vsftpd", .uid = 1000});
  EXPECT_FALSE(isVouched(30));
}

TEST_F(TrustTest, ASetuidProgramStartedUnderTheServicesNameIsNotTheService) {
  tree_.add({.pid = 40, .parent = 1, .name = "vsftpd", .uids = "1000\t0\t0\t0", .setuid = true})
      .add({.pid = 41, .parent = 1, .name = "vsftpd", .uid = 0, .setuid = true});
  EXPECT_FALSE(isVouched(40));
  EXPECT_FALSE(isVouched(41));
}

TEST_F(TrustTest, ASuperServerVouchesForWhatItStarts) {
  tree_.add({.pid = 50, .name = "inetd"})
      .add({.pid = 51, .parent = 50, .name = "vsftpd", .uid = 65534})
      .add({.pid = 52, .name = "inetd", .uid = 1000})
      .add({.pid = 53, .parent = 52, .name = "vsftpd", .uid = 1000});
  EXPECT_TRUE(isVouched(51));
  EXPECT_FALSE(isVouched(53));
}

TEST_F(TrustTest, ACircleOfParentsEnds) {
  tree_.add({.pid = 60, .parent = 61, .name = "vsftpd", .uid = 1000})
      .add({.pid = 61, .parent = 60, .name = "vsftpd", .uid = 1000});
  EXPECT_FALSE(isVouched(60));
}

TEST_F(TrustTest, TheTitleOfWhatRootStartedIsRead) {
  tree_.add({.pid = 10, .name = "vsftpd", .cmdline = "a"})
      .add(
          {.pid = 11, .name = "vsftpd", .cmdline = "b", .uids = "1000\t1000\t0\t1000", .image = 2});
  EXPECT_EQ(titleOf(10), "a");
  EXPECT_EQ(titleOf(11), "b");
}

TEST_F(TrustTest, TheTitleOfWhatRootsProcessForkedIsRead) {
  tree_.add({.pid = 10, .name = "sshd", .image = 2})
      .add({.pid = 11, .parent = 10, .name = "sshd", .cmdline = "a", .uid = 1000, .image = 2})
      .add({.pid = 12, .parent = 11, .name = "sshd", .cmdline = "b", .uid = 1000, .image = 2});
  EXPECT_EQ(titleOf(11), "a");
  EXPECT_EQ(titleOf(12), "b");
}

TEST_F(TrustTest, TheTitleOfAUsersOwnProgramIsNotRead) {
  tree_.add({.pid = 10, .name = "sshd", .image = 2})
      .add({.pid = 11, .parent = 10, .name = "sshd", .uid = 1000, .image = 2})
      .add({.pid = 12, .parent = 11, .name = "sshd", .uid = 1000, .image = 3})
      .add({.pid = 13, .parent = 12, .name = "sshd", .uid = 1000, .image = 3})
      .add({.pid = 14, .parent = 1, .name = "sshd", .uid = 1000, .image = 3})
      .add({.pid = 15,
            .parent = 1,
            .name = "sshd",
            .uids = "1000\t0\t0\t0",
            .image = 3,
            .setuid = true});
  for (const pid_t pid : {12, 13, 14, 15}) {
    tree_.makeUnreadable(pid, "cmdline");
    EXPECT_EQ(titleOf(pid), "") << pid;
  }
}

TEST_F(TrustTest, WhoseAddressesTheKernelHidesIsNoForkOfRoots) {
  tree_.add({.pid = 10, .name = "sshd", .image = 0})
      .add({.pid = 11, .parent = 10, .name = "sshd", .uid = 1000, .image = 0});
  EXPECT_EQ(titleOf(11), "");
}

TEST_F(TrustTest, TheTitleOfAProcessThatRanAProgramSinceTheScanIsNotRead) {
  const test::FakeProcess process{.pid = 11, .parent = 10, .name = "sshd", .uid = 1000, .image = 2};
  tree_.add({.pid = 10, .name = "sshd", .image = 2}).add(process);
  const test::FakeSources sources(tree_);
  tree_.remove(11);
  test::FakeProcess later = process;
  later.image = 3;
  tree_.add(later);
  tree_.makeUnreadable(11, "cmdline");
  const auto title = readTitle(*sources, *sources.processes().find(11));
  ASSERT_TRUE(title) << causeOf(title);
  EXPECT_EQ(title->first, "");
}

TEST_F(TrustTest, AnAncestorThatCannotBeReadIsAFailure) {
  tree_.add({.pid = 10, .name = "vsftpd", .uid = 1000});
  tree_.makeUnreadable(10, "status");
  const test::FakeSources sources(tree_);
  EXPECT_TRUE(hasFailed(isVouchedFor(*sources, *sources.processes().find(10), isFtp)));
}

TEST_F(TrustTest, WhetherRootStartedAProcessIsAskedOnce) {
  tree_.add({.pid = 10, .name = "vsftpd", .image = 2});
  for (pid_t pid = 11; pid < 15; ++pid) {
    tree_.add({.pid = pid, .parent = pid - 1, .name = "vsftpd", .uid = 1000, .image = 2});
  }
  const test::FakeSources sources(tree_);
  const auto process = [&sources](pid_t pid) { return *sources.processes().find(pid); };
  ASSERT_TRUE(isVouchedFor(*sources, process(14), isFtp).has_value());
  for (pid_t pid = 10; pid < 15; ++pid) tree_.makeUnreadable(pid, "status");
  for (pid_t pid = 10; pid < 15; ++pid) {
    const auto vouched = isVouchedFor(*sources, process(pid), isFtp);
    ASSERT_TRUE(vouched.has_value()) << causeOf(vouched);
    EXPECT_TRUE(*vouched);
    EXPECT_TRUE(isBelowOrphan(*sources, process(pid), isFtp).has_value());
    EXPECT_TRUE(serverOf(*sources, process(pid)));
    // For one whose memory may be a user's, its own status is read, but not those of all above it.
    EXPECT_TRUE(pid >= 12 || readTitle(*sources, process(pid)));
  }
}

TEST_F(TrustTest, AnAncestorThatEndedMeanwhileIsGone) {
  tree_.add({.pid = 10, .name = "vsftpd", .uid = 1000});
  const test::FakeSources sources(tree_);
  tree_.remove(10);
  EXPECT_TRUE(isGone(isVouchedFor(*sources, *sources.processes().find(10), isFtp)));
}

}  // namespace
}  // namespace zevo::connections
