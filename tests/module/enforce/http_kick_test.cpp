#include "enforce/http_kick.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "fakes/temporary_file.h"
#include "module/support.h"

namespace {

using module_test::byAdministrator;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Requests = std::list<HttpKickSession>;

HttpKickSession at(const std::string& user, const std::string& from) {
  return {false, user, from, {}};
}

HttpKickSession all(const std::string& user) {
  return {true, user, "", {}};
}

// "user@from: ids" of each request; an all-sessions request has "*" as its address.
std::vector<std::string> idsOf(const Requests& requests) {
  std::vector<std::string> texts;
  for (const HttpKickSession& request : requests) {
    std::string text = request.user + "@" + (request.allSessions ? "*" : request.from) + ":";
    for (const std::string& id : request.ids) text += " " + id;
    texts.push_back(text);
  }
  return texts;
}

class ReadLogins : public module_test::ModuleTest {
 protected:
  bool readPath(const std::string& path, Requests& requests) {
    ZEVO::RequestContext context = byAdministrator();
    context.sessionFilePath = path;
    ZEVO::APIRequest request(context);
    return ReadHttpKickSessions(&request, requests);
  }

  bool read(const std::string& content, Requests& requests) {
    const fakes::TemporaryFile file(content);
    path_ = file.path();
    return readPath(file.path(), requests);
  }

  std::string path_;
};

TEST_F(ReadLogins, FindsTheIdsInFileOrder) {
  Requests requests = {at("alice", "10.0.0.1"), at("bob", "10.0.0.2")};
  EXPECT_TRUE(read("10.0.0.1|alice|id1\n10.0.0.2|bob|id2\n10.0.0.1|alice|id3\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@10.0.0.1: id1 id3", "bob@10.0.0.2: id2"));
}

TEST_F(ReadLogins, GoesItsStepsInOrder) {
  Requests requests = {at("alice", "1")};
  EXPECT_TRUE(read("1|alice|id1\n2|bob|id2\n", requests));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("GetSessionFilePath()", "ZevoCgiInit(\"\")",
                          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                          "ZevoCgiJsonRecordInit(1|alice|id1)", "ZevoCgiJsonRecordParse(0, 0)",
                          "ZevoCgiJsonRecordGet(16, 4096)", "ZevoCgiJsonRecordInit(2|bob|id2)",
                          "json_object_put(record)", "ZevoCgiJsonRecordParse(0, 0)",
                          "ZevoCgiJsonRecordGet(16, 4096)", "json_object_put(record)",
                          "ZevoCgiEndCriticalSection() as 0:0"));
}

TEST_F(ReadLogins, ReadsAsRootUnderTheCriticalSection) {
  platform.ids.become(1000, 100);
  Requests requests;
  EXPECT_TRUE(read("", requests));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetSessionFilePath()", "ZevoCgiInit(\"\")", "setresgid(-1, 0, -1)",
                  "syslog(38, main:130 WARNING: setresgid(-1, 0, -1))", "setresuid(-1, 0, -1)",
                  "syslog(38, main:130 WARNING: setresuid(-1, 0, -1))",
                  "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                  "ZevoCgiEndCriticalSection() as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:180 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "setresuid(-1, 1000, -1)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 3U);
}

TEST_F(ReadLogins, GoesOnWithoutRoot) {
  platform.ids.become(1000, 100);
  platform.ids.refuse(1, EPERM);
  Requests requests = {all("alice")};
  EXPECT_TRUE(read("1|alice|id1\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: id1"));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("35 main:130 ERROR: setresgid(-1, 0, -1) [Operation not permitted]",
                          "35 main:130 ERROR: ENTERCriticalSection"));
}

TEST_F(ReadLogins, SucceedsWhereTheIdsAreNotRestored) {
  platform.ids.become(0, 100);
  platform.ids.refuse(2, EPERM);
  Requests requests;
  EXPECT_TRUE(read("", requests));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("38 main:130 WARNING: setresgid(-1, 0, -1)",
                          "35 main:180 ERROR: setresgid(-1, 100, -1) [Operation not permitted]",
                          "35 main:180 ERROR: LEAVECriticalSection"));
}

