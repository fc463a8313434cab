#include "api/api_table.h"
#include "fakes/temporary_file.h"
#include "module/hostile_values.h"
#include "module/support.h"

namespace {

using fakes::Outcome;
using module_test::byAdministrator;
using module_test::json;
using module_test::kCifs;
using module_test::kWorkFailed;
using module_test::outcomeOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

const Outcome kDone = {0, Json::Value()};
const Outcome kNotAdministrator = {105, Json::Value()};

class Kick : public module_test::ModuleTest {
 protected:
  Kick() {
    platform.processes.onSleep = [](unsigned) { return 0U; };
    platform.processes.onKill = [](pid_t, int signal) { return signal == 0 ? ESRCH : 0; };
    platform.processes.onUnlink = [](const std::string&) { return 0; };
    for (const char* name : {"alice", "bob"}) platform.accounts.add(name, 1000);
    platform.accounts.add("ghost", 123456);
  }

  ZEVO::RequestContext context(const std::string& parameters) {
    ZEVO::RequestContext made = byAdministrator(parameters);
    made.sessionFilePath = sessions_.path();
    return made;
  }

  Outcome kick(const std::string& parameters) {
    return outcomeOf(CurrentConnectionKickConnection, context(parameters), platform);
  }

  // The registry knows alice's and bob's and a ghost's connection.
  void scriptRegistry() {
    platform.services.answer({{900, "t", "10.0.0.1", "alice", "d", kCifs},
                              {901, "t", "10.0.0.2", "bob", "d", ZEVO_CURCONN_SSH},
                              {902, "t", "10.0.0.3", "ghost", "d", kCifs}});
  }

  std::vector<std::string> kills() { return platform.calls.of({"kill"}); }

  fakes::TemporaryFile sessions_{"10.0.0.1|alice|id1\n10.0.0.2|alice|id2\n10.0.0.1|bob|id3\n"};
};

constexpr const char* kAlice =
    R"({"pid": 900, "type": "CIFS", "who": "alice", "from": "10.0.0.1"})";

std::string services(const std::string& elements) {
  return R"({"service_conn": [)" + elements + "]}";
}

std::string logins(const std::string& elements) {
  return R"({"http_conn": [)" + elements + "]}";
}

TEST_F(Kick, GoesItsStepsInOrder) {
  scriptRegistry();
  EXPECT_EQ(kick(R"({"service_conn": [)" + std::string(kAlice) +
                 R"(], "http_conn": [{"from": "10.0.0.2", "who": "alice"}]})"),
            kDone);
  EXPECT_THAT(
      platform.calls.of({"IsDemoMode", "IsAdmin", "GetAndCheckArray", "ZEVOCurConnGet",
                         "ZEVOUserGet", "VLIBCFileGetLine", "kill", "sleep",
                         "ZevoCgiBeginCriticalSection", "ZevoCgiJsonRecordInit", "VLIBCFileSetLine",
                         "unlink", "ZevoCgiEndCriticalSection", "SetSuccess"}),
      ElementsAre(
          "IsDemoMode()", "IsAdmin()", "GetAndCheckArray(service_conn, 0, null)",
          "GetAndCheckArray(http_conn, 0, null)", "ZEVOCurConnGet() as 0:0", "ZEVOUserGet(alice)",
          "VLIBCFileGetLine(/proc/900/status, Name:, 1024, 2)", "kill(900, 15) as 0:0", "sleep(1)",
          "kill(900, 0) as 0:0", "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
          "ZevoCgiJsonRecordInit(10.0.0.1|alice|id1)", "ZevoCgiJsonRecordInit(10.0.0.2|alice|id2)",
          "ZevoCgiJsonRecordInit(10.0.0.1|bob|id3)", "ZevoCgiEndCriticalSection() as 0:0",
          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
          "VLIBCFileSetLine(" + sessions_.path() + ", \"id2\", null, 0) as 0:0",
          "unlink(" + sessions_.path() + ".access.time/id2) as 0:0",
          "ZevoCgiEndCriticalSection() as 0:0", "SetSuccess()"));
}

TEST_F(Kick, RefusesWhoIsNoAdministratorBeforeAnyWork) {
  EXPECT_EQ(outcomeOf(CurrentConnectionKickConnection,
                      module_test::byUser("alice", services(kAlice)), platform),
            kNotAdministrator);
  EXPECT_THAT(platform.calls.all(), ElementsAre("IsDemoMode()", "IsAdmin()", "SetError(105)"));
}

TEST_F(Kick, WorksInDemoModeToo) {
  scriptRegistry();
  ZEVO::RequestContext demo = context(services(kAlice));
  demo.isDemoMode = true;
  ZEVO::APIRequest request(demo);
  ZEVO::APIResponse response;
  CurrentConnectionKickConnection(&request, &response);
  EXPECT_THAT(platform.outcomes, ElementsAre(kDone, kDone));
  EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 0:0", "kill(900, 0) as 0:0"));
}

TEST_F(Kick, ReplacesTheSuccessOfDemoModeByAFailure) {
  platform.services.answerWithoutBlock(-1);
  ZEVO::RequestContext demo = context(services(kAlice));
  demo.isDemoMode = true;
  ZEVO::APIRequest request(demo);
  ZEVO::APIResponse response;
  CurrentConnectionKickConnection(&request, &response);
  EXPECT_THAT(platform.outcomes, ElementsAre(kDone, kWorkFailed));
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Kick, RefusesWhoIsNoAdministratorInDemoModeToo) {
  ZEVO::RequestContext demo = module_test::byUser("alice", services(kAlice));
  demo.isDemoMode = true;
  ZEVO::APIRequest request(demo);
  ZEVO::APIResponse response;
  CurrentConnectionKickConnection(&request, &response);
  EXPECT_THAT(platform.outcomes, ElementsAre(kDone, kNotAdministrator));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("IsDemoMode()", "SetSuccess()", "IsAdmin()", "SetError(105)"));
}

