#include "api/privileged_section.h"

#include <cerrno>
#include <new>

#include "collect/service_collector.h"
#include "collect/web_collector.h"
#include "enforce/disable_accounts.h"
#include "enforce/http_kick.h"
#include "fakes/temporary_file.h"
#include "module/support.h"

namespace {

using ::testing::ElementsAre;

class PrivilegedSection : public module_test::ModuleTest {
 protected:
  // What is left in errno after a section of `uid`:`gid` whose n-th id change is refused (0: none).
  struct Errors {
    int entered;
    int left;
    bool operator==(const Errors&) const = default;
  };

  Errors runAs(uid_t uid, gid_t gid, int refused = 0) {
    platform.ids.become(uid, gid);
    if (refused != 0) platform.ids.refuse(refused, EPERM);
    errno = ERANGE;
    const SavedIds saved = ENTERCriticalSection(11);
    Errors errors = {errno, 0};
    platform.calls.record("work as " + platform.ids.text());
    errno = ERANGE;
    LEAVECriticalSection(saved, 22);
    errors.left = errno;
    platform.calls.record("afterwards " + platform.ids.text());
    return errors;
  }

  std::vector<std::string> logs() { return platform.systemLog.texts(); }
};

TEST_F(PrivilegedSection, OfRootChangesNothingAndLogsNothing) {
  errno = ERANGE;
  const SavedIds saved = ENTERCriticalSection(11);
  EXPECT_EQ(errno, 0);
  errno = ERANGE;
  LEAVECriticalSection(saved, 22);
  EXPECT_EQ(errno, 0);
  EXPECT_THAT(platform.calls.all(),
              ElementsAre("geteuid()", "getegid()", "geteuid()", "getegid()"));
}

TEST_F(PrivilegedSection, RaisesTheGroupThenTheUserAndGoesBackOverRoot) {
  EXPECT_EQ(runAs(1000, 100), (Errors{0, 0}));
  EXPECT_THAT(
      platform.calls.all(),
      ElementsAre("geteuid()", "getegid()", "setresgid(-1, 0, -1)",
                  "syslog(38, main:11 WARNING: setresgid(-1, 0, -1))", "setresuid(-1, 0, -1)",
                  "syslog(38, main:11 WARNING: setresuid(-1, 0, -1))", "work as 0:0", "geteuid()",
                  "getegid()", "setresuid(-1, 0, -1)",
                  "syslog(38, main:22 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "setresuid(-1, 1000, -1)", "afterwards 1000:100"));
  EXPECT_EQ(logs().size(), 3U);
}

TEST_F(PrivilegedSection, LeavesAGroupThatIsRootAlone) {
  EXPECT_EQ(runAs(1000, 0), (Errors{0, 0}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresuid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresuid(-1, 0, -1))",
                  "work as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:22 WARNING: setresuid(-1, 0, -1))", "setresuid(-1, 1000, -1)",
                  "afterwards 1000:0"));
  EXPECT_EQ(logs().size(), 2U);
}

TEST_F(PrivilegedSection, LeavesAUserThatIsRootAlone) {
  EXPECT_EQ(runAs(0, 100), (Errors{0, 0}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresgid(-1, 0, -1))",
                  "work as 0:0", "setresgid(-1, 100, -1)", "afterwards 0:100"));
  EXPECT_EQ(logs().size(), 1U);
}

TEST_F(PrivilegedSection, NoticesAReturnToTheRootGroup) {
  platform.ids.become(0, 0);
  const SavedIds saved = ENTERCriticalSection(11);
  platform.ids.become(0, 55);
  LEAVECriticalSection(saved, 22);
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:22 WARNING: setresgid(-1, 0, -1))"));
  EXPECT_EQ(platform.ids.text(), "0:0");
  EXPECT_EQ(logs().size(), 1U);
}