TEST_F(ReadLogins, FailsWithALogLineWhereTheSectionIsNotEntered) {
  platform.ids.become(0, 100);
  platform.refusals.refuse("ZevoCgiBeginCriticalSection");
  Requests requests = {all("alice")};
  EXPECT_FALSE(read("1|alice|id1\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*:"));
  EXPECT_EQ(platform.systemLog.lines()[1],
            (fakes::LogLine{3, "%s:%d Fail at ZevoCgiBeginCriticalSection",
                            "main:134 Fail at ZevoCgiBeginCriticalSection"}));
  EXPECT_EQ(platform.calls.steps().back(), "setresgid(-1, 100, -1)");
  EXPECT_THAT(platform.calls.of({"ZevoCgiEndCriticalSection"}), IsEmpty());
}

TEST_F(ReadLogins, FailsWithALogLineWhereTheFileCannotBeOpened) {
  Requests requests = {all("alice")};
  EXPECT_FALSE(readPath("/nonexistent/sessions", requests));
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Fail to open file %s",
                                         "main:140 Fail to open file /nonexistent/sessions"}));
  EXPECT_EQ(platform.calls.steps().back(), "ZevoCgiEndCriticalSection() as 0:0");
}

TEST_F(ReadLogins, FailsWithALogLineWhereTheFileIsNoneOrCannotBeRead) {
  const std::string pipe = testing::TempDir() + "pipe-" + std::to_string(getpid());
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::vector<std::string> lines;
  for (const std::string& path : {std::string("/proc/self"), pipe, std::string("/proc/self/mem")}) {
    Requests requests = {all("alice")};
    EXPECT_FALSE(readPath(path, requests)) << path;
    lines.push_back("3 main:140 Fail to open file " + path);
  }
  std::filesystem::remove(pipe);
  EXPECT_EQ(platform.systemLog.texts(), lines);
}

TEST_F(ReadLogins, ReadsTheWholeFileForNoRequest) {
  Requests requests;
  EXPECT_TRUE(read("1|alice|id1\n2|bob|id2\n", requests));
  EXPECT_EQ(platform.calls.of({"ZevoCgiJsonRecordInit"}).size(), 2U);
}

