#include "api/api_table.h"
#include "fakes/temporary_file.h"
#include "module/hostile_values.h"
#include "module/support.h"

namespace {

using fakes::Outcome;
using module_test::byAdministrator;
using module_test::kCifs;
using module_test::kWorkFailed;
using module_test::outcomeOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Outcome kDone = {0, Json::Value()};
const Outcome kNotAdministrator = {105, Json::Value()};
const Outcome kTooFewAdministrators = {7100, Json::Value()};

class Disable : public module_test::ModuleTest {
 protected:
  Disable() {
    platform.processes.onSleep = [](unsigned) { return 0U; };
    platform.processes.onKill = [](pid_t, int signal) { return signal == 0 ? ESRCH : 0; };
    platform.processes.onUnlink = [](const std::string&) { return 0; };
    platform.accounts.add("alice", 1001);
    platform.accounts.add("bob", 1002);
    platform.accounts.add("Alice", 1003);
    platform.accounts.add("", 1004);
  }

  // A call by the administrator "boss".
  ZEVO::RequestContext context(const std::string& users) {
    ZEVO::RequestContext made = byAdministrator(R"({"users": )" + users + "}");
    made.sessionFilePath = sessions_.path();
    return made;
  }

  Outcome disable(const std::string& users) {
    return outcomeOf(CurrentConnectionDisableUser, context(users), platform);
  }

  void scriptRegistry() {
    platform.services.answer({{900, "t", "10.0.0.1", "alice", "d", kCifs},
                              {901, "t", "10.0.0.2", "bob", "d", ZEVO_CURCONN_SSH},
                              {902, "t", "10.0.0.3", "alice", "d", ZEVO_CURCONN_SSH},
                              {903, "t", "10.0.0.4", "Alice", "d", kCifs}});
  }

  std::vector<std::string> kills() { return platform.calls.of({"kill"}); }
  std::vector<std::string> deletions() { return platform.calls.of({"VLIBCFileSetLine"}); }
  std::string deletionOf(const std::string& id) {
    return "VLIBCFileSetLine(" + sessions_.path() + ", \"" + id + "\", null, 0) as 0:0";
  }
  // What follows the account write.
  std::vector<std::string> ends() {
    return platform.calls.of({"ZEVOCurConnGet", "kill", "sleep", "ZevoCgiBeginCriticalSection"});
  }

  fakes::TemporaryFile sessions_{
      "10.0.0.1|alice|id1\n10.0.0.2|alice|id2\n10.0.0.1|bob|id3\n"
      "10.0.0.1|alice|id4|{\"hide\": true}\n"};
};

TEST_F(Disable, GoesItsStepsInOrder) {
  scriptRegistry();
  EXPECT_EQ(disable(R"(["alice"])"), kDone);
  EXPECT_THAT(
      platform.calls.of({"GetLoginUserName", "IsDemoMode", "IsAdmin", "GetAndCheckArray",
                         "ZEVOLocalAccountUserSet", "ZEVOCurConnGet", "VLIBCFileGetLine", "kill",
                         "sleep", "ZevoCgiBeginCriticalSection", "VLIBCFileSetLine", "unlink",
                         "VLIBCErrGet", "SetSuccess"}),
      ElementsAre(
          "GetLoginUserName()", "IsDemoMode()", "IsAdmin()", "GetAndCheckArray(users, 0, null)",
          "ZEVOLocalAccountUserSet(alice uid 1001 expires 1, 1) as 0:0", "ZEVOCurConnGet() as 0:0",
          "VLIBCFileGetLine(/proc/900/status, Name:, 1024, 2)", "kill(900, 15) as 0:0",
          "VLIBCFileGetLine(/proc/900/status/proc/902/status, Name:, 1024, 2)",
          "kill(902, 15) as 0:0", "sleep(1)", "kill(900, 0) as 0:0", "kill(902, 0) as 0:0",
          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0", deletionOf("id1"),
          "unlink(" + sessions_.path() + ".access.time/id1) as 0:0", deletionOf("id2"),
          "unlink(" + sessions_.path() + ".access.time/id2) as 0:0", "SetSuccess()"));
}

TEST_F(Disable, RefusesWhoIsNoAdministratorBeforeAnyWork) {
  EXPECT_EQ(outcomeOf(CurrentConnectionDisableUser,
                      module_test::byUser("bob", R"({"users": ["alice"]})"), platform),
            kNotAdministrator);
  EXPECT_THAT(platform.calls.all(),
              ElementsAre("GetLoginUserName()", "IsDemoMode()", "IsAdmin()", "SetError(105)"));
}

TEST_F(Disable, RefusesWhoIsNoAdministratorInDemoModeToo) {
  ZEVO::RequestContext demo = module_test::byUser("bob", R"({"users": ["alice"]})");
  demo.isDemoMode = true;
  ZEVO::APIRequest request(demo);
  ZEVO::APIResponse response;
  CurrentConnectionDisableUser(&request, &response);
  EXPECT_THAT(platform.outcomes, ElementsAre(kDone, kNotAdministrator));
}

TEST_F(Disable, WorksInDemoModeToo) {
  scriptRegistry();
  ZEVO::RequestContext demo = context(R"(["bob"])");
  demo.isDemoMode = true;
  ZEVO::APIRequest request(demo);
  ZEVO::APIResponse response;
  CurrentConnectionDisableUser(&request, &response);
  EXPECT_THAT(platform.outcomes, ElementsAre(kDone, kDone));
  EXPECT_THAT(kills(), Contains("kill(901, 15) as 0:0"));
}

TEST_F(Disable, ChangesNoAccountForNobodyAndSucceedsAfterASecond) {
  for (const char* users : {"[]", R"(["boss"])", R"(["a@b", "c\\d"])", "null", R"("alice")"}) {
    platform.calls.clear();
    scriptRegistry();
    EXPECT_EQ(disable(users), kDone) << users;
    EXPECT_THAT(platform.calls.of({"VLIBCMResultAlloc", "ZEVOUserGet", "ZEVOLocalAccountUserSet"}),
                IsEmpty())
        << users;
    EXPECT_THAT(ends(), ElementsAre("ZEVOCurConnGet() as 0:0", "sleep(1)",
                                    "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                                    "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0"))
        << users;
    EXPECT_THAT(deletions(), IsEmpty()) << users;
  }
}

TEST_F(Disable, SortsTheNamesAndTakesEachOnce) {
  scriptRegistry();
  EXPECT_EQ(disable(R"(["bob", "alice", "bob", "Alice", "bob", "alice"])"), kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOLocalAccountUserSet"}),
              ElementsAre("ZEVOLocalAccountUserSet(Alice uid 1003 expires 1, alice uid 1001 "
                          "expires 1, bob uid 1002 expires 1, 3) as 0:0"));
}

TEST_F(Disable, DisablesANameThatIsThereThreeTimesOnce) {
  scriptRegistry();
  EXPECT_EQ(disable(R"(["bob", "bob", "bob"])"), kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}), ElementsAre("ZEVOUserGet(bob)"));
  EXPECT_THAT(kills(), ElementsAre("kill(901, 15) as 0:0", "kill(901, 0) as 0:0"));
}

TEST_F(Disable, PassesOverTheCallerAndDirectoryAccounts) {
  scriptRegistry();
  EXPECT_EQ(disable(R"(["alice@dom", "boss", "dom\\bob", "alice", "@", "\\"])"), kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}), ElementsAre("ZEVOUserGet(alice)"));
}

