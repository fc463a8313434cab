#include <cerrno>
#include <map>

#include "module/enforce/kill_sessions_fixture.h"

namespace {

using module_test::KillSessions;
using module_test::of;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class EndSessions : public KillSessions {
 protected:
  // From now on process `pid` lives through `seconds` of sleep; the others do not live.
  void keepAlive(pid_t pid, unsigned seconds) { lives_[pid] = seconds; }

  std::vector<std::string> ended(SessionList list) {
    unsigned slept = 0;
    platform.processes.onSleep = [&](unsigned) {
      ++slept;
      return 0U;
    };
    platform.processes.onKill = [&](pid_t pid, int) { return lives_[pid] > slept ? 0 : ESRCH; };
    EndServiceSessions(list);
    std::vector<std::string> pids;
    for (const Session& session : list) pids.push_back(std::to_string(session.pid));
    return pids;
  }

  std::map<pid_t, unsigned> lives_;
};

TEST_F(EndSessions, SleepsOnceForAnEmptyList) {
  EXPECT_THAT(ended({}), IsEmpty());
  EXPECT_THAT(platform.calls.all(), ElementsAre("sleep(1)"));
}

TEST_F(EndSessions, SleepsAndProbesOnceWhereTheProcessEndsAtOnce) {
  addProcess(900, "smbd");
  EXPECT_THAT(ended({of(900, "CIFS")}), ElementsAre("0"));
  EXPECT_THAT(platform.calls.steps(),
              ElementsAre("VLIBCFileGetLine(/proc/900/status, Name:, 1024, 2)",
                          "kill(900, 15) as 0:0", "sleep(1)", "kill(900, 0) as 0:0"));
}

TEST_F(EndSessions, ProbesWithoutRaisingRights) {
  platform.ids.become(1000, 0);
  ended({of(900, "CIFS")});
  EXPECT_THAT(platform.calls.of({"kill"}),
              ElementsAre("kill(900, 15) as 0:0", "kill(900, 0) as 1000:0"));
  EXPECT_EQ(platform.systemLog.lines().size(), 2U);
}

TEST_F(EndSessions, ProbesAProcessNoMoreThatIsGone) {
  keepAlive(901, 3);
  EXPECT_THAT(ended({of(900, "CIFS"), of(901, "CIFS")}), ElementsAre("0", "0"));
  EXPECT_THAT(platform.calls.of({"kill", "sleep"}),
              ElementsAre("kill(900, 15) as 0:0", "kill(901, 15) as 0:0", "sleep(1)",
                          "kill(900, 0) as 0:0", "kill(901, 0) as 0:0", "sleep(1)",
                          "kill(901, 0) as 0:0", "sleep(1)", "kill(901, 0) as 0:0"));
}

TEST_F(EndSessions, KillsAfterFivePassesAndNotBefore) {
  keepAlive(900, 100);
  EXPECT_THAT(ended({of(900, "CIFS")}), ElementsAre("900"));
  EXPECT_THAT(
      platform.calls.of({"kill", "sleep"}),
      ElementsAre("kill(900, 15) as 0:0", "sleep(1)", "kill(900, 0) as 0:0", "sleep(1)",
                  "kill(900, 0) as 0:0", "sleep(1)", "kill(900, 0) as 0:0", "sleep(1)",
                  "kill(900, 0) as 0:0", "sleep(1)", "kill(900, 0) as 0:0", "kill(900, 9) as 0:0"));
}

TEST_F(EndSessions, DoesNotKillWhatEndsInTheFifthPass) {
  keepAlive(900, 5);
  EXPECT_THAT(ended({of(900, "CIFS")}), ElementsAre("0"));
  const std::vector<std::string> calls = platform.calls.of({"kill", "sleep"});
  EXPECT_EQ(calls.size(), 11U);
  EXPECT_EQ(calls.back(), "kill(900, 0) as 0:0");
}

TEST_F(EndSessions, KillsOnlyWhatStillRuns) {
  keepAlive(901, 100);
  ended({of(900, "CIFS"), of(901, "CIFS"), of(902, "CIFS")});
  const std::vector<std::string> kills = platform.calls.of({"kill"});
  EXPECT_THAT(kills, ::testing::Contains("kill(901, 9) as 0:0"));
  EXPECT_THAT(kills, ::testing::Not(::testing::Contains("kill(900, 9) as 0:0")));
  EXPECT_THAT(kills, ::testing::Not(::testing::Contains("kill(902, 9) as 0:0")));
}

TEST_F(EndSessions, ChecksTheNameAgainBeforeItKills) {
  keepAlive(900, 100);
  addProcess(900, "smbd");
  SessionList list = {of(900, "CIFS")};
  platform.processes.onKill = [](pid_t, int) { return 0; };
  platform.processes.onSleep = [&](unsigned) {
    addProcess(900, "bash");
    return 0U;
  };
  EndServiceSessions(list);
  EXPECT_THAT(platform.calls.of({"kill"}),
              ::testing::Not(::testing::Contains("kill(900, 9) as 0:0")));
}

TEST_F(EndSessions, TakesAProcessThatMayNotBeProbedForGone) {
  SessionList list = {of(900, "CIFS")};
  platform.processes.onSleep = [](unsigned) { return 0U; };
  platform.processes.onKill = [](pid_t, int) { return EPERM; };
  EndServiceSessions(list);
  EXPECT_EQ(list.front().pid, 0U);
}

TEST_F(EndSessions, ProbesNfsButNeverSignalsIt) {
  keepAlive(900, 2);
  EXPECT_THAT(ended({of(900, "NFS")}), ElementsAre("0"));
  EXPECT_THAT(platform.calls.of({"kill", "sleep"}),
              ElementsAre("sleep(1)", "kill(900, 0) as 0:0", "sleep(1)", "kill(900, 0) as 0:0"));
}

TEST_F(EndSessions, NeverProbesEverybodyAGroupOrInit) {
  EXPECT_THAT(ended({of(1, "CIFS"), of(4294967295U, "CIFS"), of(2147483649U, "CIFS")}),
              ElementsAre("0", "0", "0"));
  EXPECT_THAT(platform.calls.of({"kill", "sleep"}), ElementsAre("sleep(1)"));
}

TEST_F(EndSessions, SleepsTheRestWhereASignalCutsASleepShort) {
  int sleeps = 0;
  platform.processes.onSleep = [&](unsigned seconds) { return ++sleeps < 3 ? seconds : 0U; };
  SessionList list;
  EndServiceSessions(list);
  EXPECT_THAT(platform.calls.all(), ElementsAre("sleep(1)", "sleep(1)", "sleep(1)"));
}

}  // namespace
