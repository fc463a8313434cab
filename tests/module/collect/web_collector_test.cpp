#include "collect/web_collector.h"

#include <new>

#include "fakes/allocation.h"
#include "module/support.h"

namespace {

using fakes::Record;
using module_test::byAdministrator;
using module_test::kHttp;
using module_test::lines;
using module_test::session;
using ::testing::ElementsAre;

class WebCollector : public module_test::ModuleTest {
 protected:
  bool collect() { return HttpSessionListGet(&request, out); }

  std::vector<std::string> collected(std::vector<Record> records) {
    platform.logins.answer(std::move(records));
    out.clear();
    EXPECT_TRUE(collect());
    return lines(out);
  }

  ZEVO::APIRequest request{byAdministrator()};
  SessionList out = {session(1, "t", "first", "f", "d", "SSH")};
};

TEST_F(WebCollector, FailsWithOneLogLineWithoutASessionFile) {
  ZEVO::RequestContext context = byAdministrator();
  context.sessionFilePath.clear();
  ZEVO::APIRequest local(context);
  EXPECT_FALSE(HttpSessionListGet(&local, out));
  EXPECT_THAT(platform.calls.all(), ElementsAre("GetSessionFilePath()",
                                                "syslog(3, main:686 Failed to get session file.)"));
  EXPECT_EQ(platform.systemLog.lines()[0].format, "%s:%d Failed to get session file.");
  EXPECT_THAT(lines(out), ElementsAre("1|t|first|f|d|SSH"));
}

TEST_F(WebCollector, LeavesTheListAsItWasWhereNobodyIsLoggedIn) {
  platform.logins.answerWithoutBlock(0);
  EXPECT_TRUE(collect());
  EXPECT_THAT(lines(out), ElementsAre("1|t|first|f|d|SSH"));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetSessionFilePath()", "ZEVOCgiLoginUserCurrentLog(/run/sessions) as 0:0"));
}

TEST_F(WebCollector, GivesBackTheBlockWhereNobodyIsLoggedIn) {
  platform.logins.answerWithBlock(0);
  EXPECT_TRUE(collect());
  EXPECT_THAT(platform.calls.of({"free"}), ElementsAre("free(records)"));
}

TEST_F(WebCollector, FailsWithALogLineWhereTheLoginsCannotBeRead) {
  platform.logins.answerWithoutBlock(-1);
  EXPECT_FALSE(collect());
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Failed to get current log from session file.",
                                         "main:702 Failed to get current log from session file."}));
  EXPECT_THAT(lines(out), ElementsAre("1|t|first|f|d|SSH"));
}

TEST_F(WebCollector, GivesBackTheBlockOfAFailedRead) {
  platform.logins.answerWithBlock(-1);
  EXPECT_FALSE(collect());
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetSessionFilePath()", "ZEVOCgiLoginUserCurrentLog(/run/sessions) as 0:0",
                  "syslog(3, main:702 Failed to get current log from session file.)",
                  "free(records)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(WebCollector, ReadsTheLoginsAsRoot) {
  platform.ids.become(1000, 100);
  platform.logins.answer({{5, "t", "f", "alice", "d", kHttp}});
  EXPECT_TRUE(collect());
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetSessionFilePath()", "setresgid(-1, 0, -1)",
                  "syslog(38, main:690 WARNING: setresgid(-1, 0, -1))", "setresuid(-1, 0, -1)",
                  "syslog(38, main:690 WARNING: setresuid(-1, 0, -1))",
                  "ZEVOCgiLoginUserCurrentLog(/run/sessions) as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:692 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "setresuid(-1, 1000, -1)", "free(records)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 3U);
}

