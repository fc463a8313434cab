#include "api/api_table.h"
#include "module/support.h"

namespace {

using fakes::Outcome;
using fakes::Record;
using module_test::byAdministrator;
using module_test::byUser;
using module_test::kCifs;
using module_test::kHttp;
using module_test::kWorkFailed;
using module_test::outcomeOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ListByUser : public module_test::ModuleTest {
 protected:
  ListByUser() {
    platform.upperCasing.allow();
    platform.clock.set(1795212000, "the clock's text\n");
    for (const char* name : {"alice", "Alice", "bob", "admin"}) platform.accounts.add(name, 1000);
    platform.accounts.add("ghost", 299999);
  }

  Outcome listOf(const std::string& user, const std::string& parameters = "{}") {
    return outcomeOf(CurrentConnectionEnumByUser, byUser(user, parameters), platform);
  }

  // The pids of the page for `parameters`, of `count` connections whose pid and time rise together.
  std::vector<unsigned> page(int count, const std::string& parameters) {
    std::vector<Record> records;
    for (int i = 0; i < count; ++i) {
      records.push_back({100 + i, std::to_string(100 + i), "f", "alice", "d", kCifs});
    }
    platform.services.answer(records);
    platform.logins.answer({});
    return pids(listOf("alice", parameters), count);
  }

  static std::vector<unsigned> pids(const Outcome& outcome, int total) {
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.data["total"], total);
    std::vector<unsigned> pids;
    for (const Json::Value& item : outcome.data["items"]) pids.push_back(item["pid"].asUInt());
    return pids;
  }

  void scriptMixedConnections() {
    platform.services.answer({{7, "3", "f", "alice", "d", kCifs},
                              {8, "2", "f", "bob", "d", kCifs},
                              {9, "1", "f", "Alice", "d", kCifs}});
    platform.logins.answer({{4, "4", "f", "alice", "d", kHttp}, {5, "5", "f", "bob", "d", kHttp}});
  }
};

TEST_F(ListByUser, AnswersTotalItemsAndTheClocksText) {
  platform.services.answer({{7, "2026-11-20", "10.0.0.1", "alice", "media", kCifs}});
  platform.logins.answer({});
  Json::Value item;
  module_test::session(7, "2026-11-20", "alice", "10.0.0.1", "media", "CIFS").toJson(item);
  Json::Value expected;
  expected["total"] = 1;
  expected["items"].append(item);
  expected["systime"] = "the clock's text\n";
  EXPECT_EQ(listOf("alice"), (Outcome{0, expected}));
}

TEST_F(ListByUser, AnswersAnEmptyArrayToACallerWithoutConnections) {
  scriptMixedConnections();
  Json::Value expected;
  expected["total"] = 0;
  expected["items"] = Json::Value(Json::arrayValue);
  expected["systime"] = "the clock's text\n";
  EXPECT_EQ(listOf("carol"), (Outcome{0, expected}));
}

TEST_F(ListByUser, GoesItsStepsInOrderAndNeverAsksForAnAdministrator) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answer({});
  listOf("alice", R"({"filter": "nowhere", "offset": 1})");
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetAndCheckString(sort_by, 0, null)", "GetLoginUserName()",
                  "GetAndCheckString(sort_direction, 0, null)", "GetAndCheckInt(start, 0, null)",
                  "GetAndCheckInt(limit, 0, null)", "set_demo_mode()", "ZEVOCurConnGet() as 0:0",
                  "free(records)", "GetSessionFilePath()",
                  "ZEVOCgiLoginUserCurrentLog(/run/sessions) as 0:0",
                  "VLIBCUnicodeUTF8StrUpper(alice)", "VLIBCUnicodeUTF8StrUpper(alice)",
                  "ZEVOUserGet(alice)", "ZEVOUserFree(alice)", "time()", "ctime(1795212000)",
                  "SetSuccess()"));
}