TEST_F(Kick, OfNothingSucceedsAfterASecond) {
  EXPECT_EQ(kick("{}"), kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOCurConnGet", "ZEVOUserGet", "kill", "sleep",
                                 "ZevoCgiBeginCriticalSection", "VLIBCFileSetLine"}),
              ElementsAre("sleep(1)", "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0",
                          "ZevoCgiBeginCriticalSection(/run/lock, 60000) as 0:0"));
}

TEST_F(Kick, LeavesAConnectionAloneThatDiffersFromTheRegistrys) {
  const std::vector<std::string> strangers = {
      R"({"pid": 903, "type": "CIFS", "who": "alice", "from": "10.0.0.1"})",
      R"({"pid": 901, "type": "CIFS", "who": "alice", "from": "10.0.0.1"})",
      R"({"pid": 900, "type": "SSH", "who": "alice", "from": "10.0.0.1"})",
      R"({"pid": 900, "type": "CIFS", "who": "bob", "from": "10.0.0.1"})",
      R"({"pid": 900, "type": "CIFS", "who": "alice", "from": "10.0.0.2"})",
      R"({"pid": 900, "type": "cifs", "who": "alice", "from": "10.0.0.1"})"};
  for (const std::string& stranger : strangers) {
    scriptRegistry();
    EXPECT_EQ(kick(services(stranger)), kDone) << stranger;
    EXPECT_THAT(kills(), IsEmpty()) << stranger;
  }
}

TEST_F(Kick, IgnoresElementsWithoutPidTypeUserOrAddress) {
  EXPECT_EQ(kick(services(R"({"pid": 0, "type": "CIFS", "who": "alice", "from": "10.0.0.1"},
                             {"type": "CIFS", "who": "alice", "from": "10.0.0.1"},
                             {"pid": 900, "who": "alice", "from": "10.0.0.1"},
                             {"pid": 900, "type": "CIFS", "from": "10.0.0.1"},
                             {"pid": 900, "type": "CIFS", "who": "alice"}, {})")),
            kDone);
  EXPECT_THAT(platform.calls.of({"ZEVOCurConnGet", "kill"}), IsEmpty());
}

TEST_F(Kick, IgnoresOtherMembers) {
  scriptRegistry();
  EXPECT_EQ(kick(services(R"({"pid": 900, "type": "CIFS", "who": "alice", "from": "10.0.0.1",
                              "descr": "other", "time": [1], "can_be_kicked": false})")),
            kDone);
  EXPECT_THAT(kills(), Contains("kill(900, 15) as 0:0"));
}

TEST_F(Kick, SignalsAProcessTwiceThatIsNamedTwice) {
  scriptRegistry();
  EXPECT_EQ(kick(services(std::string(kAlice) + "," + kAlice)), kDone);
  EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 0:0", "kill(900, 15) as 0:0",
                                   "kill(900, 0) as 0:0", "kill(900, 0) as 0:0"));
}

