#include "services/vsftpd.h"

#include <filesystem>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/vsftpd_fixture.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using test::kArguments;
using test::kBob;
using test::kClient;
using test::kFtp;
using test::kListener;
using test::kNobody;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using VsftpdTest = test::VsftpdFixture;

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

TEST_F(VsftpdTest, AProcessThatIsStillRootsOnItsWayToItsAccountIsNoLoginOfRoots) {
  addParent(76, 0);
  add({.pid = 78,
       .parent = 76,
       .name = "vsftpd",
       .cmdline = title(kArguments),
       .startTicks = 900,
       .session = 76,
       .sockets = standardStreams(kClient)});
  EXPECT_THAT(read(readVsftpd), IsEmpty());
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