TEST_F(PrivilegedSection, GoesBackToTheRootUserInOneChange) {
  platform.ids.become(0, 0);
  const SavedIds saved = ENTERCriticalSection(11);
  platform.ids.become(500, 0);
  LEAVECriticalSection(saved, 22);
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresuid(-1, 0, -1)", "syslog(38, main:22 WARNING: setresuid(-1, 0, -1))"));
  EXPECT_EQ(platform.ids.text(), "0:0");
  EXPECT_EQ(logs().size(), 1U);
}

TEST_F(PrivilegedSection, SkipsTheUserWhereTheGroupIsRefused) {
  EXPECT_EQ(runAs(1000, 100, 1), (Errors{1, 0}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)",
                  "syslog(35, main:11 ERROR: setresgid(-1, 0, -1) [Operation not permitted])",
                  "syslog(35, main:11 ERROR: ENTERCriticalSection)", "work as 1000:100",
                  "afterwards 1000:100"));
  EXPECT_EQ(logs().size(), 2U);
}

TEST_F(PrivilegedSection, WorksOnWhereTheUserIsRefused) {
  EXPECT_EQ(runAs(1000, 100, 2), (Errors{1, 0}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresgid(-1, 0, -1))",
                  "setresuid(-1, 0, -1)",
                  "syslog(35, main:11 ERROR: setresuid(-1, 0, -1) [Operation not permitted])",
                  "syslog(35, main:11 ERROR: ENTERCriticalSection)", "work as 1000:0",
                  "setresgid(-1, 100, -1)", "afterwards 1000:100"));
  EXPECT_EQ(logs().size(), 3U);
}

TEST_F(PrivilegedSection, StopsWhereRootIsNotRegained) {
  EXPECT_EQ(runAs(1000, 100, 3), (Errors{0, 1}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresgid(-1, 0, -1))",
                  "setresuid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresuid(-1, 0, -1))",
                  "work as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(35, main:22 ERROR: setresuid(-1, 0, -1) [Operation not permitted])",
                  "syslog(35, main:22 ERROR: LEAVECriticalSection)", "afterwards 0:0"));
  EXPECT_EQ(logs().size(), 4U);
}

TEST_F(PrivilegedSection, StopsWhereTheGroupIsNotGivenBack) {
  EXPECT_EQ(runAs(1000, 100, 4), (Errors{0, 1}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresgid(-1, 0, -1))",
                  "setresuid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresuid(-1, 0, -1))",
                  "work as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:22 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "syslog(35, main:22 ERROR: setresgid(-1, 100, -1) [Operation not permitted])",
                  "syslog(35, main:22 ERROR: LEAVECriticalSection)", "afterwards 0:0"));
  EXPECT_EQ(logs().size(), 5U);
}

TEST_F(PrivilegedSection, SaysWhereTheUserIsNotGivenBack) {
  EXPECT_EQ(runAs(1000, 100, 5), (Errors{0, 1}));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresgid(-1, 0, -1))",
                  "setresuid(-1, 0, -1)", "syslog(38, main:11 WARNING: setresuid(-1, 0, -1))",
                  "work as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:22 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "setresuid(-1, 1000, -1)",
                  "syslog(35, main:22 ERROR: setresuid(-1, 1000, -1) [Operation not permitted])",
                  "syslog(35, main:22 ERROR: LEAVECriticalSection)", "afterwards 0:100"));
  EXPECT_EQ(logs().size(), 5U);
}

TEST_F(PrivilegedSection, NamesTheReasonOfARefusal) {
  platform.ids.become(1000, 0);
  platform.ids.refuse(1, EAGAIN);
  ENTERCriticalSection(11);
  EXPECT_THAT(
      platform.systemLog.lines(),
      ElementsAre(fakes::LogLine{35, "%s:%d ERROR: set%s(%d, %d, %d) [%s]",
                                 "main:11 ERROR: setresuid(-1, 0, -1) [Resource "
                                 "temporarily unavailable]"},
                  fakes::LogLine{35, "%s:%d ERROR: %s", "main:11 ERROR: ENTERCriticalSection"}));
}