TEST_F(ListByUser, KeepsTheCallersOwnInAnyLetterCase) {
  scriptMixedConnections();
  EXPECT_THAT(pids(listOf("aLICE"), 3), ElementsAre(4, 7, 9));
}

TEST_F(ListByUser, DoesNotTakeAPartOfANameForTheWhole) {
  scriptMixedConnections();
  EXPECT_THAT(pids(listOf("alic"), 0), IsEmpty());
}

TEST_F(ListByUser, ShowsRootsConnectionsToAdmin) {
  platform.services.answer({{7, "1", "f", "root", "d", kCifs}});
  platform.logins.answer({{8, "2", "f", "root", "d", kHttp}});
  EXPECT_THAT(pids(listOf("admin"), 2), ElementsAre(8, 7));
}

TEST_F(ListByUser, ShowsRootNothing) {
  platform.services.answer({{7, "1", "f", "root", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(listOf("root"), 0), IsEmpty());
}

TEST_F(ListByUser, ShowsAnAdministratorTheirOwnOnly) {
  scriptMixedConnections();
  ZEVO::RequestContext context = byAdministrator();
  context.loginUserName = "bob";
  EXPECT_THAT(pids(outcomeOf(CurrentConnectionEnumByUser, context, platform), 2),
              ElementsAre(5, 8));
}

TEST_F(ListByUser, KeepsEveryUsersSessionsForAnEmptyLoginName) {
  scriptMixedConnections();
  EXPECT_THAT(pids(listOf(""), 5), ElementsAre(5, 4, 7, 8, 9));
  EXPECT_THAT(platform.upperCasing.sources(), IsEmpty());
}

TEST_F(ListByUser, UpperCasesTheNameIntoAZeroedBufferOf4587Bytes) {
  platform.services.answer({});
  platform.logins.answer({});
  listOf("alice");
  ASSERT_EQ(platform.upperCasing.uses().size(), 1U);
  EXPECT_EQ(platform.upperCasing.uses()[0].source, "alice");
  EXPECT_EQ(platform.upperCasing.uses()[0].size, 4587);
  EXPECT_TRUE(platform.upperCasing.uses()[0].zeroed);
}

TEST_F(ListByUser, FailsWhereTheNameCannotBeUpperCased) {
  platform.upperCasing.failFor("alice");
  scriptMixedConnections();
  EXPECT_EQ(listOf("alice"), kWorkFailed);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d VLIBCUnicodeUTF8StrUpper failed, str=%s.",
                                         "main:820 VLIBCUnicodeUTF8StrUpper failed, str=alice."}));
}

