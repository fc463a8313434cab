#include <climits>

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

class List : public module_test::ModuleTest {
 protected:
  List() {
    platform.upperCasing.allow();
    platform.clock.set(1795212000, "the clock's text\n");
    platform.accounts.add("alice", 1000);
    platform.accounts.add("bob", 1001);
    platform.accounts.add("ghost", 100000);
  }

  Outcome list(const std::string& parameters = "{}") {
    return outcomeOf(CurrentConnectionEnum, byAdministrator(parameters), platform);
  }

  // The pids of the page for `parameters`, of `count` connections whose pid and time rise together.
  std::vector<unsigned> page(int count, const std::string& parameters) {
    std::vector<Record> records;
    for (int i = 0; i < count; ++i) {
      records.push_back({100 + i, std::to_string(100 + i), "f", "alice", "d", kCifs});
    }
    platform.services.answer(records);
    platform.logins.answer({});
    return pids(list(parameters), count);
  }

  // The pids of a result that counts `total`.
  static std::vector<unsigned> pids(const Outcome& outcome, int total) {
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.data["total"], total);
    std::vector<unsigned> pids;
    for (const Json::Value& item : outcome.data["items"]) pids.push_back(item["pid"].asUInt());
    return pids;
  }
};

TEST_F(List, AnswersTotalItemsAndTheClocksText) {
  platform.services.answer({{7, "2026-11-20", "10.0.0.1", "alice", "media", kCifs}});
  platform.logins.answer({});
  Json::Value item;
  module_test::session(7, "2026-11-20", "alice", "10.0.0.1", "media", "CIFS").toJson(item);
  Json::Value expected;
  expected["total"] = 1;
  expected["items"].append(item);
  expected["systime"] = "the clock's text\n";
  EXPECT_EQ(list(), (Outcome{0, expected}));
}

TEST_F(List, AnswersAnEmptyArrayWhereNobodyIsConnected) {
  platform.services.answer({});
  platform.logins.answer({});
  Json::Value expected;
  expected["total"] = 0;
  expected["items"] = Json::Value(Json::arrayValue);
  expected["systime"] = "the clock's text\n";
  EXPECT_EQ(list(), (Outcome{0, expected}));
}

TEST_F(List, ReadsTheClockOnceAndHandsItToCtime) {
  platform.services.answer({});
  platform.logins.answer({});
  list();
  EXPECT_THAT(platform.calls.of({"time", "ctime"}), ElementsAre("time()", "ctime(1795212000)"));
}

TEST_F(List, GoesItsStepsInOrder) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answer({});
  list(R"({"filter": "alice"})");
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetAndCheckString(sort_by, 0, null)", "GetAndCheckString(filter, 0, null)",
                  "GetAndCheckString(sort_direction, 0, null)", "GetAndCheckInt(limit, 0, null)",
                  "HasParam(start)", "GetAndCheckInt(offset, 0, null)", "set_demo_mode()",
                  "IsAdmin()", "ZEVOCurConnGet() as 0:0", "free(records)", "GetSessionFilePath()",
                  "ZEVOCgiLoginUserCurrentLog(/run/sessions) as 0:0",
                  "VLIBCUnicodeUTF8StrUpper(alice)", "VLIBCUnicodeUTF8StrUpper(alice)",
                  "ZEVOUserGet(alice)", "ZEVOUserFree(alice)", "time()", "ctime(1795212000)",
                  "SetSuccess()"));
}

TEST_F(List, FiltersAndLooksUsersUpInTheOrderOfCollection) {
  platform.services.answer({{8, "1", "f", "bob", "d", kCifs}, {7, "2", "f", "alice", "d", kCifs}});
  platform.logins.answer({{9, "3", "f", "ghost", "d", kHttp}});
  EXPECT_THAT(pids(list(R"({"filter": "d"})"), 2), ElementsAre(7, 8));
  EXPECT_THAT(platform.upperCasing.sources(),
              ElementsAre("d", "alice", "f", "CIFS", "d", "bob", "f", "CIFS", "d", "ghost", "f",
                          "HTTP/HTTPS", "d"));
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}),
              ElementsAre("ZEVOUserGet(alice)", "ZEVOUserGet(bob)", "ZEVOUserGet(ghost)"));
}

TEST_F(List, AsksForStartAloneWhereTheCallHasIt) {
  platform.services.answer({});
  platform.logins.answer({});
  list(R"({"start": 1, "offset": 2})");
  EXPECT_THAT(platform.calls.of({"HasParam", "GetAndCheckInt"}),
              ElementsAre("GetAndCheckInt(limit, 0, null)", "HasParam(start)",
                          "GetAndCheckInt(start, 0, null)"));
}

TEST_F(List, RefusesWhoIsNoAdministratorBeforeAnyWork) {
  EXPECT_EQ(outcomeOf(CurrentConnectionEnum, byUser("alice"), platform),
            (Outcome{105, Json::Value()}));
  EXPECT_THAT(
      platform.calls.all(),
      ElementsAre("GetAndCheckString(sort_by, 0, null)", "GetAndCheckString(filter, 0, null)",
                  "GetAndCheckString(sort_direction, 0, null)", "GetAndCheckInt(limit, 0, null)",
                  "HasParam(start)", "GetAndCheckInt(offset, 0, null)", "set_demo_mode()",
                  "IsAdmin()", "SetError(105)"));
}