TEST_F(Disable, TellsTheCallerByTheExactName) {
  platform.accounts.add("Boss", 1010);
  platform.accounts.add("bos", 1011);
  scriptRegistry();
  EXPECT_EQ(disable(R"(["Boss", "bos", "boss"])"), kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}),
              ElementsAre("ZEVOUserGet(Boss)", "ZEVOUserGet(bos)"));
}

TEST_F(Disable, DoesNotReachTheCallerByANameWithANul) {
  ZEVO::RequestContext made = context("[]");
  made.parameters["users"].append(std::string("boss\0x", 6));
  EXPECT_EQ(outcomeOf(CurrentConnectionDisableUser, made, platform), kWorkFailed);
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet", "ZEVOLocalAccountUserSet"}), IsEmpty());
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Disable, EndsNothingWhereOneNameIsUnknown) {
  platform.accounts.addUnknown("nobody");
  EXPECT_EQ(disable(R"(["alice", "nobody", "bob"])"), kWorkFailed);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d error error_system_busy",
                                         "main:566 error error_system_busy"}));
  EXPECT_THAT(platform.calls.of({"ZEVOLocalAccountUserSet"}), IsEmpty());
  EXPECT_THAT(ends(), IsEmpty());
}

TEST_F(Disable, AnswersItsOwnCodeWhereTooFewAdministratorsWouldBeLeft) {
  platform.refusals.refuse("ZEVOLocalAccountUserSet", 1, 0xDC00);
  EXPECT_EQ(disable(R"(["alice"])"), kTooFewAdministrators);
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Not enough valid admin",
                                         "main:560 Not enough valid admin"}));
  EXPECT_THAT(ends(), IsEmpty());
}

TEST_F(Disable, FailsWhereTheAccountWriteFailsOtherwise) {
  for (const int error : {0x200, 0x2A00, 0x8000, 0xDC01, 0xDBFF, -1}) {
    platform.refusals.refuse("ZEVOLocalAccountUserSet", 1, error);
    EXPECT_EQ(disable(R"(["alice"])"), kWorkFailed) << error;
    EXPECT_EQ(platform.systemLog.lines().back().text, "main:566 error error_system_busy") << error;
  }
  EXPECT_THAT(ends(), IsEmpty());
}

TEST_F(Disable, EndsTheUsersConnectionsByTheExactName) {
  scriptRegistry();
  EXPECT_EQ(disable(R"(["Alice"])"), kDone);
  EXPECT_THAT(kills(), ElementsAre("kill(903, 15) as 0:0", "kill(903, 0) as 0:0"));
  EXPECT_THAT(deletions(), IsEmpty());
}