TEST_F(Kick, LeavesHiddenUsersAlone) {
  scriptRegistry();
  EXPECT_EQ(kick(services(R"({"pid": 902, "type": "CIFS", "who": "ghost", "from": "10.0.0.3"})")),
            kDone);
  EXPECT_THAT(kills(), IsEmpty());
}

TEST_F(Kick, NeverSignalsNfs) {
  platform.services.answer({{904, "t", "10.0.0.4", "alice", "d", ZEVO_CURCONN_NFS}});
  EXPECT_EQ(kick(services(R"({"pid": 904, "type": "NFS", "who": "alice", "from": "10.0.0.4"})")),
            kDone);
  EXPECT_THAT(kills(), ElementsAre("kill(904, 0) as 0:0"));
}

TEST_F(Kick, KillsWhatIgnoresTheSignalAfterFivePasses) {
  platform.processes.onKill = [](pid_t, int) { return 0; };
  scriptRegistry();
  EXPECT_EQ(kick(services(kAlice)), kDone);
  EXPECT_EQ(platform.calls.of({"sleep"}).size(), 5U);
  EXPECT_EQ(kills().back(), "kill(900, 9) as 0:0");
}

TEST_F(Kick, EndsNothingAndFailsWhereTheRegistryCannotBeRead) {
  platform.services.answerWithoutBlock(-1);
  EXPECT_EQ(kick(R"({"service_conn": [)" + std::string(kAlice) +
                 R"(], "http_conn": [{"from": "10.0.0.2", "who": "alice"}]})"),
            kWorkFailed);
  EXPECT_THAT(platform.calls.of({"kill", "sleep"}), ElementsAre("sleep(1)"));
  EXPECT_EQ(platform.calls.of({"VLIBCFileSetLine"}).size(), 1U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Kick, EndsLoginsOfTheUserAtTheAddressOnly) {
  EXPECT_EQ(kick(logins(R"({"from": "10.0.0.1", "who": "alice"})")), kDone);
  EXPECT_THAT(platform.calls.of({"VLIBCFileSetLine"}),
              ElementsAre("VLIBCFileSetLine(" + sessions_.path() + ", \"id1\", null, 0) as 0:0"));
}

TEST_F(Kick, SucceedsForALoginThatNoLineHas) {
  EXPECT_EQ(kick(logins(R"({"from": "10.9.9.9", "who": "alice"}, {"from": "10.0.0.1"},
                           {"who": "alice"}, {})")),
            kDone);
  EXPECT_THAT(platform.calls.of({"VLIBCFileSetLine"}), IsEmpty());
}

TEST_F(Kick, RemovesAlsoWhereTheSessionFileCannotBeReadToItsEnd) {
  const fakes::TemporaryFile torn("10.0.0.1|alice|id1\ntorn\n");
  ZEVO::RequestContext made = context(logins(R"({"from": "10.0.0.1", "who": "alice"})"));
  made.sessionFilePath = torn.path();
  EXPECT_EQ(outcomeOf(CurrentConnectionKickConnection, made, platform), kWorkFailed);
  EXPECT_EQ(platform.calls.of({"VLIBCFileSetLine"}).size(), 1U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Kick, FailsWhereALineCannotBeDeleted) {
  platform.refusals.refuse("VLIBCFileSetLine");
  EXPECT_EQ(kick(logins(R"({"from": "10.0.0.1", "who": "alice"})")), kWorkFailed);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Kick, TriesToRemoveAlsoWhereTheReadersSectionIsNotEntered) {
  platform.refusals.refuse("ZevoCgiBeginCriticalSection");
  EXPECT_EQ(kick("{}"), kWorkFailed);
  EXPECT_EQ(platform.calls.of({"ZevoCgiBeginCriticalSection"}).size(), 2U);
  EXPECT_EQ(platform.systemLog.lines().size(), 1U);
}

TEST_F(Kick, FailsWhereTheRemoversSectionIsNotEntered) {
  platform.refusals.refuse("ZevoCgiBeginCriticalSection", 2);
  EXPECT_EQ(kick("{}"), kWorkFailed);
}

TEST_F(Kick, TakesParametersThatAreNoArraysForAbsent) {
  for (const char* parameters : {R"({"service_conn": {"0": {"pid": 900}}, "http_conn": "x"})",
                                 R"({"service_conn": null, "http_conn": 5})"}) {
    EXPECT_EQ(kick(parameters), kDone) << parameters;
  }
  EXPECT_THAT(platform.calls.of({"ZEVOCurConnGet", "VLIBCFileSetLine"}), IsEmpty());
}

TEST_F(Kick, ConvertsWhatJsoncppConverts) {
  platform.services.answer({{900, "t", "12", "1", "d", kCifs}});
  platform.accounts.add("1", 1000);
  EXPECT_EQ(kick(services(R"({"pid": 900.7, "type": "CIFS", "who": 1, "from": 12})")), kDone);
  EXPECT_THAT(kills(), Contains("kill(900, 15) as 0:0"));
}

TEST_F(Kick, TakesOtherPidsForNone) {
  for (const char* pid : {"-1", "-900", "4294967296", "18446744073709551615", "1e300", "-0.5",
                          "\"900\"", "\"abc\"", "null", "[900]", "{}", "false"}) {
    EXPECT_EQ(kick(services(R"({"type": "CIFS", "who": "alice", "from": "10.0.0.1", "pid": )" +
                            std::string(pid) + "}")),
              kDone)
        << pid;
  }
  EXPECT_THAT(platform.calls.of({"ZEVOCurConnGet", "kill"}), IsEmpty());
}

TEST_F(Kick, NeverSignalsEverybodyOrInitWhateverTheRegistrySays) {
  platform.services.answer({{-1, "t", "10.0.0.1", "alice", "d", kCifs},
                            {1, "t", "10.0.0.1", "alice", "d", kCifs},
                            {-900, "t", "10.0.0.1", "alice", "d", kCifs}});
  EXPECT_EQ(kick(services(
                R"({"pid": 4294967295, "type": "CIFS", "who": "alice", "from": "10.0.0.1"},
                   {"pid": 4294966396, "type": "CIFS", "who": "alice", "from": "10.0.0.1"},
                   {"pid": true, "type": "CIFS", "who": "alice", "from": "10.0.0.1"})")),
            kDone);
  EXPECT_THAT(kills(), IsEmpty());
}

TEST_F(Kick, SurvivesEveryKindOfElementAndMember) {
  const std::vector<Json::Value> values = module_test::hostileValues();
  ZEVO::RequestContext made = context("{}");
  for (const char* parameter : {"service_conn", "http_conn"}) {
    Json::Value& elements = made.parameters[parameter] = Json::Value(Json::arrayValue);
    for (const Json::Value& value : values) {
      elements.append(value);
      for (const char* key : {"pid", "type", "who", "from"}) {
        Json::Value element = json(kAlice);
        element[key] = value;
        elements.append(element);
      }
    }
  }
  platform.services.answer({});
  EXPECT_EQ(outcomeOf(CurrentConnectionKickConnection, made, platform), kDone);
  EXPECT_THAT(kills(), IsEmpty());
}

TEST_F(Kick, TellsANameWithANulFromTheRegistrys) {
  scriptRegistry();
  ZEVO::RequestContext made = context(services(kAlice));
  made.parameters["service_conn"][0]["who"] = std::string("alice\0x", 7);
  EXPECT_EQ(outcomeOf(CurrentConnectionKickConnection, made, platform), kDone);
  EXPECT_THAT(kills(), IsEmpty());
}

TEST_F(Kick, TakesTenThousandElements) {
  scriptRegistry();
  ZEVO::RequestContext made = context("{}");
  for (int i = 1; i <= 10000; ++i) {
    Json::Value element = json(kAlice);
    element["pid"] = i;
    made.parameters["service_conn"].append(element);
    made.parameters["http_conn"].append(element);
  }
  EXPECT_EQ(outcomeOf(CurrentConnectionKickConnection, made, platform), kDone);
  EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 0:0", "kill(900, 0) as 0:0"));
  EXPECT_EQ(platform.calls.of({"VLIBCFileSetLine"}).size(), 1U);
}

}  // namespace