TEST_F(WebCollector, ReadsTheLoginsAlsoWithoutRoot) {
  platform.ids.become(1000, 0);
  platform.ids.refuse(1, EPERM);
  platform.logins.answer({{5, "t", "f", "alice", "d", kHttp}});
  EXPECT_TRUE(collect());
  EXPECT_THAT(platform.calls.of({"ZEVOCgiLoginUserCurrentLog"}),
              ElementsAre("ZEVOCgiLoginUserCurrentLog(/run/sessions) as 1000:0"));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("35 main:690 ERROR: setresuid(-1, 0, -1) [Operation not permitted]",
                          "35 main:690 ERROR: ENTERCriticalSection"));
  EXPECT_EQ(out.size(), 2U);
}

TEST_F(WebCollector, GoesOnWhereTheIdsAreNotRestored) {
  platform.ids.become(0, 100);
  platform.ids.refuse(2, EPERM);
  platform.logins.answer({{5, "t", "f", "alice", "d", kHttp}});
  EXPECT_TRUE(collect());
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("38 main:690 WARNING: setresgid(-1, 0, -1)",
                          "35 main:692 ERROR: setresgid(-1, 100, -1) [Operation not permitted]",
                          "35 main:692 ERROR: LEAVECriticalSection"));
  EXPECT_EQ(out.size(), 2U);
}

TEST_F(WebCollector, FoldsTheLoginsOfAUserAtAnAddress) {
  EXPECT_THAT(
      collected({{200, "1", "f", "alice", "p", kHttp}, {300, "2", "f", "alice", "q", kHttp}}),
      ElementsAre("300|1|alice|f|p, q|HTTP/HTTPS"));
}

TEST_F(WebCollector, KeepsAddressesApart) {
  EXPECT_THAT(collected({{2, "", "f2", "alice", "q", kHttp}, {1, "", "f1", "alice", "p", kHttp}}),
              ElementsAre("1||alice|f1|p|HTTP/HTTPS", "2||alice|f2|q|HTTP/HTTPS"));
}

TEST_F(WebCollector, ShowsRootAsAdmin) {
  EXPECT_THAT(collected({{2, "", "f", "root", "d", kHttp}}),
              ElementsAre("2||admin|f|d|HTTP/HTTPS"));
}

TEST_F(WebCollector, TakesTheTypeAsItIsGiven) {
  EXPECT_THAT(collected({{2, "", "f", "a", "d", ZEVO_CURCONN_SSH}}), ElementsAre("2||a|f|d|SSH"));
}

TEST_F(WebCollector, TakesEqualElementsFromTheEndOfTheArray) {
  EXPECT_THAT(collected({{2, "1", "f", "a", "p", kHttp}, {2, "2", "f", "a", "q", kHttp}}),
              ElementsAre("2|2|a|f|q|HTTP/HTTPS"));
}

TEST_F(WebCollector, AppendsSortedAmongThemselvesOnly) {
  platform.logins.answer({{8, "", "f", "a", "d", kHttp}, {9, "", "f", "b", "d", kHttp}});
  EXPECT_TRUE(collect());
  EXPECT_THAT(lines(out),
              ElementsAre("1|t|first|f|d|SSH", "8||a|f|d|HTTP/HTTPS", "9||b|f|d|HTTP/HTTPS"));
}

TEST_F(WebCollector, LeavesTheListAsItWasWhereMemoryRunsOut) {
  const std::string text(40, 'x');  // too long for a string without memory of its own
  const std::vector<Record> records = {{7, text, text, text, "b" + text, kHttp},
                                       {8, text, text, text, "a" + text, kHttp},
                                       {9, text, "f" + text, text, text, kHttp}};
  int failures = 0;
  for (bool failed = true; failed; ++failures) {
    failed = false;
    platform.logins.answer(records);
    out.resize(1);
    try {
      const fakes::AllocationFailure failure(failures + 1);
      HttpSessionListGet(&request, out);
    } catch (const std::bad_alloc&) {
      failed = true;
      EXPECT_EQ(out.size(), 1U) << failures;
    }
  }
  EXPECT_GT(failures, 20);
  EXPECT_EQ(out.size(), 3U);
}

}  // namespace