TEST_F(Disable, EndsConnectionsOfUsersWhoAreNotListed) {
  platform.accounts.add("ghost", 123456);
  platform.services.answer({{905, "t", "10.0.0.5", "ghost", "d", kCifs}});
  EXPECT_EQ(disable(R"(["ghost"])"), kDone);
  EXPECT_THAT(kills(), Contains("kill(905, 15) as 0:0"));
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}), ElementsAre("ZEVOUserGet(ghost)"));
}

TEST_F(Disable, EndsAdminsConnectionsAsRoots) {
  platform.accounts.add("admin", 0);
  platform.services.answer({{905, "t", "10.0.0.5", "root", "d", ZEVO_CURCONN_SSH}});
  EXPECT_EQ(disable(R"(["admin"])"), kDone);
  EXPECT_THAT(kills(), Contains("kill(905, 15) as 0:0"));
}

TEST_F(Disable, KillsWhatIgnoresTheSignalAfterFivePasses) {
  platform.processes.onKill = [](pid_t, int) { return 0; };
  scriptRegistry();
  EXPECT_EQ(disable(R"(["bob"])"), kDone);
  EXPECT_EQ(platform.calls.of({"sleep"}).size(), 5U);
  EXPECT_EQ(kills().back(), "kill(901, 9) as 0:0");
}

TEST_F(Disable, EndsLoginsFromAnyAddressButHiddenOnes) {
  scriptRegistry();
  EXPECT_EQ(disable(R"(["bob", "alice"])"), kDone);
  EXPECT_THAT(deletions(), ElementsAre(deletionOf("id1"), deletionOf("id2"), deletionOf("id3")));
}

TEST_F(Disable, EndsLoginsAndFailsWhereTheRegistryCannotBeRead) {
  platform.services.answerWithoutBlock(-1);
  EXPECT_EQ(disable(R"(["bob"])"), kWorkFailed);
  EXPECT_THAT(platform.calls.of({"kill", "sleep"}), ElementsAre("sleep(1)"));
  EXPECT_THAT(deletions(), ElementsAre(deletionOf("id3")));
  EXPECT_THAT(platform.systemLog.texts(), ElementsAre("3 main:620 Failed to get current log."));
}

TEST_F(Disable, RemovesAlsoWhereTheSessionFileCannotBeReadToItsEnd) {
  const fakes::TemporaryFile torn("10.0.0.1|bob|id1\ntorn\n");
  scriptRegistry();
  ZEVO::RequestContext made = context(R"(["bob"])");
  made.sessionFilePath = torn.path();
  EXPECT_EQ(outcomeOf(CurrentConnectionDisableUser, made, platform), kWorkFailed);
  EXPECT_EQ(deletions().size(), 1U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Disable, FailsWhereALineCannotBeDeleted) {
  scriptRegistry();
  platform.refusals.refuse("VLIBCFileSetLine");
  EXPECT_EQ(disable(R"(["alice"])"), kWorkFailed);
  EXPECT_EQ(deletions().size(), 2U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Disable, TakesAnElementThatIsNoTextForAnEmptyName) {
  platform.accounts.addUnknown("");
  for (const char* users : {"[{}]", "[[]]", "[null]", R"([{"name": "alice"}])", R"([["alice"]])"}) {
    EXPECT_EQ(disable(users), kWorkFailed) << users;
  }
  EXPECT_THAT(platform.calls.of({"ZEVOLocalAccountUserSet"}), IsEmpty());
  EXPECT_EQ(platform.systemLog.lines().size(), 5U);
}

TEST_F(Disable, ConvertsWhatJsoncppConverts) {
  platform.accounts.add("42", 1042);
  platform.accounts.add("true", 1043);
  scriptRegistry();
  EXPECT_EQ(disable("[42, true]"), kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOUserGet"}),
              ElementsAre("ZEVOUserGet(42)", "ZEVOUserGet(true)"));
}

TEST_F(Disable, SurvivesEveryKindOfElement) {
  platform.accounts.addAnyUnknown();
  for (const Json::Value& value : module_test::hostileValues()) {
    ZEVO::RequestContext made = context("[]");
    made.parameters["users"].append(value);
    platform.services.answer({});
    const Outcome outcome = outcomeOf(CurrentConnectionDisableUser, made, platform);
    EXPECT_THAT(outcome.code, ::testing::AnyOf(0, 117)) << value.type();
    platform.services.forget();
  }
  EXPECT_THAT(kills(), IsEmpty());
  platform.systemLog.lines();
}

TEST_F(Disable, TakesTenThousandNames) {
  ZEVO::RequestContext made = context("[]");
  for (int i = 0; i < 10000; ++i) {
    const std::string name = "u" + std::to_string(i % 100);
    platform.accounts.add(name, 1000);
    made.parameters["users"].append(name);
  }
  platform.services.answer({});
  EXPECT_EQ(outcomeOf(CurrentConnectionDisableUser, made, platform), kDone);
  EXPECT_EQ(platform.calls.of({"ZEVOUserGet"}).size(), 100U);
}

}  // namespace