TEST_F(ReadLogins, SucceedsForAnEmptyFile) {
  Requests requests = {all("alice")};
  EXPECT_TRUE(read("", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*:"));
}

TEST_F(ReadLogins, TakesEveryAddressForAllSessionsAndOneAddressElse) {
  Requests requests = {all("alice"), at("bob", "1")};
  EXPECT_TRUE(read("1|alice|id1\n2|alice|id2\n1|bob|id3\n2|bob|id4\n|alice|id5\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: id1 id2 id5", "bob@1: id3"));
}

TEST_F(ReadLogins, ComparesUsersAndAddressesLetterByLetter) {
  Requests requests = {at("Alice", "1"), at("alice", "10"), at("alic", "1"), all("ALICE")};
  EXPECT_TRUE(read("1|alice|id1\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("Alice@1:", "alice@10:", "alic@1:", "ALICE@*:"));
}

TEST_F(ReadLogins, GivesALineToTheFirstRequestThatMatches) {
  Requests requests = {at("alice", "2"), at("alice", "1"), at("alice", "1"), all("alice")};
  EXPECT_TRUE(read("1|alice|id1\n2|alice|id2\n3|alice|id3\n1|alice|id4\n", requests));
  EXPECT_THAT(idsOf(requests),
              ElementsAre("alice@2: id2", "alice@1: id1 id4", "alice@1:", "alice@*: id3"));
}

TEST_F(ReadLogins, KeepsTheIdsThatARequestHasAlready) {
  Requests requests = {all("alice")};
  requests.front().ids = {"before"};
  EXPECT_TRUE(read("1|alice|id1\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: before id1"));
}

TEST_F(ReadLogins, NeverTakesAHiddenSession) {
  Requests requests = {all("alice")};
  EXPECT_TRUE(
      read("1|alice|hidden|{\"hide\": true}\n1|alice|shown|{\"hide\": false}\n"
           "1|alice|other|{\"hidden\": true}\n1|alice|nested|{\"a\": {\"hide\": true}}\n"
           "1|alice|nulled|{\"hide\": null}\n",
           requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: shown other nested nulled"));
}

TEST_F(ReadLogins, TakesASessionWhoseFlagsAreNoObject) {
  Requests requests = {all("alice")};
  EXPECT_TRUE(
      read("1|alice|a|\n1|alice|b|{\n1|alice|c|[true]\n1|alice|d|\"hide\"\n"
           "1|alice|e|true\n1|alice|f|null\n1|alice|g\n",
           requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: a b c d e f g"));
}

TEST_F(ReadLogins, StopsAtALineThatIsNoRecordAndKeepsWhatItFound) {
  Requests requests = {all("alice")};
  EXPECT_FALSE(read("1|alice|id1\nno record\n1|alice|id2\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: id1"));
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Session File %s format error",
                                         "main:150 Session File " + path_ + " format error"}));
  EXPECT_EQ(platform.calls.of({"ZevoCgiJsonRecordInit"}).size(), 2U);
  EXPECT_THAT(platform.calls.of({"json_object_put", "ZevoCgiEndCriticalSection"}),
              ElementsAre("json_object_put(record)", "ZevoCgiEndCriticalSection() as 0:0"));
}

TEST_F(ReadLogins, StopsAtARecordThatLacksAText) {
  Requests requests = {all("alice")};
  EXPECT_FALSE(read("1|alice|id1\n1|alice\n1|alice|id2\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: id1"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
  EXPECT_EQ(platform.calls.of({"json_object_put"}).size(), 2U);
}

TEST_F(ReadLogins, ReadsALineOf640CharactersWithItsBreakInOnePiece) {
  Requests requests = {all("alice")};
  const std::string id(631, 'x');
  EXPECT_TRUE(read("1|alice|" + id + "\n1|alice|id2\n", requests));
  EXPECT_THAT(idsOf(requests), ElementsAre("alice@*: " + id + " id2"));
}

TEST_F(ReadLogins, ReadsALongerLineInPieces) {
  Requests requests = {all("alice")};
  const std::string first = "1|alice|" + std::string(632, 'x');
  EXPECT_FALSE(read(first + "yy\n1|alice|id2\n", requests));
  EXPECT_THAT(platform.calls.of({"ZevoCgiJsonRecordInit"}),
              ElementsAre("ZevoCgiJsonRecordInit(" + first + ")", "ZevoCgiJsonRecordInit(yy)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

class RemoveLogins : public module_test::ModuleTest {
 protected:
  RemoveLogins() {
    platform.processes.onUnlink = [](const std::string&) { return 0; };
  }

  bool remove(const Requests& requests, const std::string& path = "/run/sessions") {
    ZEVO::RequestContext context = byAdministrator();
    context.sessionFilePath = path;
    ZEVO::APIRequest request(context);
    return RemoveHttpKickSessions(&request, requests);
  }

  static Requests withIds(std::list<std::string> ids) {
    return {{false, "alice", "1", std::move(ids)}};
  }
};

TEST_F(RemoveLogins, DeletesEachLineAndItsAccessTimeInOrder) {
  const Requests requests = {{true, "alice", "", {"id1", "id2"}}, {false, "bob", "1", {"id3"}}};
  EXPECT_TRUE(remove(requests));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("GetSessionFilePath()", "ZevoCgiInit(\"\")",
                          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                          "VLIBCFileSetLine(/run/sessions, \"id1\", null, 0) as 0:0",
                          "unlink(/run/sessions.access.time/id1) as 0:0",
                          "VLIBCFileSetLine(/run/sessions, \"id2\", null, 0) as 0:0",
                          "unlink(/run/sessions.access.time/id2) as 0:0",
                          "VLIBCFileSetLine(/run/sessions, \"id3\", null, 0) as 0:0",
                          "unlink(/run/sessions.access.time/id3) as 0:0",
                          "ZevoCgiEndCriticalSection() as 0:0"));
}

TEST_F(RemoveLogins, EntersAndLeavesTheSectionAlsoForNothing) {
  EXPECT_TRUE(remove({}));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("GetSessionFilePath()", "ZevoCgiInit(\"\")",
                          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                          "ZevoCgiEndCriticalSection() as 0:0"));
}

TEST_F(RemoveLogins, WorksAsRoot) {
  platform.ids.become(1000, 100);
  EXPECT_TRUE(remove(withIds({"id1"})));
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("GetSessionFilePath()", "ZevoCgiInit(\"\")", "setresgid(-1, 0, -1)",
                  "syslog(38, main:200 WARNING: setresgid(-1, 0, -1))", "setresuid(-1, 0, -1)",
                  "syslog(38, main:200 WARNING: setresuid(-1, 0, -1))",
                  "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                  "VLIBCFileSetLine(/run/sessions, \"id1\", null, 0) as 0:0",
                  "unlink(/run/sessions.access.time/id1) as 0:0",
                  "ZevoCgiEndCriticalSection() as 0:0", "setresuid(-1, 0, -1)",
                  "syslog(38, main:240 WARNING: setresuid(-1, 0, -1))", "setresgid(-1, 100, -1)",
                  "setresuid(-1, 1000, -1)"));
  EXPECT_EQ(platform.systemLog.lines().size(), 3U);
}

TEST_F(RemoveLogins, SucceedsWhereTheIdsAreNotRestored) {
  platform.ids.become(0, 100);
  platform.ids.refuse(2, EPERM);
  EXPECT_TRUE(remove(withIds({"id1"})));
  EXPECT_EQ(platform.calls.of({"VLIBCFileSetLine"}).size(), 1U);
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("38 main:200 WARNING: setresgid(-1, 0, -1)",
                          "35 main:240 ERROR: setresgid(-1, 100, -1) [Operation not permitted]",
                          "35 main:240 ERROR: LEAVECriticalSection"));
}

TEST_F(RemoveLogins, FailsWithoutALogLineWhereTheSectionIsNotEntered) {
  platform.refusals.refuse("ZevoCgiBeginCriticalSection");
  EXPECT_FALSE(remove(withIds({"id1"})));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("GetSessionFilePath()", "ZevoCgiInit(\"\")",
                          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0"));
}

TEST_F(RemoveLogins, GoesOnPastALineThatCannotBeDeleted) {
  platform.refusals.refuse("VLIBCFileSetLine", 2);
  EXPECT_FALSE(remove(withIds({"id1", "id2", "id3"})));
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Fail to write file %s",
                                         "main:220 Fail to write file /run/sessions"}));
  EXPECT_THAT(platform.calls.of({"unlink"}),
              ElementsAre("unlink(/run/sessions.access.time/id1) as 0:0",
                          "unlink(/run/sessions.access.time/id2) as 0:0",
                          "unlink(/run/sessions.access.time/id3) as 0:0"));
}

TEST_F(RemoveLogins, DoesNotMindAMissingAccessTime) {
  platform.processes.onUnlink = [](const std::string&) { return ENOENT; };
  EXPECT_TRUE(remove(withIds({"id1"})));
}

TEST_F(RemoveLogins, WritesIdsAsJsonStrings) {
  EXPECT_TRUE(remove(withIds({"a\"b\\c\n"})));
  EXPECT_THAT(platform.calls.of({"VLIBCFileSetLine", "unlink"}),
              ElementsAre("VLIBCFileSetLine(/run/sessions, \"a\\\"b\\\\c\\n\", null, 0) as 0:0",
                          "unlink(/run/sessions.access.time/a\\\"b\\\\c\\n) as 0:0"));
}

TEST_F(RemoveLogins, WritesAnEmptyIdAsAnEmptyString) {
  EXPECT_TRUE(remove(withIds({""})));
  EXPECT_THAT(platform.calls.of({"VLIBCFileSetLine", "unlink"}),
              ElementsAre("VLIBCFileSetLine(/run/sessions, \"\", null, 0) as 0:0",
                          "unlink(/run/sessions.access.time/) as 0:0"));
}

TEST_F(RemoveLogins, DeletesNoFileWhoseNameWouldBeCut) {
  const std::string path(4077, 'x');  // with ".access.time/" 4090 bytes; 4095 fit
  EXPECT_TRUE(remove(withIds({"12345"}), path));
  EXPECT_THAT(platform.calls.of({"unlink"}),
              ElementsAre("unlink(" + path + ".access.time/12345) as 0:0"));
  EXPECT_TRUE(remove(withIds({"123456"}), path));
  EXPECT_EQ(platform.calls.of({"unlink"}).size(), 1U);
}

}  // namespace
