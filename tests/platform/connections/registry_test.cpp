#include "sdk/connections/registry.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/connections.h"
#include "zevo/error.h"
#include "zevo/error_trail.h"

#include "platform/connections/print.h"
#include "platform/connections/proc_tree.h"

namespace zevo::connections {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    addSession(60, "alice", "pts/1");
    addSession(70, "bob", "pts/2");
  }
  void addSession(pid_t pid, const std::string& user, const std::string& terminal) {
    tree_
        .add({.pid = pid,
              .name = "sshd",
              .cmdline = "sshd: " + user + " [priv]",
              .sockets = {{4, 9}}})
        .add({.pid = pid + 1,
              .parent = pid,
              .name = "sshd",
              .cmdline = "sshd: " + user + "@" + terminal,
              .uid = 1001});
  }
  // `meanwhile` happens after the scan.
  Outcome read(const std::function<void()>& meanwhile = {}) {
    const auto readSockets = [&meanwhile] {
      if (meanwhile) meanwhile();
      return Reading<SocketTable>(SocketTable({test::establishedSocket(9, "10.20.0.2", 22)}));
    };
    const auto log = [this](const std::string& line) { log_.push_back(line); };
    return readConnections(tree_.paths(), {}, readSockets, log, &connections_);
  }
  static Connection record(pid_t pid, const std::string& user, const std::string& descr) {
    return {pid, test::kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_SSH};
  }

  test::ProcTree tree_;
  std::vector<Connection> connections_ = {{.pid = 4711}};
  std::vector<std::string> log_;
};

TEST_F(RegistryTest, HasTheConnectionsOfTheServices) {
  EXPECT_FALSE(read().failed());
  EXPECT_THAT(connections_, ElementsAre(record(61, "alice", "pts/1"), record(71, "bob", "pts/2")));
}

TEST_F(RegistryTest, NobodyConnectedIsNoFailure) {
  for (const pid_t pid : {60, 61, 70, 71}) tree_.remove(pid);
  EXPECT_FALSE(read().failed());
  EXPECT_THAT(connections_, IsEmpty());
}

TEST_F(RegistryTest, SocketsAreAskedForOnce) {
  int asked = 0;
  EXPECT_FALSE(read([&asked] { ++asked; }).failed());
  EXPECT_EQ(1, asked);
}

TEST_F(RegistryTest, ARecordWhoseProcessHasEndedIsLeftOut) {
  EXPECT_FALSE(read([this] { tree_.remove(61); }).failed());
  EXPECT_THAT(connections_, ElementsAre(record(71, "bob", "pts/2")));
}

TEST_F(RegistryTest, ARecordWhoseProcessBecameAZombieIsLeftOut) {
  EXPECT_FALSE(
      read([this] {
        tree_.remove(71);
        tree_.add(
            {.pid = 71, .parent = 70, .name = "sshd", .cmdline = "sshd: bob@pts/2", .state = 'Z'});
      }).failed());
  EXPECT_THAT(connections_, ElementsAre(record(61, "alice", "pts/1")));
}

TEST_F(RegistryTest, ARecordWhosePidWasGivenToAnotherProcessIsLeftOut) {
  EXPECT_FALSE(read([this] {
                 tree_.remove(71);
                 tree_.add({.pid = 71,
                            .parent = 70,
                            .name = "sshd",
                            .cmdline = "sshd: bob@pts/2",
                            .startTicks = 9999});
               }).failed());
  EXPECT_THAT(connections_, ElementsAre(record(61, "alice", "pts/1")));
}

TEST_F(RegistryTest, TextsAreCleanWhenTheyLeave) {
  for (const pid_t pid : {60, 61}) tree_.remove(pid);
  addSession(60, "al\x1b[31mice\xFF", "pts/1");
  EXPECT_FALSE(read().failed());
  EXPECT_THAT(connections_, ElementsAre(record(61, "al\uFFFD[31mice\uFFFD", "pts/1"),
                                        record(71, "bob", "pts/2")));
}

TEST_F(RegistryTest, AServiceThatCannotBeReadFailsTheReadAndIsNamed) {
  tree_.makeUnreadable(70, "fd");
  const Outcome outcome = read();
  ASSERT_TRUE(outcome.failed());
  EXPECT_THAT(outcome.cause(), HasSubstr("OpenSSH"));
  EXPECT_THAT(outcome.cause(), HasSubstr("/proc/70/fd"));
  EXPECT_THAT(connections_, IsEmpty());
}

TEST_F(RegistryTest, AFailedDumpOfSocketsFailsTheRead) {
  const auto refused = [] { return Reading<SocketTable>::failure("no sockets today"); };
  const Outcome outcome = readConnections(
      tree_.paths(), {}, refused, [](const std::string&) {}, &connections_);
  ASSERT_TRUE(outcome.failed());
  EXPECT_THAT(outcome.cause(), HasSubstr("no sockets today"));
}

// Runs `body` in a child process without root's rights; its result is the child's exit status.
int asNobody(int (*body)()) {
  const pid_t child = ::fork();
  if (child == 0) {
    const bool isNobody = ::geteuid() != 0 || (::setresgid(65534, 65534, 65534) == 0 &&
                                               ::setresuid(65534, 65534, 65534) == 0);
    ::_exit(isNobody ? body() : 100);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 101;
}

TEST(CurConnGetTest, WithoutRootItFailsAndSaysWhatItNeeds) {
  EXPECT_EQ(
      asNobody([] {
        auto* records = reinterpret_cast<_tag_ZEVO_CURCONN_*>(1);
        if (ZEVOCurConnGet(&records) >= 0) return 1;
        if (records != nullptr) return 2;
        if (VLIBCErrGet() != ZEVO_ERR_SYSTEM) return 3;
        const auto trail = errorTrail();
        return trail.size() == 1 && trail[0].find("run this as root") != std::string::npos ? 0 : 4;
      }),
      0);
}

TEST(CurConnGetTest, AsRootItReadsThisMachine) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can read everybody's connections";
  _tag_ZEVO_CURCONN_* records = nullptr;
  const int count = ZEVOCurConnGet(&records);
  const std::unique_ptr<void, void (*)(void*)> block(records, &std::free);
  ASSERT_GE(count, 0) << ::testing::PrintToString(errorTrail());
  EXPECT_EQ(records == nullptr, count == 0);
  for (int i = 0; i < count; ++i) EXPECT_NE(std::strlen(records[i].time), 0U);
}

}  // namespace
}  // namespace zevo::connections
