#include "collect/user_filter.h"

#include <new>

#include "fakes/allocation.h"
#include "module/support.h"

namespace {

using module_test::session;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Session of(const std::string& who, const std::string& type = "CIFS") {
  return session(1, "", who, "f", "d", type);
}

class UserFilter : public module_test::ModuleTest {
 protected:
  std::vector<std::string> filtered(SessionList list) {
    EXPECT_TRUE(SessionListUidFilter(list));
    std::vector<std::string> users;
    for (const Session& session : list) users.push_back(session.who);
    return users;
  }
};

TEST_F(UserFilter, LeavesAnEmptyList) {
  EXPECT_THAT(filtered({}), IsEmpty());
  EXPECT_THAT(platform.calls.all(), IsEmpty());
}

TEST_F(UserFilter, KeepsASessionWithoutUserAndLooksNobodyUp) {
  EXPECT_THAT(filtered({of("")}), ElementsAre(""));
  EXPECT_THAT(platform.calls.all(), IsEmpty());
}

TEST_F(UserFilter, RemovesTheHiddenRangeOnly) {
  const std::vector<std::pair<std::string, uid_t>> users = {
      {"u0", 0},           {"u1000", 1000},     {"u99999", 99999},   {"u100000", 100000},
      {"u200000", 200000}, {"u299999", 299999}, {"u300000", 300000}, {"u4294967295", 4294967295U}};
  SessionList list;
  for (const auto& [name, uid] : users) {
    platform.accounts.add(name, uid);
    list.push_back(of(name));
  }
  EXPECT_THAT(filtered(list), ElementsAre("u0", "u1000", "u99999", "u300000", "u4294967295"));
}

TEST_F(UserFilter, RemovesAllSessionsOfAHiddenUserAndKeepsTheOrderOfTheOthers) {
  platform.accounts.add("bob", 1000);
  platform.accounts.add("alice", 1001);
  platform.accounts.add("ghost", 150000);
  EXPECT_THAT(filtered({of("ghost"), of("bob"), of("ghost", "NFS"), of("alice"), of("bob"),
                        of("ghost", "HTTP/HTTPS")}),
              ElementsAre("bob", "alice", "bob"));
}

TEST_F(UserFilter, LooksEachUserUpOnceInTheOrderOfTheList) {
  platform.accounts.add("bob", 1000);
  platform.accounts.add("alice", 150000);
  filtered({of("bob"), of("alice"), of("bob"), of("alice"), of("bob")});
  EXPECT_THAT(platform.calls.all(), ElementsAre("ZEVOUserGet(bob)", "ZEVOUserFree(bob)",
                                                "ZEVOUserGet(alice)", "ZEVOUserFree(alice)"));
}

TEST_F(UserFilter, LooksUpAnewInEachPass) {
  platform.accounts.add("bob", 1000);
  filtered({of("bob")});
  filtered({of("bob")});
  EXPECT_EQ(platform.calls.of({"ZEVOUserGet"}).size(), 2U);
}

TEST_F(UserFilter, LooksUpNamesLetterByLetter) {
  platform.accounts.add("bob", 1000);
  platform.accounts.add("Bob", 150000);
  EXPECT_THAT(filtered({of("bob"), of("Bob")}), ElementsAre("bob"));
}

TEST_F(UserFilter, LogsAnUnknownUserOnceAndKeepsAllTheSessions) {
  platform.accounts.addUnknown("nobody-known");
  EXPECT_THAT(filtered({of("nobody-known"), of("nobody-known"), of("nobody-known"),
                        of("nobody-known"), of("nobody-known")})
                  .size(),
              5U);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d ZEVOUserGet failed, user=%s",
                                         "main:726 ZEVOUserGet failed, user=nobody-known"}));
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}), ElementsAre("ZEVOUserGet(nobody-known)"));
}

TEST_F(UserFilter, GivesBackTheRecordOfAFailedLookUpAndDoesNotBelieveIt) {
  platform.accounts.addUnknownWithRecord("half-known", 150000);
  EXPECT_THAT(filtered({of("half-known")}), ElementsAre("half-known"));
  EXPECT_THAT(platform.calls.of({"ZEVOUserFree"}), ElementsAre("ZEVOUserFree(half-known)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(UserFilter, KeepsTheSessionsOfALookUpThatGaveNoRecord) {
  platform.accounts.addWithoutRecord("nobody");
  EXPECT_THAT(filtered({of("nobody"), of("nobody")}), ElementsAre("nobody", "nobody"));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("3 main:726 ZEVOUserGet failed, user=nobody"));
}

TEST_F(UserFilter, KeepsTheSessionInHandWhereMemoryRunsOut) {
  const std::string name(40, 'x');
  platform.accounts.add(name, 1000);
  for (int nth = 1; nth <= 2; ++nth) {
    SessionList list = {of(name)};
    const fakes::AllocationFailure failure(nth);
    EXPECT_THROW(SessionListUidFilter(list), std::bad_alloc) << nth;
    EXPECT_EQ(list.size(), 1U) << nth;
  }
}

}  // namespace