TEST_F(PrivilegedSection, HasSetTheErrorWhenItNamesTheHalfThatFailed) {
  std::vector<std::pair<std::string, int>> errors;
  platform.systemLog.onLine = [&](const fakes::LogLine& line) {
    if (line.text.ends_with("CriticalSection")) errors.emplace_back(line.text, errno);
  };
  runAs(1000, 100, 1);
  runAs(1000, 100, 3);
  EXPECT_THAT(errors, ElementsAre(std::pair("main:11 ERROR: ENTERCriticalSection", 1),
                                  std::pair("main:22 ERROR: LEAVECriticalSection", 1)));
  EXPECT_EQ(logs().size(), 6U);
}

TEST_F(PrivilegedSection, WritesLargeIdsAsSignedNumbers) {
  platform.ids.become(4294967294U, 100);
  platform.ids.refuse(5, EPERM);
  const SavedIds saved = ENTERCriticalSection(11);
  LEAVECriticalSection(saved, 22);
  EXPECT_THAT(logs(), ::testing::Contains("35 main:22 ERROR: setresuid(-1, -2, -1) [Operation not "
                                          "permitted]"));
}

// A platform function that throws, the work that calls it, and the lines of its section.
struct Throw {
  const char* function;
  void (*work)(ZEVO::APIRequest* request);
  const char* enterLine;
  const char* leaveLine;
};

void readLogins(ZEVO::APIRequest* request) {
  std::list<HttpKickSession> requests = {{true, "alice", "", {}}};
  ReadHttpKickSessions(request, requests);
}

void removeLogins(ZEVO::APIRequest* request) {
  RemoveHttpKickSessions(request, {{true, "alice", "", {"id"}}});
}

const Throw kThrows[] = {
    {"ZEVOCurConnGet",
     [](ZEVO::APIRequest*) {
       SessionList list;
       SDKSessionListGet(list);
     },
     "608", "610"},
    {"ZEVOCgiLoginUserCurrentLog",
     [](ZEVO::APIRequest* request) {
       SessionList list;
       HttpSessionListGet(request, list);
     },
     "690", "692"},
    {"ZEVOLocalAccountUserSet", [](ZEVO::APIRequest*) { DisableUserAccounts({"alice"}); }, "360",
     "362"},
    {"ZevoCgiBeginCriticalSection", readLogins, "130", "180"},
    {"ZevoCgiJsonRecordInit", readLogins, "130", "180"},
    {"ZevoCgiJsonRecordGet", readLogins, "130", "180"},
    {"ZevoCgiBeginCriticalSection", removeLogins, "200", "240"},
    {"VLIBCFileSetLine", removeLogins, "200", "240"},
};

TEST_F(PrivilegedSection, EndsWhereAPlatformCallThrows) {
  const fakes::TemporaryFile sessions("1|alice|id\n");
  ZEVO::RequestContext context = module_test::byAdministrator();
  context.sessionFilePath = sessions.path();
  ZEVO::APIRequest request(context);
  platform.accounts.add("alice", 1000);
  for (const Throw& thrown : kThrows) {
    SCOPED_TRACE(std::string(thrown.function) + " below line " + thrown.enterLine);
    platform.ids.become(1000, 100);
    platform.calls.throwAt(thrown.function);
    const std::size_t before = logs().size();
    EXPECT_THROW(thrown.work(&request), std::bad_alloc);
    EXPECT_EQ(platform.ids.text(), "1000:100");
    const std::string notice = " WARNING: setres";
    std::vector<std::string> lines = logs();
    lines.erase(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(before));
    const std::string enter = std::string("38 main:") + thrown.enterLine + notice;
    const std::string leave = std::string("38 main:") + thrown.leaveLine + notice;
    EXPECT_THAT(lines, ElementsAre(enter + "gid(-1, 0, -1)", enter + "uid(-1, 0, -1)",
                                   leave + "uid(-1, 0, -1)"));
  }
}

}  // namespace
