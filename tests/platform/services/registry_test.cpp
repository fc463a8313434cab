#include "services/registry.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/connections.h"
#include "zevo/error.h"
#include "zevo/error_trail.h"

#include "base/read_file.h"
#include "platform/services/callers.h"
#include "platform/services/cause.h"
#include "platform/services/print.h"
#include "platform/services/proc_tree.h"
#include "services/boot_clock.h"

namespace zevo::connections {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

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
              .sockets = {{4, 9}},
              .handledSignals = 1U << (SIGTERM - 1U)})
        .add({.pid = pid + 1,
              .parent = pid,
              .name = "sshd",
              .cmdline = "sshd: " + user + "@" + terminal,
              .uid = 1001});
  }
  // `meanwhile` happens after the scan.
  Result<void> read(const std::function<void()>& meanwhile = {}) {
    const auto readSockets = [&meanwhile] {
      if (meanwhile) meanwhile();
      return Result<SocketTable>(SocketTable({test::establishedSocket(9, "10.20.0.2", 22)}));
    };
    const auto log = [this](const std::string& line) { log_.push_back(line); };
    return readConnections(tree_.paths(), {}, readSockets, log, &list_);
  }
  static Connection record(pid_t pid, const std::string& user, const std::string& descr) {
    return {pid, test::kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_SSH};
  }

  test::ProcTree tree_;
  ConnectionList list_ = {{{.pid = 4711}}, {{"left over", "", ""}}};
  std::vector<std::string> log_;
};

TEST_F(RegistryTest, HasTheConnectionsOfTheServices) {
  EXPECT_TRUE(read());
  EXPECT_THAT(list_.connections,
              ElementsAre(record(61, "alice", "pts/1"), record(71, "bob", "pts/2")));
}

TEST_F(RegistryTest, NobodyConnectedIsNoFailure) {
  for (const pid_t pid : {60, 61, 70, 71}) tree_.remove(pid);
  EXPECT_TRUE(read());
  EXPECT_THAT(list_.connections, IsEmpty());
}

TEST_F(RegistryTest, SocketsAreAskedForOnce) {
  int asked = 0;
  EXPECT_TRUE(read([&asked] { ++asked; }));
  EXPECT_EQ(1, asked);
}

TEST_F(RegistryTest, ARecordWhoseProcessHasEndedIsLeftOut) {
  EXPECT_TRUE(read([this] { tree_.remove(61); }));
  EXPECT_THAT(list_.connections, ElementsAre(record(71, "bob", "pts/2")));
}

TEST_F(RegistryTest, ARecordWhoseProcessBecameAZombieIsLeftOut) {
  EXPECT_FALSE(hasFailed(read([this] {
    tree_.remove(71);
    tree_.add(
        {.pid = 71, .parent = 70, .name = "sshd", .cmdline = "sshd: bob@pts/2", .state = 'Z'});
  })));
  EXPECT_THAT(list_.connections, ElementsAre(record(61, "alice", "pts/1")));
}

TEST_F(RegistryTest, ARecordWhosePidWasGivenToAnotherProcessIsLeftOut) {
  EXPECT_FALSE(hasFailed(read([this] {
    tree_.remove(71);
    tree_.add({.pid = 71,
               .parent = 70,
               .name = "sshd",
               .cmdline = "sshd: bob@pts/2",
               .startTicks = 9999});
  })));
  EXPECT_THAT(list_.connections, ElementsAre(record(61, "alice", "pts/1")));
}

TEST_F(RegistryTest, TextsAreCleanWhenTheyLeave) {
  for (const pid_t pid : {60, 61}) tree_.remove(pid);
  addSession(60, "al\x1b[31mice\xFF", "pts/1");
  EXPECT_TRUE(read());
  EXPECT_THAT(list_.connections, ElementsAre(record(61, "al\uFFFD[31mice\uFFFD", "pts/1"),
                                             record(71, "bob", "pts/2")));
}

TEST_F(RegistryTest, WhatIsCompleteHasNoNotes) {
  EXPECT_TRUE(read());
  EXPECT_THAT(list_.notes, IsEmpty());
}

