#include "services/process_owner.h"

#include <sched.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/services/cause.h"
#include "platform/services/namespaced_process.h"
#include "platform/services/proc_tree.h"

namespace zevo::connections {
namespace {

using test::becomeUser;
using test::goOnInChild;
using test::NamespacedProcess;
using test::unshareKinds;

constexpr uid_t kUser = 61234;
constexpr uid_t kSubordinate = 161234;
constexpr uid_t kInside = 1;  // the subordinate id there
const std::string kUsersMap = "0 61234 1\n1 161234 1\n";

uid_t realUser(const ProcessFiles& process) {
  const auto ids = process.userIds();
  EXPECT_TRUE(ids);
  return ids ? ids->real : 0;
}

class ProcessOwnerTest : public ::testing::Test {
 protected:
  static void open(pid_t pid, ProcessFiles* files) {
    auto opened = ProcessFiles::open(Paths(), pid);
    ASSERT_TRUE(opened) << causeOf(opened);
    *files = std::move(*opened);
  }
  // Fails the test where one cannot be read.
  void expect(const NamespacedProcess& process, uid_t owner, bool isHere) const {
    ASSERT_NE(process.pid(), 0) << "no process could be laid out";
    ProcessFiles files;
    open(process.pid(), &files);
    const auto found = ownerOf(files, home_);
    const auto here = runsHere(files, home_);
    ASSERT_TRUE(found && here) << causeOf(found) << causeOf(here);
    EXPECT_EQ(*found, owner);
    EXPECT_EQ(*here, isHere);
  }
  // Where namespaces cannot be made, nobody hides in one.
  void SetUp() override {
    if (::geteuid() != 0) GTEST_SKIP() << "only root lays out processes of others";
    if (NamespacedProcess([] { return becomeUser(kUser) && unshareKinds(CLONE_NEWUSER); }).pid() ==
        0) {
      GTEST_SKIP() << "users cannot make user namespaces here";
    }
  }

  Home home_ = readHome(Paths());
};

TEST_F(ProcessOwnerTest, AnOrdinaryProcessIsItsRealUsers) {
  expect(NamespacedProcess([] { return becomeUser(kUser); }), kUser, true);
}

TEST_F(ProcessOwnerTest, WhoeverRunsInAUsersNamespaceIsThatUsers) {
  const NamespacedProcess process([] { return becomeUser(kUser) && unshareKinds(CLONE_NEWUSER); },
                                  kUsersMap, [] { return becomeUser(kInside); });
  expect(process, kUser, true);
  ProcessFiles files;
  open(process.pid(), &files);
  EXPECT_EQ(realUser(files), kSubordinate);
}

TEST_F(ProcessOwnerTest, AFurtherNamespaceWithinItChangesNothing) {
  expect(
      NamespacedProcess([] { return becomeUser(kUser) && unshareKinds(CLONE_NEWUSER); }, kUsersMap,
                        [] { return becomeUser(kInside) && unshareKinds(CLONE_NEWUSER); }),
      kUser, true);
}

TEST_F(ProcessOwnerTest, OneMadeUnderASubordinateIdOfAUsersIsThatUsers) {
  const test::ProcTree tree;
  home_.subordinates = SubordinateIds(tree.file("subuid", "61234:161234:10\n"));
  expect(NamespacedProcess([] { return becomeUser(kSubordinate) && unshareKinds(CLONE_NEWUSER); }),
         kUser, true);
  expect(NamespacedProcess([] {
           return becomeUser(kSubordinate) && unshareKinds(CLONE_NEWUSER | CLONE_NEWPID) &&
                  goOnInChild();
         }),
         kUser, true);
}

TEST_F(ProcessOwnerTest, InANamespaceOfRootsTheRealUserCounts) {
  expect(NamespacedProcess([] { return unshareKinds(CLONE_NEWUSER); }, "0 161234 2\n",
                           [] { return becomeUser(kInside); }),
         kSubordinate + 1, true);
}

TEST_F(ProcessOwnerTest, AProcessNamespaceOfAUsersIsHere) {
  expect(NamespacedProcess([] {
           return becomeUser(kUser) && unshareKinds(CLONE_NEWUSER | CLONE_NEWPID) && goOnInChild();
         }),
         kUser, true);
}

TEST_F(ProcessOwnerTest, OneOfRootsIsAContainer) {
  expect(NamespacedProcess(
             [] { return unshareKinds(CLONE_NEWPID) && goOnInChild() && becomeUser(kUser); }),
         kUser, false);
}

TEST_F(ProcessOwnerTest, AndSoIsWhatItsUsersMakeWithinIt) {
  expect(NamespacedProcess([] {
           return unshareKinds(CLONE_NEWPID) && goOnInChild() && becomeUser(kUser) &&
                  unshareKinds(CLONE_NEWUSER | CLONE_NEWPID) && goOnInChild();
         }),
         kUser, false);
}

TEST_F(ProcessOwnerTest, InAUserNamespaceThatCannotBeOpenedTheRealUserCounts) {
  test::ProcTree tree;
  tree.add({.pid = 10, .name = "bash", .uid = kUser, .userNamespace = 7});
  tree.add({.pid = 11, .name = "bash", .uid = kUser});
  tree.makeUnreadable(11, "ns/user");
  for (const pid_t pid : {10, 11}) {
    const auto files = ProcessFiles::open(tree.paths(), pid);
    const auto owner = ownerOf(*files, readHome(tree.paths()));
    ASSERT_TRUE(owner) << causeOf(owner);
    EXPECT_EQ(*owner, kUser);
  }
}

TEST_F(ProcessOwnerTest, AProcessNamespaceThatCannotBeReadIsAFailure) {
  test::ProcTree tree;
  tree.add({.pid = 10, .name = "bash", .uid = kUser});
  tree.makeUnreadable(10, "ns/pid");
  const auto files = ProcessFiles::open(tree.paths(), 10);
  EXPECT_TRUE(hasFailed(runsHere(*files, readHome(tree.paths()))));
}

}  // namespace
}  // namespace zevo::connections
