#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/services/accounts.h"
#include "platform/services/print.h"
#include "platform/services/service_fixture.h"
#include "services/collectors.h"

namespace zevo::connections {
namespace {

using test::kAlice;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr pid_t kMaster = 40;
const char* const kRoot = "0\t0\t0\t0";
const char* const kEffectiveAlice = "0\t1001\t0\t1001";

class AfpTest : public test::ServiceFixture {
 protected:
  void SetUp() override {
    add({.pid = kMaster, .name = "afpd", .sockets = {{5, 100}}});
    connect(900, "10.20.0.8", 548);
  }
  void addSession(pid_t pid, const char* uids, const char* gids,
                  const std::vector<std::pair<int, std::uint64_t>>& sockets = {{6, 900}}) {
    add({.pid = pid,
         .parent = kMaster,
         .name = "afpd",
         .uids = uids,
         .gids = gids,
         .session = kMaster,
         .cwd = "/home/alice",
         .sockets = sockets});
  }
  static Connection afp(pid_t pid, const std::string& user) {
    return {pid, test::kStartText, "10.20.0.8", user, "", ZEVO_CURCONN_AFP};
  }
};

TEST_F(AfpTest, TheMasterAloneIsNoConnection) {
  EXPECT_THAT(read(readAfp), IsEmpty());
}

TEST_F(AfpTest, ASessionIsItsEffectiveUsers) {
  addSession(41, kEffectiveAlice, kEffectiveAlice);
  EXPECT_THAT(read(readAfp), ElementsAre(afp(41, "alice")));
}

TEST_F(AfpTest, ALoginInProgressIsNoConnection) {
  addSession(41, kRoot, kRoot);
  EXPECT_THAT(read(readAfp), IsEmpty());
}

TEST_F(AfpTest, ASessionThatActsAsRootForAMomentIsAnUnknownUsers) {
  addSession(41, kRoot, kEffectiveAlice);
  EXPECT_THAT(read(readAfp), ElementsAre(afp(41, "unknown")));
  const auto notes = notesOf(readAfp);
  ASSERT_THAT(notes, ::testing::SizeIs(1));
  EXPECT_EQ(notes[0].code, kDetailsMissing);
  EXPECT_EQ(notes[0].service, "AFP");
}

TEST_F(AfpTest, TheClientIsTheOneOnTheAfpPort) {
  connect(800, "127.0.0.1", 40000);
  addSession(41, kEffectiveAlice, kEffectiveAlice, {{4, 800}, {6, 900}});
  EXPECT_THAT(read(readAfp), ElementsAre(afp(41, "alice")));
}

TEST_F(AfpTest, ASessionThatLostItsClientIsNone) {
  connect(800, "127.0.0.1", 40000);
  addSession(41, kEffectiveAlice, kEffectiveAlice, {{4, 800}});
  EXPECT_THAT(read(readAfp), IsEmpty());
}

TEST_F(AfpTest, AMasterThatStillHoldsTheConnectionIsNotTheSession) {
  tree_.remove(kMaster);
  add({.pid = kMaster, .name = "afpd", .sockets = {{6, 900}}});
  addSession(41, kEffectiveAlice, kEffectiveAlice);
  EXPECT_THAT(read(readAfp), ElementsAre(afp(41, "alice")));
}

TEST_F(AfpTest, AUsersProgramUnderTheServersNameIsNone) {
  add({.pid = 20, .name = "bash", .uid = kAlice});
  add({.pid = 21, .parent = 20, .name = "afpd", .uid = kAlice, .sockets = {{6, 900}}});
  EXPECT_THAT(read(readAfp), IsEmpty());
}

TEST_F(AfpTest, AnUnreadableSessionIsAFailureThatNamesTheRemedy) {
  addSession(41, kEffectiveAlice, kEffectiveAlice);
  tree_.makeUnreadable(41, "status");
  EXPECT_THAT(failureOf(readAfp), HasSubstr("run this as root"));
}

TEST_F(AfpTest, AnUnreadableSessionCostsNoOtherItsRow) {
  addSession(41, kEffectiveAlice, kEffectiveAlice);
  const std::vector<Connection> alone = read(readAfp);
  add({.pid = 42, .name = "afpd", .uid = kAlice, .sockets = {{6, 901}}});
  tree_.makeUnreadable(42, "fd");
  ASSERT_EQ(alone.size(), 1U);
  EXPECT_EQ(readPartly(readAfp), alone);
}

}  // namespace
}  // namespace zevo::connections