TEST_F(List, TakesServicesBeforeLogins) {
  platform.services.answer({{7, "same", "f", "alice", "d", kCifs}});
  platform.logins.answer({{6, "same", "f", "bob", "d", kHttp}});
  EXPECT_THAT(pids(list(), 2), ElementsAre(7, 6));
}

TEST_F(List, FailsWhereTheServicesCannotBeReadAndStillReadsTheLogins) {
  platform.services.answerWithoutBlock(-1);
  platform.logins.answer({{6, "t", "f", "bob", "d", kHttp}});
  EXPECT_EQ(list(), kWorkFailed);
  EXPECT_EQ(platform.calls.of({"ZEVOCgiLoginUserCurrentLog"}).size(), 1U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(List, FailsWhereTheLoginsCannotBeRead) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answerWithoutBlock(-1);
  EXPECT_EQ(list(), kWorkFailed);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(List, FailsWithoutASessionFile) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  ZEVO::RequestContext context = byAdministrator();
  context.sessionFilePath.clear();
  EXPECT_EQ(outcomeOf(CurrentConnectionEnum, context, platform), kWorkFailed);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(List, FiltersAndLooksUsersUpAlsoAfterAFailure) {
  platform.services.answerWithoutBlock(-1);
  platform.logins.answer({{6, "t", "f", "bob", "d", kHttp}});
  EXPECT_EQ(list(R"({"filter": "bob"})"), kWorkFailed);
  EXPECT_THAT(platform.calls.of({"VLIBCUnicodeUTF8StrUpper", "ZEVOUserGet", "time"}),
              ElementsAre("VLIBCUnicodeUTF8StrUpper(bob)", "VLIBCUnicodeUTF8StrUpper(bob)",
                          "ZEVOUserGet(bob)", "time()"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(List, FailsWhereTheFilterCannotBeUpperCased) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answer({});
  platform.upperCasing.failFor("\xFF\xFE");
  ZEVO::RequestContext context = byAdministrator();
  context.parameters["filter"] = "\xFF\xFE";
  EXPECT_EQ(outcomeOf(CurrentConnectionEnum, context, platform), kWorkFailed);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(List, DoesNotFilterWithoutAText) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(list(R"({"filter": ""})"), 1), ElementsAre(7));
  EXPECT_THAT(platform.calls.of({"VLIBCUnicodeUTF8StrUpper"}), IsEmpty());
}

TEST_F(List, CountsWhatTheFilterLeaves) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}, {8, "t", "f", "bob", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(list(R"({"filter": "BOB"})"), 1), ElementsAre(8));
}

TEST_F(List, AnswersAnEmptyListWhereTheFilterMatchesNothing) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(list(R"({"filter": "nowhere"})"), 0), IsEmpty());
}

TEST_F(List, LeavesHiddenUsersOutOfItemsAndTotal) {
  platform.services.answer({{7, "t", "f", "ghost", "d", kCifs}, {8, "t", "f", "bob", "d", kCifs}});
  platform.logins.answer({{9, "t", "f", "ghost", "d", kHttp}});
  EXPECT_THAT(pids(list(), 1), ElementsAre(8));
}

TEST_F(List, SucceedsWhereAUserCannotBeLookedUp) {
  platform.accounts.addUnknown("gone");
  platform.services.answer({{7, "t", "f", "gone", "d", kCifs}});
  platform.logins.answer({});
  EXPECT_THAT(pids(list(), 1), ElementsAre(7));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(List, IsInDescendingOrderOfTimeByDefault) {
  EXPECT_THAT(page(3, "{}"), ElementsAre(102, 101, 100));
}

TEST_F(List, IsInAscendingOrderForAscInAnyLetterCase) {
  EXPECT_THAT(page(3, R"({"sort_direction": "aSc"})"), ElementsAre(100, 101, 102));
  EXPECT_THAT(page(3, R"({"sort_direction": "ascending"})"), ElementsAre(102, 101, 100));
}

TEST_F(List, SortsByTheNamedField) {
  const std::vector<Record> records = {{1, "5", "4", "bob", "2", kCifs},
                                       {2, "1", "5", "alice", "3", ZEVO_CURCONN_SSH},
                                       {3, "2", "1", "", "4", ZEVO_CURCONN_AFP}};
  const std::vector<std::pair<std::string, std::vector<unsigned>>> orders = {
      {"time", {2, 3, 1}},  {"who", {3, 2, 1}},  {"from", {3, 1, 2}},
      {"descr", {1, 2, 3}}, {"type", {3, 1, 2}}, {"WHO", {2, 3, 1}}};
  for (const auto& [field, expected] : orders) {
    platform.services.answer(records);
    platform.logins.answer({});
    EXPECT_EQ(pids(list(R"({"sort_direction": "ASC", "sort_by": ")" + field + "\"}"), 3), expected)
        << field;
  }
}

