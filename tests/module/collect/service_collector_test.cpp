#include "collect/service_collector.h"

#include <new>

#include "fakes/allocation.h"
#include "module/support.h"

namespace {

using fakes::Record;
using module_test::kCifs;
using module_test::lines;
using module_test::session;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kNfs = ZEVO_CURCONN_NFS;

class ServiceCollector : public module_test::ModuleTest {
 protected:
  std::vector<std::string> collected(std::vector<Record> records) {
    platform.services.answer(std::move(records));
    out.clear();
    EXPECT_TRUE(SDKSessionListGet(out));
    return lines(out);
  }

  SessionList out = {session(1, "t", "first", "f", "d", "SSH")};
};

TEST_F(ServiceCollector, LeavesTheListAsItWasForAnEmptyRegistry) {
  platform.services.answerWithoutBlock(0);
  EXPECT_TRUE(SDKSessionListGet(out));
  EXPECT_THAT(lines(out), ElementsAre("1|t|first|f|d|SSH"));
  EXPECT_THAT(platform.calls.steps(), ElementsAre("ZEVOCurConnGet() as 0:0"));
}

TEST_F(ServiceCollector, GivesBackTheBlockOfAnEmptyRegistry) {
  platform.services.answerWithBlock(0);
  EXPECT_TRUE(SDKSessionListGet(out));
  EXPECT_THAT(platform.calls.of({"free"}), ElementsAre("free(records)"));
}

TEST_F(ServiceCollector, FailsWithALogLineWhereTheRegistryCannotBeRead) {
  for (const int result : {-1, -2147483647 - 1}) {
    platform.services.answerWithoutBlock(result);
    EXPECT_FALSE(SDKSessionListGet(out));
    EXPECT_EQ(platform.systemLog.lines().back(),
              (fakes::LogLine{3, "%s:%d Failed to get current log.",
                              "main:620 Failed to get current log."}));
  }
  EXPECT_EQ(platform.systemLog.lines().size(), 2U);
  EXPECT_THAT(lines(out), ElementsAre("1|t|first|f|d|SSH"));
}

TEST_F(ServiceCollector, GivesBackTheBlockOfAFailedRead) {
  platform.services.answerWithBlock(-3);
  EXPECT_FALSE(SDKSessionListGet(out));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("ZEVOCurConnGet() as 0:0",
                          "syslog(3, main:620 Failed to get current log.)", "free(records)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(ServiceCollector, GivesBackTheBlockOfRecords) {
  EXPECT_THAT(collected({{5, "t", "f", "alice", "d", kCifs}}), ElementsAre("5|t|alice|f|d|CIFS"));
  EXPECT_THAT(platform.calls.steps(), ElementsAre("ZEVOCurConnGet() as 0:0", "free(records)"));
}

TEST_F(ServiceCollector, ReadsTheRegistryAsRoot) {
  platform.ids.become(1000, 100);
  platform.services.answer({{5, "t", "f", "alice", "d", kCifs}});
  EXPECT_TRUE(SDKSessionListGet(out));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("setresgid(-1, 0, -1)", "syslog(38, main:608 WARNING: setresgid(-1, 0, -1))",
                  "setresuid(-1, 0, -1)", "syslog(38, main:608 WARNING: setresuid(-1, 0, -1))",
                  "ZEVOCurConnGet() as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:610 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "setresuid(-1, 1000, -1)", "free(records)"));
  EXPECT_EQ(platform.ids.text(), "1000:100");
  EXPECT_EQ(platform.systemLog.lines().size(), 3U);
}

TEST_F(ServiceCollector, ReadsTheRegistryAlsoWithoutRoot) {
  platform.ids.become(1000, 100);
  platform.ids.refuse(1, EPERM);
  platform.services.answer({{5, "t", "f", "alice", "d", kCifs}});
  EXPECT_TRUE(SDKSessionListGet(out));
  EXPECT_THAT(platform.calls.of({"ZEVOCurConnGet"}), ElementsAre("ZEVOCurConnGet() as 1000:100"));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("35 main:608 ERROR: setresgid(-1, 0, -1) [Operation not permitted]",
                          "35 main:608 ERROR: ENTERCriticalSection"));
  EXPECT_EQ(out.size(), 2U);
}

TEST_F(ServiceCollector, GoesOnWhereTheIdsAreNotRestored) {
  platform.ids.become(0, 100);
  platform.ids.refuse(2, EPERM);
  platform.services.answer({{5, "t", "f", "alice", "d", kCifs}});
  EXPECT_TRUE(SDKSessionListGet(out));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("38 main:608 WARNING: setresgid(-1, 0, -1)",
                          "35 main:610 ERROR: setresgid(-1, 100, -1) [Operation not permitted]",
                          "35 main:610 ERROR: LEAVECriticalSection"));
  EXPECT_EQ(out.size(), 2U);
}

TEST_F(ServiceCollector, ShowsRootAsAdminAndOnlyRoot) {
  EXPECT_THAT(collected({{1, "", "f", "root", "d", kCifs},
                         {2, "", "f", "Root", "d", kCifs},
                         {3, "", "f", "root2", "d", kCifs}}),
              ElementsAre("1||admin|f|d|CIFS", "2||Root|f|d|CIFS", "3||root2|f|d|CIFS"));
}

TEST_F(ServiceCollector, NamesTheServices) {
  EXPECT_THAT(collected({{1, "", "f", "a", "d", 6}, {2, "", "f", "a", "d", 13}}),
              ElementsAre("1||a|f|d|UNKNOWN", "2||a|f|d|SFTP"));
}

TEST_F(ServiceCollector, FoldsTheRecordsOfAProcess) {
  EXPECT_THAT(collected({{7, "1", "f", "alice", "b", kCifs},
                         {7, "2", "f", "alice", "a", kCifs},
                         {7, "3", "f", "alice", "b", kCifs}}),
              ElementsAre("7|3|alice|f|a, b|CIFS"));
}

TEST_F(ServiceCollector, SortsByPidBeforeItFolds) {
  EXPECT_THAT(collected({{9, "", "f", "a", "x", kCifs},
                         {7, "", "f", "a", "y", kCifs},
                         {9, "", "f", "a", "w", kCifs}}),
              ElementsAre("7||a|f|y|CIFS", "9||a|f|w, x|CIFS"));
}

TEST_F(ServiceCollector, TakesEqualElementsFromTheEndOfTheArray) {
  EXPECT_THAT(collected({{7, "1", "f1", "alice", "a", kCifs},
                         {7, "2", "f2", "bob", "a", kCifs},
                         {7, "3", "f3", "carol", "a", kCifs}}),
              ElementsAre("7|3|carol|f3|a|CIFS"));
}

TEST_F(ServiceCollector, KeepsNfsClientsApartAndFoldsNfsWithOthers) {
  EXPECT_THAT(collected({{0, "", "10.0.0.2", "", "v4", kNfs}, {0, "", "10.0.0.1", "", "v4", kNfs}}),
              ElementsAre("0|||10.0.0.1|v4|NFS", "0|||10.0.0.2|v4|NFS"));
  EXPECT_THAT(
      collected({{8, "", "10.0.0.2", "", "b", kNfs}, {8, "", "10.0.0.1", "al", "a", kCifs}}),
      ElementsAre("8||al|10.0.0.1|a, b|CIFS"));
}

// In an order that is none, another sort than the list's own gives other rows.
TEST_F(ServiceCollector, KeepsNfsClientsApartNextToAnotherRecordOfTheirPid) {
  const Record far = {0, "", "2", "", "a", kNfs};
  const Record near = {0, "", "1", "", "m", kNfs};
  const Record other = {0, "", "1", "", "m", kCifs};
  const auto nearFirst = ElementsAre("0|||1|m|NFS", "0|||2|a, m|NFS");
  EXPECT_THAT(collected({far, near, other}), ElementsAre("0|||2|a, m|NFS", "0|||1|m|NFS"));
  EXPECT_THAT(collected({far, other, near}), nearFirst);
  EXPECT_THAT(collected({near, far, other}), nearFirst);
  EXPECT_THAT(collected({near, other, far}), nearFirst);
  EXPECT_THAT(collected({other, far, near}), nearFirst);
  EXPECT_THAT(collected({other, near, far}), nearFirst);
}

TEST_F(ServiceCollector, AppendsSortedAndFoldedAmongThemselvesOnly) {
  platform.services.answer({{1, "", "f", "second", "e", ZEVO_CURCONN_SSH},
                            {0, "", "f", "third", "e", ZEVO_CURCONN_SSH}});
  EXPECT_TRUE(SDKSessionListGet(out));
  EXPECT_THAT(lines(out),
              ElementsAre("1|t|first|f|d|SSH", "0||third|f|e|SSH", "1||second|f|e|SSH"));
}

TEST_F(ServiceCollector, EndsOnACircleOfNfsAndOtherRecords) {
  std::vector<Record> records;
  for (int i = 0; i < 300; ++i) {
    const bool nfs = i % 3 != 2;
    records.push_back({5, "", std::to_string(i % 7), "a",
                       std::string(1, static_cast<char>('a' + i % 11)), nfs ? kNfs : kCifs});
  }
  EXPECT_THAT(collected(records), ::testing::Not(IsEmpty()));
}

TEST_F(ServiceCollector, LeavesTheListAsItWasWhereMemoryRunsOut) {
  const std::string text(40, 'x');  // too long for a string without memory of its own
  const std::vector<Record> records = {{7, "1" + text, text, text, "b" + text, kCifs},
                                       {7, "2" + text, text, text, "a" + text, kCifs},
                                       {8, text, text, text, text, kCifs}};
  int failures = 0;
  for (bool failed = true; failed; ++failures) {
    failed = false;
    platform.services.answer(records);
    out.resize(1);
    try {
      const fakes::AllocationFailure failure(failures + 1);
      SDKSessionListGet(out);
    } catch (const std::bad_alloc&) {
      failed = true;
      EXPECT_EQ(out.size(), 1U) << failures;
    }
  }
  EXPECT_GT(failures, 20);
  EXPECT_EQ(out.size(), 3U);
}

}  // namespace
