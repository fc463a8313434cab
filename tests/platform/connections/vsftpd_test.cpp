#include "sdk/connections/vsftpd.h"

#include <filesystem>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/connections/accounts.h"
#include "platform/connections/print.h"
#include "platform/connections/service_fixture.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using test::kBob;
using test::kFtp;
using test::kNobody;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr pid_t kListener = 54;
constexpr std::uint64_t kClient = 900;  // inode of the client's connection

const char* const kArguments = "/usr/sbin/vsftpd";

class VsftpdTest : public test::ServiceFixture {
 protected:
  void SetUp() override {
    empty_ = folder("empty");
    add({.pid = kListener, .name = "vsftpd", .cmdline = kArguments, .sockets = {{3, 35144}}});
    connect(kClient, "::ffff:10.20.0.2", 21);
  }

  std::string folder(const std::string& name) const {
    std::filesystem::create_directory(tree_.folder() + "/" + name);
    return tree_.folder() + "/" + name;
  }
  static std::vector<std::pair<int, std::uint64_t>> standardStreams(std::uint64_t inode) {
    return {{0, inode}, {1, inode}, {2, inode}};
  }
  // The parent of a session: root's before the login, and after it with session_support.
  void addParent(pid_t pid, uid_t uid, const std::string& text = kArguments) {
    const std::string place = uid == 0 ? "/" : empty_;
    add({.pid = pid,
         .parent = kListener,
         .name = "vsftpd",
         .cmdline = title(text),
         .uid = uid,
         .startTicks = 100,
         .cwd = place,
         .root = place,
         .sockets = standardStreams(kClient)});
  }
  // A process below that parent which waits in the empty folder.
  void addWaiting(pid_t pid, pid_t parent, const std::string& text = kArguments) {
    add({.pid = pid,
         .parent = parent,
         .name = "vsftpd",
         .cmdline = title(text),
         .uid = kNobody,
         .session = parent,
         .cwd = empty_,
         .root = empty_,
         .sockets = standardStreams(kClient)});
  }
  // The user's own process.
  void addUsers(pid_t pid, pid_t parent, uid_t uid, const std::string& text = kArguments,
                const std::string& root = "/") {
    add({.pid = pid,
         .parent = parent,
         .name = "vsftpd",
         .cmdline = title(text),
         .uid = uid,
         .startTicks = 900,
         .session = parent,
         .cwd = "/home/alice/My Files (x)",
         .root = root,
         .sockets = standardStreams(kClient)});
  }
  // Lets a process hold a connection under a descriptor, besides those it was added with.
  void hold(pid_t pid, int descriptor, std::uint64_t inode) const {
    std::filesystem::create_symlink(
        "socket:[" + std::to_string(inode) + "]",
        tree_.paths().proc + "/" + std::to_string(pid) + "/fd/" + std::to_string(descriptor));
  }
  static Connection ftp(pid_t pid, const std::string& user,
                        const std::string& descr = "/home/alice/My Files (x)") {
    return {pid, test::kStartText, "10.20.0.2", user, descr, ZEVO_CURCONN_FTP};
  }

  std::string empty_;  // the folder of secure_chroot_dir
};

TEST_F(VsftpdTest, TheListenerAloneIsNoConnection) {
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, TwoProcessesAreOneSessionOfTheParentAndTheUser) {
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice")));
}

TEST_F(VsftpdTest, TitlesNameTheUser) {
  addParent(59, kNobody, "vsftpd: ::ffff:10.20.0.2: connected");
  addUsers(61, 59, kAlice, "vsftpd: ::ffff:10.20.0.2/alice: STOR f: x");
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(59, "alice")));
}

TEST_F(VsftpdTest, WithSessionSupportTheParentStaysRoots) {
  addParent(59, 0);
  addUsers(61, 59, kBob);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(59, "bob")));
}