TEST_F(ListByUser, LeavesTheListWholeAndGoesOnWhereTheNameCannotBeUpperCased) {
  platform.upperCasing.failFor("carol");
  scriptMixedConnections();
  listOf("carol");
  EXPECT_THAT(platform.calls.of({"VLIBCUnicodeUTF8StrUpper", "ZEVOUserGet", "time"}),
              ElementsAre("VLIBCUnicodeUTF8StrUpper(carol)", "ZEVOUserGet(alice)",
                          "ZEVOUserGet(bob)", "ZEVOUserGet(Alice)", "time()"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(ListByUser, FailsWhereTheServicesCannotBeReadAndStillReadsTheLogins) {
  platform.services.answerWithoutBlock(-1);
  platform.logins.answer({{4, "t", "f", "alice", "d", kHttp}});
  EXPECT_EQ(listOf("alice"), kWorkFailed);
  EXPECT_EQ(platform.calls.of({"ZEVOCgiLoginUserCurrentLog"}).size(), 1U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(ListByUser, FailsWhereTheLoginsCannotBeRead) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answerWithoutBlock(-1);
  EXPECT_EQ(listOf("alice"), kWorkFailed);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(ListByUser, LeavesHiddenUsersOut) {
  platform.services.answer({{7, "t", "f", "ghost", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(listOf("ghost"), 0), IsEmpty());
}

TEST_F(ListByUser, SucceedsWhereAUserCannotBeLookedUp) {
  platform.accounts.addUnknown("gone");
  platform.services.answer({{7, "t", "f", "gone", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(listOf("gone"), 1), ElementsAre(7));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(ListByUser, ReadsNoFilterAndNoOffset) {
  EXPECT_THAT(page(3, R"({"filter": "nowhere", "offset": 2})"), ElementsAre(102, 101, 100));
}

TEST_F(ListByUser, SortsByTheNamedFieldOrByTime) {
  const std::vector<Record> records = {{1, "5", "4", "alice", "2", kCifs},
                                       {2, "1", "5", "Alice", "3", ZEVO_CURCONN_SSH},
                                       {3, "2", "1", "alice", "4", ZEVO_CURCONN_AFP}};
  const std::vector<std::pair<std::string, std::vector<unsigned>>> orders = {
      {"time", {2, 3, 1}}, {"who", {2, 1, 3}}, {"from", {3, 1, 2}}, {"descr", {1, 2, 3}},
      {"type", {3, 1, 2}}, {"Who", {2, 3, 1}}, {"", {2, 3, 1}},     {"pid", {2, 3, 1}}};
  for (const auto& [field, expected] : orders) {
    platform.services.answer(records);
    platform.logins.answer({});
    EXPECT_EQ(pids(listOf("alice", R"({"sort_direction": "asc", "sort_by": ")" + field + "\"}"), 3),
              expected)
        << field;
  }
}

TEST_F(ListByUser, IsInDescendingOrderForAnyOtherDirection) {
  EXPECT_THAT(page(2, R"({"sort_direction": "ascend"})"), ElementsAre(101, 100));
  EXPECT_THAT(page(2, R"({"sort_direction": ""})"), ElementsAre(101, 100));
}

TEST_F(ListByUser, GoesToTheEndWithoutALimit) {
  EXPECT_THAT(page(7, R"({"sort_direction": "ASC", "start": 5})"), ElementsAre(105, 106));
  EXPECT_THAT(page(7, R"({"sort_direction": "ASC", "start": 5, "limit": 0})"),
              ElementsAre(105, 106));
  EXPECT_THAT(page(7, R"({"sort_direction": "ASC", "start": 5, "limit": -3})"),
              ElementsAre(105, 106));
}

TEST_F(ListByUser, HoldsAPageFromTheMiddle) {
  EXPECT_THAT(page(7, R"({"sort_direction": "ASC", "start": 2, "limit": 3})"),
              ElementsAre(102, 103, 104));
}

TEST_F(ListByUser, IsEmptyFromTheEndOnWhileTheTotalStays) {
  EXPECT_THAT(page(3, R"({"start": 3})"), IsEmpty());
  EXPECT_THAT(page(3, R"({"start": 4})"), IsEmpty());
}

TEST_F(ListByUser, EndsBeforeStartPlusLimitForANegativeStart) {
  EXPECT_THAT(page(5, R"({"sort_direction": "ASC", "start": -2, "limit": 5})"),
              ElementsAre(100, 101, 102));
  EXPECT_THAT(page(5, R"({"sort_direction": "ASC", "start": -2, "limit": 0})"),
              ElementsAre(100, 101, 102));
}

TEST_F(ListByUser, IsEmptyWhereTheEndOverflows) {
  EXPECT_THAT(page(3, R"({"start": 1, "limit": 2147483647})"), IsEmpty());
}

TEST_F(ListByUser, DoesNotAskForDemoMode) {
  platform.services.answer({});
  platform.logins.answer({});
  ZEVO::RequestContext context = byUser("alice");
  context.isDemoMode = true;
  outcomeOf(CurrentConnectionEnumByUser, context, platform);
  EXPECT_THAT(platform.calls.of({"IsDemoMode", "IsAdmin", "HasParam"}), IsEmpty());
}

}  // namespace