TEST_F(RegistryTest, WhatCannotBeReadOfAServiceIsNotedAndTheRestIsListed) {
  tree_.makeUnreadable(70, "fd");
  EXPECT_TRUE(read());
  Connection fromSomewhere = record(71, "bob", "pts/2");
  fromSomewhere.from = "unknown";
  EXPECT_THAT(list_.connections, ElementsAre(record(61, "alice", "pts/1"), fromSomewhere));
  ASSERT_EQ(list_.notes.size(), 1U);
  EXPECT_EQ(list_.notes[0].code, kConnectionsMissing);
  EXPECT_EQ(list_.notes[0].service, "SSH");
  EXPECT_THAT(list_.notes[0].detail, AllOf(StartsWith("OpenSSH: "), HasSubstr("/proc/70/fd")));
  EXPECT_THAT(log_,
              ElementsAre(list_.notes[0].detail + "; connections may be missing from the list"));
}

TEST_F(RegistryTest, SourcesThatFailSideBySideHaveANoteEach) {
  tree_.file("utmp/is_a_folder", "");
  tree_.file("nfsd/clients", "is no folder");
  EXPECT_TRUE(read());
  EXPECT_THAT(list_.connections,
              ElementsAre(record(61, "alice", "pts/1"), record(71, "bob", "pts/2")));
  ASSERT_EQ(list_.notes.size(), 2U);
  EXPECT_EQ(list_.notes[0].service, "NFS");
  EXPECT_EQ(list_.notes[1].service, "LOGIN");
  EXPECT_EQ(log_.size(), 2U);
}

TEST_F(RegistryTest, AProcessThatTheScanCannotReadMayBeAnyServices) {
  tree_.makeUnreadable(71, "stat");
  EXPECT_TRUE(read());
  EXPECT_THAT(list_.connections, ElementsAre(record(61, "alice", "pts/1")));
  ASSERT_EQ(list_.notes.size(), 1U);
  EXPECT_EQ(list_.notes[0].service, "");
  EXPECT_THAT(list_.notes[0].detail, HasSubstr("/proc/71/stat"));
}

TEST_F(RegistryTest, ARecordWhoseProcessCannotBeReadAgainIsLeftOutAndNoted) {
  EXPECT_TRUE(read([this] { tree_.makeUnreadable(71, "stat"); }));
  EXPECT_THAT(list_.connections, ElementsAre(record(61, "alice", "pts/1")));
  ASSERT_EQ(list_.notes.size(), 1U);
  EXPECT_THAT(list_.notes[0].detail, HasSubstr("/proc/71/stat"));
}

TEST_F(RegistryTest, NotesAreCleanWhenTheyLeave) {
  Paths paths = tree_.paths();
  paths.utmp = tree_.file("ut\x1bmp/is_a_folder", "");
  paths.utmp.resize(paths.utmp.rfind('/'));
  const auto none = [] { return Result<SocketTable>(SocketTable()); };
  ASSERT_FALSE(hasFailed(readConnections(
      paths, {}, none, [](const std::string&) {}, &list_)));
  ASSERT_EQ(list_.notes.size(), 1U);
  EXPECT_THAT(list_.notes[0].detail, HasSubstr("ut\uFFFDmp"));
}

TEST_F(RegistryTest, AFailedDumpOfSocketsFailsTheRead) {
  const auto refused = [] { return failure("no sockets today"); };
  const Result<void> outcome = readConnections(
      tree_.paths(), {}, refused, [](const std::string&) {}, &list_);
  ASSERT_TRUE(!outcome);
  EXPECT_THAT(causeOf(outcome), HasSubstr("no sockets today"));
  EXPECT_EQ(list_, ConnectionList());
}

TEST_F(RegistryTest, SoDoesAProcOfNoProcess) {
  Paths paths = tree_.paths();
  paths.proc = tree_.folder() + "/nothing";
  const auto none = [] { return Result<SocketTable>(SocketTable()); };
  EXPECT_TRUE(hasFailed(readConnections(
      paths, {}, none, [](const std::string&) {}, &list_)));
  EXPECT_EQ(list_, ConnectionList());
}

class SharedRegistryTest : public RegistryTest {
 protected:
  ConnectionList readAged(std::chrono::milliseconds acceptedAge) {
    const auto readSockets = [] {
      return Result<SocketTable>(SocketTable({test::establishedSocket(9, "10.20.0.2", 22)}));
    };
    const auto log = [this](const std::string& line) { log_.push_back(line); };
    const ListCall call{timeSinceBoot(), acceptedAge, std::chrono::minutes(5)};
    ConnectionList list;
    EXPECT_TRUE(readForCall(tree_.paths(), {}, call, readSockets, log, &list));
    return list;
  }
  // Of a list that was read before.
  ConnectionList readStored() { return readAged(std::chrono::hours(24)); }
};