TEST_F(List, HoldsTheLastRecordsOfAListThatEndsInThePage) {
  EXPECT_THAT(page(12, R"({"sort_direction": "ASC", "limit": 5, "start": 10})"),
              ElementsAre(110, 111));
}

TEST_F(List, HoldsAPageFromTheMiddle) {
  EXPECT_THAT(page(12, R"({"sort_direction": "ASC", "limit": 3, "start": 4})"),
              ElementsAre(104, 105, 106));
}

TEST_F(List, GoesToTheEndWithoutALimit) {
  for (const char* limit : {"0", "-1", "-2147483648"}) {
    EXPECT_THAT(
        page(7, std::string(R"({"sort_direction": "ASC", "start": 5, "limit": )") + limit + "}"),
        ElementsAre(105, 106))
        << limit;
  }
}

TEST_F(List, PrefersStartToOffset) {
  EXPECT_THAT(page(9, R"({"sort_direction": "ASC", "start": 2, "offset": 7, "limit": 1})"),
              ElementsAre(102));
  EXPECT_THAT(page(9, R"({"sort_direction": "ASC", "offset": 7, "limit": 1})"), ElementsAre(107));
}

TEST_F(List, TakesTheDefaultForAnUnusableStartAndNotTheOffset) {
  EXPECT_THAT(page(9, R"({"sort_direction": "ASC", "start": "x", "offset": 7, "limit": 1})"),
              ElementsAre(100));
  EXPECT_THAT(page(9, R"({"sort_direction": "ASC", "start": null, "offset": 7, "limit": 1})"),
              ElementsAre(100));
}

TEST_F(List, EndsBeforeStartPlusLimitForANegativeStart) {
  EXPECT_THAT(page(9, R"({"sort_direction": "ASC", "start": -2, "limit": 5})"),
              ElementsAre(100, 101, 102));
  EXPECT_THAT(page(4, R"({"sort_direction": "ASC", "start": -2})"), ElementsAre(100, 101));
  EXPECT_THAT(page(9, R"({"start": -5, "limit": 5})"), IsEmpty());
  EXPECT_THAT(page(9, R"({"start": -2147483648, "limit": 5})"), IsEmpty());
}

TEST_F(List, IsEmptyFromTheEndOn) {
  EXPECT_THAT(page(3, R"({"start": 3})"), IsEmpty());
  EXPECT_THAT(page(3, R"({"start": 2147483647, "limit": 1})"), IsEmpty());
}

TEST_F(List, IsEmptyWhereTheEndOverflows) {
  EXPECT_THAT(page(3, R"({"start": 1, "limit": 2147483647})"), IsEmpty());
  EXPECT_THAT(page(3, R"({"start": 0, "limit": 2147483647})"), ElementsAre(102, 101, 100));
}

TEST_F(List, TakesTheDefaultsForParametersOfOtherTypes) {
  EXPECT_THAT(page(2, R"({"sort_by": 1, "filter": ["x"], "sort_direction": {"a": 1},
                          "limit": "1", "start": 1.5})"),
              ElementsAre(101, 100));
  EXPECT_THAT(page(2, R"({"sort_by": null, "filter": null, "sort_direction": true,
                          "limit": 4294967297, "offset": []})"),
              ElementsAre(101, 100));
}

TEST_F(List, FiltersByTheTextBeforeANul) {
  platform.services.answer({{7, "t", "f", "alice", "d", kCifs}, {8, "t", "f", "bob", "d", kCifs}});
  platform.logins.answer({});
  ZEVO::RequestContext context = byAdministrator();
  context.parameters["filter"] = std::string("bob\0alice", 9);
  EXPECT_THAT(pids(outcomeOf(CurrentConnectionEnum, context, platform), 1), ElementsAre(8));
}

TEST_F(List, WritesTextsThatAreNoUtf8) {
  platform.services.answer({{7, "t", "f", "alice", "\xFF\xFE", kCifs}});
  platform.logins.answer({});
  const Outcome outcome = list();
  EXPECT_EQ(outcome.data["items"][0]["descr"], "\xFF\xFE");
}

TEST_F(List, KeepsNothingBetweenCalls) {
  EXPECT_THAT(page(2, R"({"filter": "alice", "sort_direction": "ASC"})"), ElementsAre(100, 101));
  EXPECT_THAT(page(2, "{}"), ElementsAre(101, 100));
  EXPECT_EQ(platform.calls.of({"ZEVOUserGet"}).size(), 2U);
}

TEST_F(List, DoesNotAskForDemoMode) {
  platform.services.answer({});
  platform.logins.answer({});
  ZEVO::RequestContext context = byAdministrator();
  context.isDemoMode = true;
  outcomeOf(CurrentConnectionEnum, context, platform);
  EXPECT_THAT(platform.calls.of({"IsDemoMode", "GetLoginUserName"}), IsEmpty());
}

}  // namespace
