#include "sdk/access/left_running.h"

#include <sched.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/namespaced_process.h"
#include "platform/services/proc_tree.h"

namespace zevo {

void PrintTo(const LeftRunning& left, std::ostream* stream) {
  *stream << left.processes << " processes, " << (left.hasCrontab ? "a" : "no") << " crontab, "
          << left.atJobs << " at jobs, apart: " << ::testing::PrintToString(left.apart);
}

namespace access {
namespace {

constexpr uid_t kAlice = 1001;

class LeftRunningTest : public ::testing::Test {
 protected:
  LeftRunning left(const std::vector<pid_t>& except = {}, uid_t uid = kAlice) {
    return leftRunning(tree.folder(), {{"alice", uid}}, except).at("alice");
  }
  connections::test::ProcTree tree;
};

TEST_F(LeftRunningTest, CountsTheAccountsOwnProcesses) {
  tree.add({.pid = 10, .name = "tmux", .uid = kAlice});
  tree.add({.pid = 11, .parent = 10, .name = "bash", .uid = kAlice});
  tree.add({.pid = 12, .name = "su", .uids = "1001\t0\t0\t0"});
  tree.add({.pid = 13, .name = "smbd", .uids = "0\t1001\t0\t1001"});
  tree.add({.pid = 14, .name = "bash", .uid = 1002});
  tree.add({.pid = 15, .name = "sleep", .uid = kAlice, .state = 'Z'});
  tree.add({.pid = 16, .name = "python3", .uid = kAlice, .state = 'Z', .threads = 2});
  EXPECT_EQ(left(), (LeftRunning{.processes = 4}));
}

TEST_F(LeftRunningTest, LeavesOutProcessesOfContainers) {
  auto container = connections::test::kOurNamespaces;
  container.pid += 100;
  tree.add({.pid = 10, .name = "bash", .uid = kAlice});
  tree.add({.pid = 11, .name = "postgres", .uid = kAlice, .namespaces = container});
  EXPECT_EQ(left(), (LeftRunning{.processes = 1}));
}

TEST_F(LeftRunningTest, TellsAccountsApartInOneLook) {
  tree.add({.pid = 10, .name = "tmux", .uid = kAlice});
  tree.add({.pid = 11, .name = "bash", .uid = 1002});
  tree.add({.pid = 12, .name = "vi", .uid = 1002});
  tree.file("var/spool/cron/bob", "* * * * * true\n");
  const std::map<std::string, LeftRunning> expected = {
      {"alice", {.processes = 1}},
      {"bob", {.processes = 2, .hasCrontab = true}},
      {"bobs-alias", {.processes = 2}},
      {"carol", {}}};
  EXPECT_EQ(
      leftRunning(tree.folder(),
                  {{"alice", kAlice}, {"bob", 1002}, {"bobs-alias", 1002}, {"carol", 1003}}, {}),
      expected);
}

TEST(LeftRunningInNamespacesTest, TellsThoseThatNoSelectionByUserFindsApart) {
  const uid_t nobodys = 70000000 + static_cast<uid_t>(::getpid());
  const auto left = [nobodys] { return leftRunning("", {{"alice", nobodys}}, {}).at("alice"); };
  const auto layOut = [nobodys](int kinds) {
    return connections::test::becomeUser(nobodys) && connections::test::unshareKinds(kinds);
  };
  const connections::test::NamespacedProcess user([&] { return layOut(CLONE_NEWUSER); });
  if (::geteuid() != 0 || user.pid() == 0) GTEST_SKIP() << "no user namespaces can be had here";
  EXPECT_EQ(left(), (LeftRunning{.processes = 1}));
  // One of the two waits for the other outside.
  const connections::test::NamespacedProcess both(
      [&] { return layOut(CLONE_NEWUSER | CLONE_NEWPID) && connections::test::goOnInChild(); });
  EXPECT_EQ(left(), (LeftRunning{.processes = 3, .apart = {both.pid()}}));
  const connections::test::NamespacedProcess other(
      [&] { return layOut(CLONE_NEWUSER); }, "0 " + std::to_string(nobodys) + " 1\n1 161235 1\n",
      [] { return connections::test::becomeUser(1); });
  auto apart = left().apart;
  EXPECT_THAT(apart, ::testing::UnorderedElementsAre(both.pid(), other.pid()));
}

TEST_F(LeftRunningTest, LeavesOutSessionsWithWhatRunsBelowThem) {
  tree.add({.pid = 20, .name = "sshd", .uid = kAlice});
  tree.add({.pid = 21, .parent = 20, .name = "bash", .uid = kAlice});
  tree.add({.pid = 22, .parent = 21, .name = "vi", .uid = kAlice});
  tree.add({.pid = 23, .name = "nohup", .uid = kAlice});
  EXPECT_EQ(left({20}), (LeftRunning{.processes = 1}));
}

TEST_F(LeftRunningTest, KnowsBothPlacesOfCrontabs) {
  EXPECT_EQ(left(), LeftRunning{});
  tree.file("var/spool/cron/bob", "* * * * * true\n");
  EXPECT_EQ(left(), LeftRunning{});
  const std::string file = tree.file("var/spool/cron/alice", "* * * * * true\n");
  EXPECT_EQ(left(), (LeftRunning{.hasCrontab = true}));
  ::unlink(file.c_str());
  tree.file("var/spool/cron/crontabs/alice", "* * * * * true\n");
  EXPECT_EQ(left(), (LeftRunning{.hasCrontab = true}));
}

TEST_F(LeftRunningTest, CountsTheJobsThatBelongToTheAccount) {
  tree.file("var/spool/cron/atjobs/a0000101bd7c3e", "#!/bin/sh\n");
  tree.file("var/spool/cron/atjobs/a0000201bd7c3f", "#!/bin/sh\n");
  tree.file("var/spool/cron/atjobs/.SEQ", "2\n");
  EXPECT_EQ(left({}, ::getuid()).atJobs, 2U);
  EXPECT_EQ(left({}, ::getuid() + 1).atJobs, 0U);
}

}  // namespace
}  // namespace access
}  // namespace zevo