TEST_F(VsftpdTest, ALoginInProgressIsNoConnection) {
  addParent(72, 0);
  addWaiting(73, 72);
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, ALoginInProgressIsNoConnectionWithTitles) {
  addParent(55, 0, "vsftpd: ::ffff:10.20.0.2: connected");
  addWaiting(56, 55, "vsftpd: ::ffff:10.20.0.2: not logged in");
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, AConnectionThatHasNoSecondProcessYetIsNone) {
  addParent(72, 0);
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, ASessionWhoseUsersProcessHasEndedIsNone) {
  addParent(76, kNobody);
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, OverTlsThreeProcessesAreOneSession) {
  addParent(57, kNobody);
  addWaiting(58, 57);
  addUsers(59, 57, kAlice);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(57, "alice")));
}

TEST_F(VsftpdTest, OverTlsThreeProcessesAreOneSessionWithTitles) {
  addParent(51, kNobody, "vsftpd: ::ffff:10.20.0.2: connected");
  addWaiting(52, 51, "vsftpd: ::ffff:10.20.0.2: SSL handler");
  addUsers(53, 51, kAlice, "vsftpd: ::ffff:10.20.0.2/alice: IDLE");
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(51, "alice")));
}

TEST_F(VsftpdTest, AnonymousUsersAreTheAccountThatServesThem) {
  addParent(51, kNobody);
  addUsers(53, 51, kFtp, kArguments, "/srv/ftp");
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(51, "ftp")));
}

TEST_F(VsftpdTest, AGuestIsKnownByTheTitleOnly) {
  addParent(72, kNobody, "vsftpd: ::ffff:10.20.0.2: connected");
  addUsers(74, 72, kBob, "vsftpd: ::ffff:10.20.0.2/vera: IDLE");
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(72, "vera")));
}

TEST_F(VsftpdTest, ATitleThatWasCutOffLeavesTheAccount) {
  addParent(72, kNobody, "vsftpd: ::ffff:10.20.0.2: connected");
  addUsers(74, 72, kBob, "vsftpd: ::ffff:10.20.0.2/ve");
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(72, "bob")));
}

TEST_F(VsftpdTest, RootMayLogIn) {
  addParent(76, kNobody);
  addUsers(78, 76, 0);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "root")));
}

TEST_F(VsftpdTest, AUserConfinedToAnEmptyFolderOfHisOwnHasLoggedIn) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away; run this as root";
  const std::string home = folder("home");
  ASSERT_EQ(0, ::chown(home.c_str(), kAlice, kAlice));
  addParent(76, 0);
  add({.pid = 78,
       .parent = 76,
       .name = "vsftpd",
       .cmdline = kArguments,
       .uid = kAlice,
       .session = 76,
       .cwd = home,
       .root = home,
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice", home)));
}

TEST_F(VsftpdTest, AnonymousUsersInAnEmptyFolderHaveLoggedIn) {
  const std::string served = folder("ftp");
  addParent(76, kNobody);
  add({.pid = 78,
       .parent = 76,
       .name = "vsftpd",
       .cmdline = kArguments,
       .uid = kFtp,
       .session = 76,
       .cwd = served,
       .root = served,
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "ftp", served)));
}

