#include "services/proftpd.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/service_fixture.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr pid_t kMaster = 54;
const char* const kRootAsNobody = "0\t65534\t0\t65534";
const char* const kRootAsAlice = "0\t1001\t0\t1001";
const char* const kUser = "1001\t1001\t1001\t1001";

class ProftpdTest : public test::ServiceFixture {
 protected:
  void SetUp() override {
    add({.pid = kMaster,
         .name = "proftpd",
         .cmdline = title("proftpd: (accepting connections)"),
         .uids = kRootAsNobody,
         .sockets = {{0, 42276}}});
    connect(900, "10.20.0.2", 21);
  }
  void addSession(pid_t pid, const std::string& text, const char* uids) {
    add({.pid = pid,
         .parent = kMaster,
         .name = "proftpd",
         .cmdline = title(text),
         .uids = uids,
         .session = kMaster,
         .cwd = "/home/alice/My Files (x)",
         .sockets = {{0, 900}, {1, 900}}});
  }
  static Connection ftp(pid_t pid, const std::string& user) {
    return {pid, test::kStartText, "10.20.0.2", user, "/home/alice/My Files (x)", ZEVO_CURCONN_FTP};
  }
};

TEST_F(ProftpdTest, TheMasterAloneIsNoConnection) {
  EXPECT_THAT(read(readProftpd), IsEmpty());
}

TEST_F(ProftpdTest, ASessionIsOneProcess) {
  addSession(69, "proftpd: alice - 10.20.0.2: IDLE", kUser);
  EXPECT_THAT(read(readProftpd), ElementsAre(ftp(69, "alice")));
}

TEST_F(ProftpdTest, ASessionMayKeepRootAsRealUser) {
  addSession(69, "proftpd: alice - 10.20.0.2: IDLE", kRootAsAlice);
  EXPECT_THAT(read(readProftpd), ElementsAre(ftp(69, "alice")));
}

TEST_F(ProftpdTest, AVirtualUserIsShownByHisOwnName) {
  addSession(69, "proftpd: vera@example - client.example: IDLE", kUser);
  EXPECT_THAT(read(readProftpd), ElementsAre(ftp(69, "vera@example")));
}

TEST_F(ProftpdTest, ASessionWhoseTitleNamesNobodyIsItsAccounts) {
  addSession(69, "proftpd", kUser);
  EXPECT_THAT(read(readProftpd), ElementsAre(ftp(69, "alice")));
}

TEST_F(ProftpdTest, LoginsInProgressAreNoConnections) {
  addSession(55, "proftpd: connected: 10.20.0.2 (10.20.0.2:41982)", kRootAsNobody);
  addSession(56, "proftpd: 10.20.0.2:41992: USER alice", kRootAsNobody);
  addSession(57, "proftpd: 10.20.0.2:41992: USER root - 10.20.0.2: IDLE", kRootAsNobody);
  addSession(58, "proftpd", kRootAsNobody);
  EXPECT_THAT(read(readProftpd), IsEmpty());
}

TEST_F(ProftpdTest, TheMasterIsNotTheSessionWhileItHandsAConnectionOver) {
  tree_.remove(kMaster);
  add({.pid = kMaster,
       .name = "proftpd",
       .cmdline = title("proftpd: (accepting connections)"),
       .uids = kRootAsNobody,
       .sockets = {{4, 900}}});
  addSession(69, "proftpd: alice - 10.20.0.2: IDLE", kUser);
  EXPECT_THAT(read(readProftpd), ElementsAre(ftp(69, "alice")));
}

TEST_F(ProftpdTest, AUsersProgramUnderTheServersNameAndTitleIsNone) {
  add({.pid = 20, .name = "bash", .uid = kAlice});
  add({.pid = 21,
       .parent = 20,
       .name = "proftpd",
       .cmdline = title("proftpd: root - 10.20.0.2: IDLE"),
       .uid = kAlice,
       .sockets = {{0, 900}}});
  EXPECT_THAT(read(readProftpd), IsEmpty());
}

TEST_F(ProftpdTest, AnUnreadableSessionIsAFailureThatNamesTheRemedy) {
  addSession(69, "proftpd: alice - 10.20.0.2: IDLE", kUser);
  tree_.makeUnreadable(69, "fd");
  EXPECT_THAT(failureOf(readProftpd), HasSubstr("run this as root"));
}

TEST_F(ProftpdTest, ASessionThatEndsAfterTheScanIsNone) {
  addSession(69, "proftpd: alice - 10.20.0.2: IDLE", kUser);
  const test::FakeSources sources(tree_, sockets_);
  tree_.remove(69);
  EXPECT_THAT(test::readAll(readProftpd, *sources), IsEmpty());
}

TEST(ProftpdTitleTest, TheUserStandsBeforeTheHost) {
  EXPECT_EQ("bob", proftpdTitleUser("proftpd: bob - localhost: IDLE"));
  EXPECT_EQ("bob", proftpdTitleUser("proftpd: bob - fd20::2: IDLE"));
  EXPECT_EQ("bob", proftpdTitleUser("proftpd: bob - fd20::: IDLE"));
}

TEST(ProftpdTitleTest, AUserMayHoldWhatSeparatesHimFromTheHost) {
  EXPECT_EQ("bob - x y@z", proftpdTitleUser("proftpd: bob - x y@z - 10.20.0.2: IDLE"));
}

TEST(ProftpdTitleTest, ACommandIsNotTheUser) {
  EXPECT_EQ("bob", proftpdTitleUser("proftpd: bob - 10.20.0.2: STOR a - 10.20.0.2: root - x: y"));
}

TEST(ProftpdTitleTest, OtherTitlesNameNobody) {
  for (const char* title :
       {"", "proftpd", "proftpd: ", "proftpd: (accepting connections)", "proftpd:  - host: IDLE",
        "proftpd: bob - host", "vsftpd: bob - host: IDLE"}) {
    EXPECT_EQ(std::nullopt, proftpdTitleUser(title)) << title;
  }
}

}  // namespace
}  // namespace zevo::connections