TEST_F(SharedRegistryTest, ASharedListComesWithItsNotes) {
  tree_.makeUnreadable(70, "fd");
  const ConnectionList list = readAged({});
  EXPECT_THAT(list.notes, testing::SizeIs(1));
  addSession(80, "carol", "pts/3");
  EXPECT_EQ(readStored(), list);
}

TEST_F(SharedRegistryTest, OfASharedListWhoseProcessHasEndedIsLeftOut) {
  EXPECT_EQ(readAged({}).connections.size(), 2U);
  tree_.remove(61);
  EXPECT_THAT(readStored().connections, ElementsAre(record(71, "bob", "pts/2")));
  tree_.remove(71);
  tree_.add({.pid = 71, .parent = 70, .name = "sshd", .state = 'Z'});
  EXPECT_THAT(readStored().connections, IsEmpty());
}

TEST_F(SharedRegistryTest, SoIsOneWhosePidWasGivenToAnotherProcess) {
  EXPECT_EQ(readAged({}).connections.size(), 2U);
  tree_.remove(71);
  const auto later = timeSinceBoot() + std::chrono::seconds(1);
  const auto ticks =
      std::chrono::duration_cast<std::chrono::seconds>(later).count() * ::sysconf(_SC_CLK_TCK);
  tree_.add(
      {.pid = 71, .parent = 70, .name = "sshd", .startTicks = static_cast<std::uint64_t>(ticks)});
  EXPECT_THAT(readStored().connections, ElementsAre(record(61, "alice", "pts/1")));
}

TEST_F(SharedRegistryTest, CallsThatBeganBeforeARunOfToolsShareIt) {
  constexpr int kCallers = 16;
  const std::string runs = tree_.folder() + "/runs";
  const std::string tool = tree_.file(
      "smbstatus", "#!/bin/sh\necho x >>" + runs +
                       "\ncase $2 in --shares) echo '{\"tcons\": {}}';; *) echo '{\"sessions\": "
                       "{\"1\": {\"session_id\": \"1\", \"server_id\": {\"pid\": \"81\"}, "
                       "\"username\": \"alice\"}}}';; esac\n");
  ASSERT_EQ(::chmod(tool.c_str(), 0755), 0);
  tree_.add({.pid = 80, .name = "smbd"}).add({.pid = 81, .parent = 80, .name = "smbd"});
  test::Door door;
  std::vector<pid_t> callers;
  for (int i = 0; i < kCallers; ++i) {
    callers.push_back(test::start([&] {
      const ListCall call{timeSinceBoot(), std::chrono::milliseconds(0), std::chrono::minutes(5)};
      door.come();
      const auto noSockets = [] { return Result<SocketTable>(SocketTable()); };
      ConnectionList list;
      const Result<void> outcome = readForCall(
          tree_.paths(), {}, call, noSockets, [](const std::string&) {}, &list);
      const bool isRight = outcome && list.connections.back().type == ZEVO_CURCONN_CIFS;
      return isRight ? 0 : 1;
    }));
  }
  door.await(kCallers);
  door.open(kCallers);
  for (const pid_t caller : callers) EXPECT_EQ(test::resultOf(caller), 0);
  std::string text;
  EXPECT_FALSE(readFile(runs, 1000, &text));
  EXPECT_EQ(text, "x\nx\n") << "one run each for sessions and shares";
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
        setReadNotes({{"left over", "", ""}});
        auto* records = reinterpret_cast<_tag_ZEVO_CURCONN_*>(1);
        if (ZEVOCurConnGet(&records) >= 0) return 1;
        if (records != nullptr) return 2;
        if (VLIBCErrGet() != ZEVO_ERR_SYSTEM) return 3;
        if (!readNotes().empty()) return 5;
        const auto trail = errorTrail();
        return trail.size() == 1 && trail[0].find("run this as root") != std::string::npos ? 0 : 4;
      }),
      0);
}

TEST(CurConnGetTest, AsRootItReadsThisMachine) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can read everybody's connections";
  setReadNotes({{"left over", "", ""}});
  _tag_ZEVO_CURCONN_* records = nullptr;
  const int count = ZEVOCurConnGet(&records);
  const std::unique_ptr<void, void (*)(void*)> block(records, &std::free);
  ASSERT_GE(count, 0) << ::testing::PrintToString(errorTrail());
  EXPECT_EQ(records == nullptr, count == 0);
  for (const ReadNote& note : readNotes()) EXPECT_NE(note.code, "left over");
  for (int i = 0; i < count; ++i) EXPECT_NE(std::strlen(records[i].time), 0U);
}

}  // namespace
}  // namespace zevo::connections