TEST_F(VsftpdTest, AUserConfinedToATreeThatCannotBeLookedAtHasLoggedIn) {
  addParent(76, 0);
  add({.pid = 78,
       .parent = 76,
       .name = "vsftpd",
       .cmdline = kArguments,
       .uid = kAlice,
       .session = 76,
       .cwd = "/nowhere/alice",
       .root = "/nowhere/alice",
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice", "/nowhere/alice")));
}

TEST_F(VsftpdTest, OneProcessMayServeASession) {
  addUsers(68, kListener, kFtp, "vsftpd: ::ffff:10.20.0.2/ftp: IDLE", "/srv/ftp");
  auto found = read(readVsftpd);
  ASSERT_THAT(found, ::testing::SizeIs(1));
  found[0].time = test::kStartText;
  EXPECT_EQ(ftp(68, "ftp"), found[0]);
}

TEST_F(VsftpdTest, ALoginInProgressInOneProcessIsNoneWithTitles) {
  addUsers(67, kListener, kFtp, "vsftpd: ::ffff:10.20.0.2: not logged in", "/srv/ftp");
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, TheAddressIsTheClientsAlsoWhileDataFlows) {
  connect(35365, "10.20.0.99", 62956);
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  hold(78, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(78, "alice")));
}

TEST_F(VsftpdTest, WhileDataFlowsOverTlsItsHandlerEndsTheSession) {
  connect(35365, "10.20.0.99", 62956);
  addParent(57, kNobody);
  addUsers(58, 57, kAlice);
  addWaiting(59, 57);
  hold(58, 5, 35365);
  hold(59, 3, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(59, "alice")));
}

TEST_F(VsftpdTest, WhileDataFlowsBesideTlsTheUsersProcessEndsTheSession) {
  connect(35365, "10.20.0.99", 62956);
  addParent(57, kNobody);
  addWaiting(58, 57);
  addUsers(59, 57, kAlice);
  hold(59, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(59, "alice")));
}

TEST_F(VsftpdTest, TheParentThatOpensADataConnectionStillEndsTheSession) {
  connect(35365, "10.20.0.99", 62956);
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  hold(76, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice")));
}

TEST_F(VsftpdTest, AHalfClosedDataConnectionStillMovesData) {
  connect(35365, "10.20.0.99", 62956);
  sockets_.back().isHalfClosed = true;
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  hold(78, 5, 35365);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(78, "alice")));
}

TEST_F(VsftpdTest, AUsersProcessWhoseParentIsGoneIsASessionOfItsAccount) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addUsers(78, 1, kAlice, "vsftpd: ::ffff:10.20.0.2/root: RETR x");
  ASSERT_EQ(sockets_.front().owner, 0U);
  auto found = read(readVsftpd);
  ASSERT_THAT(found, ::testing::SizeIs(1));
  found[0].time = test::kStartText;
  EXPECT_EQ(ftp(78, "alice"), found[0]);
}

TEST_F(VsftpdTest, OrphansOfOneSessionOverTlsAreOneAndTheHandlerEndsIt) {
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

TEST_F(VsftpdTest, AnOrphanWhoseConnectionRootDidNotAcceptIsNone) {
  addUsers(78, 1, kAlice);
  sockets_.front().owner = kAlice;
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, AProcessBelowAUsersProgramIsNoOrphan) {
  add({.pid = 20, .name = "bash", .uid = kAlice});
  addUsers(78, 20, kAlice);
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, AnOrphanThatRunsAnotherProgramIsNone) {
  add({.pid = 78,
       .name = "vsftpd",
       .uid = kAlice,
       .program = "python3.11",
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, TheTitleOfAnOrphanIsNotRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addUsers(78, 1, kAlice);
  tree_.makeUnreadable(78, "cmdline");
  EXPECT_THAT(read(readVsftpd), ::testing::SizeIs(1));
}

TEST_F(VsftpdTest, AVirtualUserWithoutATitleIsShownAsOneOfTheirAccount) {
  const std::string file = tree_.file("guests.conf", "guest_enable=YES\nguest_username=bob\n");
  addParent(72, kNobody);
  addUsers(74, 72, kBob, "/usr/sbin/vsftpd" + std::string(1, '\0') + file, "/srv");
  EXPECT_THAT(read(readVsftpd),
              ElementsAre(ftp(72, "bob", "/home/alice/My Files (x) (virtual user)")));
}

TEST_F(VsftpdTest, AListenerThatStillHoldsTheConnectionIsNotTheSession) {
  hold(kListener, 4, kClient);
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice")));
}

TEST_F(VsftpdTest, InetdMayHaveStartedTheSession) {
  add({.pid = 40, .name = "inetd"});
  add({.pid = 76,
       .parent = 40,
       .name = "vsftpd",
       .uid = kNobody,
       .session = 40,
       .cwd = empty_,
       .root = empty_,
       .sockets = standardStreams(kClient)});
  add({.pid = 78,
       .parent = 76,
       .name = "vsftpd",
       .uid = kAlice,
       .session = 40,
       .cwd = "/home/alice",
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice", "/home/alice")));
}

TEST_F(VsftpdTest, AUsersProgramUnderTheServersNameAndTitleIsNone) {
  add({.pid = 20, .name = "bash", .uid = kBob});
  add({.pid = 21,
       .parent = 20,
       .name = "vsftpd",
       .cmdline = title("vsftpd: 10.20.0.2/root: IDLE"),
       .uid = kBob,
       .sockets = standardStreams(kClient)});
  add({.pid = 22,
       .parent = 21,
       .name = "vsftpd",
       .cmdline = title("vsftpd: 10.20.0.2/root: IDLE"),
       .uid = kBob,
       .session = 21,
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, TheDescriptorsOfAUsersOwnProgramsAreNotRead) {
  add({.pid = 20, .name = "bash", .uid = kBob});
  add({.pid = 21, .parent = 20, .name = "vsftpd", .uid = kBob});
  add({.pid = 22, .parent = 21, .name = "vsftpd", .uid = kBob, .session = 21});
  add({.pid = 23, .name = "vsftpd", .uid = kBob, .program = "python3.11"});
  for (const pid_t pid : {21, 22, 23}) tree_.makeUnreadable(pid, "fd");
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, ASessionOutlivesItsListener) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root's programs count; run this as root";
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  tree_.remove(kListener);
  tree_.remove(76);
  add({.pid = 76,
       .name = "vsftpd",
       .cmdline = kArguments,
       .uid = kNobody,
       .cwd = empty_,
       .root = empty_,
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), ElementsAre(ftp(76, "alice")));
}

TEST_F(VsftpdTest, AProcessWithoutAConnectionIsNone) {
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  sockets_.clear();
  EXPECT_THAT(read(readVsftpd), IsEmpty());
}

TEST_F(VsftpdTest, AUsersProcessThatCannotBeReadIsAFailureThatNamesTheRemedy) {
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  tree_.makeUnreadable(78, "cmdline");
  EXPECT_THAT(failureOf(readVsftpd), HasSubstr("/proc/78/cmdline"));
  EXPECT_THAT(failureOf(readVsftpd), HasSubstr("run this as root"));
}

TEST_F(VsftpdTest, ASessionThatEndsAfterTheScanIsNone) {
  addParent(76, kNobody);
  addUsers(78, 76, kAlice);
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(78);
  EXPECT_THAT(test::readAll(readVsftpd, *sources), IsEmpty());
}

TEST(VsftpdTitleTest, ArgumentsAreNoTitle) {
  EXPECT_FALSE(parseVsftpdTitle("/usr/sbin/vsftpd").isTitle);
  EXPECT_FALSE(parseVsftpdTitle("").isTitle);
}

TEST(VsftpdTitleTest, AStateThatTheClientNamedIsNotTheUser) {
  const VsftpdTitle parsed = parseVsftpdTitle("vsftpd: fd20::2/bob: RETR /a/b: root");
  EXPECT_TRUE(parsed.isLoggedIn);
  EXPECT_EQ("bob", parsed.user);
}

TEST(VsftpdTitleTest, ASlashBehindTheStateIsNoLogin) {
  EXPECT_FALSE(parseVsftpdTitle("vsftpd: 10.20.0.2: PASS a/b").isLoggedIn);
}

TEST(VsftpdTitleTest, AUserMayBeOfADomain) {
  EXPECT_EQ("DOM\\bob@x/y", parseVsftpdTitle("vsftpd: 10.20.0.2/DOM\\bob@x/y: IDLE").user);
}

}  // namespace
}  // namespace zevo::connections
