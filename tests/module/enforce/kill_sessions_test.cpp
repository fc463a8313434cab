#include "enforce/kill_sessions.h"

#include <locale>

#include "module/process.h"
#include "module/support.h"

namespace {

using module_test::session;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Session of(std::uint32_t pid, const std::string& type) {
  return session(pid, "t", "alice", "f", "d", type);
}

class KillSessions : public module_test::ModuleTest {
 protected:
  KillSessions() {
    platform.processes.onKill = [](pid_t, int) { return 0; };
  }

  // The status file of process `pid` names it `name`.
  void addProcess(std::uint32_t pid, const std::string& name) {
    platform.keyedFiles.add("/proc/" + std::to_string(pid) + "/status", "Name:\t" + name);
  }

  std::vector<std::string> kills() { return platform.calls.of({"kill"}); }

  // Whether a process of this name is signalled for a session of this type.
  bool isSignalled(const std::string& type, const std::string& name) {
    addProcess(900, name);
    platform.calls.clear();
    SessionList list = {of(900, type)};
    KillServiceSessions(list, 15);
    return !kills().empty();
  }
};

TEST_F(KillSessions, ChecksTheNameAndThenSignals) {
  addProcess(900, "smbd");
  SessionList list = {of(900, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(
      platform.calls.steps(),
      ElementsAre("VLIBCFileGetLine(/proc/900/status, Name:, 1024, 2)", "kill(900, 15) as 0:0"));
}

TEST_F(KillSessions, SendsTheSignalThatItIsGiven) {
  addProcess(900, "smbd");
  SessionList list = {of(900, "CIFS")};
  KillServiceSessions(list, 9);
  EXPECT_THAT(kills(), ElementsAre("kill(900, 9) as 0:0"));
}

TEST_F(KillSessions, RaisesRightsForTheSignalAlone) {
  addProcess(900, "smbd");
  platform.ids.become(1000, 100);
  SessionList list = {of(900, "CIFS"), of(901, "CIFS")};
  KillServiceSessions(list, 15);
  const std::vector<std::string> enter = {"setresgid(-1, 0, -1)", "setresuid(-1, 0, -1)"};
  EXPECT_THAT(
      platform.calls.of({"VLIBCFileGetLine", "setresgid", "setresuid", "kill"}),
      ElementsAre("VLIBCFileGetLine(/proc/900/status, Name:, 1024, 2)", "setresgid(-1, 0, -1)",
                  "setresuid(-1, 0, -1)", "kill(900, 15) as 0:0", "setresuid(-1, 0, -1)",
                  "setresgid(-1, 100, -1)", "setresuid(-1, 1000, -1)",
                  "VLIBCFileGetLine(/proc/900/status/proc/901/status, Name:, 1024, 2)",
                  "setresgid(-1, 0, -1)", "setresuid(-1, 0, -1)", "kill(901, 15) as 0:0",
                  "setresuid(-1, 0, -1)", "setresgid(-1, 100, -1)", "setresuid(-1, 1000, -1)"));
  EXPECT_EQ(platform.systemLog.texts().size(), 6U);
}

TEST_F(KillSessions, SignalsWithoutRootAllTheSame) {
  addProcess(900, "smbd");
  platform.ids.become(1000, 100);
  platform.ids.refuse(1, EPERM);
  SessionList list = {of(900, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 1000:100"));
  EXPECT_THAT(platform.systemLog.texts(),
              ElementsAre("35 main:260 ERROR: setresgid(-1, 0, -1) [Operation not permitted]",
                          "35 main:260 ERROR: ENTERCriticalSection"));
}

TEST_F(KillSessions, IgnoresWhatKillAnswers) {
  platform.processes.onKill = [](pid_t, int) { return ESRCH; };
  SessionList list = {of(900, "CIFS"), of(901, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 0:0", "kill(901, 15) as 0:0"));
}

TEST_F(KillSessions, SignalsTheProcessesThatFitTheirService) {
  const std::vector<std::pair<std::string, std::string>> fitting = {
      {"CIFS", "smbd"},         {"CIFS", "smbd[10.0.0.1]"},
      {"AFP", "afpd"},          {"FTP", "vsftpd"},
      {"FTP", "ftpd"},          {"FTP", "proftpd"},
      {"TELNET", "in.telnetd"}, {"SSH", "sshd"},
      {"SSH", "sshd-session"},  {"SFTP", "internal-sftpd"},
      {"SFTP", "sftpd"}};
  for (const auto& [type, name] : fitting) EXPECT_TRUE(isSignalled(type, name)) << type << name;
}

TEST_F(KillSessions, LeavesProcessesThatDoNotFitAlone) {
  const std::vector<std::pair<std::string, std::string>> strangers = {
      {"CIFS", "bash"},          {"CIFS", "smb"},    {"CIFS", "SMBD"},       {"AFP", "smbd"},
      {"FTP", "afpd"},           {"FTP", "sshd"},    {"TELNET", "telnet"},   {"SSH", "ssh"},
      {"SSH", "sftp"},           {"SFTP", "sftp"},   {"SFTP", "bash"},       {"CIFS", ""},
      {"cifs", "smbd"},          {"LOGIN", "login"}, {"UNKNOWN", "UNKNOWN"}, {"", "smbd"},
      {"HTTP/HTTPS", "lighttpd"}};
  for (const auto& [type, name] : strangers) EXPECT_FALSE(isSignalled(type, name)) << type << name;
}

TEST_F(KillSessions, LooksForTheNameBehindTheKeyOnly) {
  platform.keyedFiles.add("/proc/900/status", "smbd:\tbash");
  SessionList list = {of(900, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_EQ(kills().size(), 0U);
  platform.keyedFiles.add("/proc/900/status", "Name:smbd");
  KillServiceSessions(list, 15);
  EXPECT_EQ(kills().size(), 1U);
}

TEST_F(KillSessions, SignalsWhateverTheTypeWhereTheStatusCannotBeRead) {
  for (const char* type : {"CIFS", "HTTP/HTTPS", "LOGIN", "SFTP", "UNKNOWN", ""}) {
    platform.calls.clear();
    SessionList list = {of(900, type)};
    KillServiceSessions(list, 15);
    EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 0:0")) << type;
  }
}

TEST_F(KillSessions, SignalsWhereTheStatusHasNoName) {
  platform.keyedFiles.add("/proc/900/status", "");
  SessionList list = {of(900, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_EQ(kills().size(), 1U);
}

TEST_F(KillSessions, NeverSignalsNfsNorLooksAtItsProcess) {
  SessionList list = {of(900, "NFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(platform.calls.all(), IsEmpty());
}

TEST_F(KillSessions, NeverSignalsWithoutAPidNorLooksAtAProcess) {
  SessionList list = {of(0, "CIFS"), of(0, "HTTP/HTTPS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(platform.calls.all(), IsEmpty());
}

TEST_F(KillSessions, DoesNothingForAnEmptyList) {
  SessionList list;
  KillServiceSessions(list, 15);
  EXPECT_THAT(platform.calls.all(), IsEmpty());
}

TEST_F(KillSessions, ThePathGrowsWithEachSessionThatIsNotPassedOver) {
  SessionList list = {of(0, "CIFS"),  of(900, "CIFS"), of(7, "NFS"),
                      of(901, "AFP"), of(0, "SSH"),    of(902, "FTP")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(
      platform.calls.of({"VLIBCFileGetLine"}),
      ElementsAre("VLIBCFileGetLine(/proc/900/status, Name:, 1024, 2)",
                  "VLIBCFileGetLine(/proc/900/status/proc/901/status, Name:, 1024, 2)",
                  "VLIBCFileGetLine(/proc/900/status/proc/901/status/proc/902/status, Name:, "
                  "1024, 2)"));
  EXPECT_THAT(kills(),
              ElementsAre("kill(900, 15) as 0:0", "kill(901, 15) as 0:0", "kill(902, 15) as 0:0"));
}

TEST_F(KillSessions, ThePathGrowsAlsoWithASessionThatIsNotSignalled) {
  addProcess(900, "bash");
  addProcess(901, "bash");
  SessionList list = {of(900, "CIFS"), of(901, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), ElementsAre("kill(901, 15) as 0:0"));
}

TEST_F(KillSessions, TheSecondSessionIsSignalledUnchecked) {
  addProcess(900, "smbd");
  addProcess(901, "bash");
  SessionList list = {of(900, "CIFS"), of(901, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), ElementsAre("kill(900, 15) as 0:0", "kill(901, 15) as 0:0"));
}

TEST_F(KillSessions, ChecksTheFirstSessionOfEachCall) {
  addProcess(900, "bash");
  SessionList list = {of(900, "CIFS")};
  KillServiceSessions(list, 15);
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), IsEmpty());
}

TEST_F(KillSessions, DoesNotChangeTheList) {
  SessionList list = {of(900, "CIFS"), of(0, "NFS")};
  const std::vector<std::string> before = module_test::lines(list);
  KillServiceSessions(list, 15);
  EXPECT_EQ(module_test::lines(list), before);
}

TEST_F(KillSessions, WritesPidsWithoutGroupingWhateverTheLocale) {
  struct Grouping : std::numpunct<char> {
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale(), new Grouping));
  SessionList list = {of(12345, "CIFS")};
  KillServiceSessions(list, 15);
  std::locale::global(before);
  EXPECT_THAT(platform.calls.of({"VLIBCFileGetLine"}),
              ElementsAre("VLIBCFileGetLine(/proc/12345/status, Name:, 1024, 2)"));
}

TEST_F(KillSessions, NeverSignalsEverybodyAGroupOrInit) {
  for (const std::uint32_t pid : {1U, 4194305U, 2147483648U, 4294967294U, 4294967295U}) {
    SessionList list = {of(pid, "CIFS")};
    KillServiceSessions(list, 15);
  }
  EXPECT_THAT(kills(), IsEmpty());
}

TEST_F(KillSessions, SignalsTheHighestPid) {
  SessionList list = {of(2, "CIFS"), of(4194304, "CIFS")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), ElementsAre("kill(2, 15) as 0:0", "kill(4194304, 15) as 0:0"));
}

// An SFTP session inside sshd, told by the title of its process.
class KillSftp : public KillSessions {
 protected:
  bool isSignalledFor(const module_test::Process& process) {
    addProcess(static_cast<std::uint32_t>(process.pid()), "sshd");
    SessionList list = {of(static_cast<std::uint32_t>(process.pid()), "SFTP")};
    KillServiceSessions(list, 15);
    return !kills().empty();
  }
};

TEST_F(KillSftp, SignalsAProcessWhoseTitleSaysInternalSftp) {
  EXPECT_TRUE(isSignalledFor(module_test::Process("sshd: bob@internal-sftp")));
}

TEST_F(KillSftp, LeavesALoginShellsProcessAlone) {
  EXPECT_FALSE(isSignalledFor(module_test::Process("sshd: bob@pts/0")));
}

TEST_F(KillSftp, LeavesOtherTitlesOfSshAlone) {
  for (const char* title : {"sshd: bob@internal", "sshd: bob@sftp", "sshd: bob@INTERNAL-SFTP"}) {
    EXPECT_FALSE(isSignalledFor(module_test::Process(title))) << title;
  }
}

TEST_F(KillSftp, LooksAtTheFirstArgumentOnly) {
  EXPECT_FALSE(isSignalledFor(module_test::Process("sshd: bob@pts/0", "internal-sftp")));
}

TEST_F(KillSftp, LooksAtTheFirstLineOfTheTitleOnly) {
  EXPECT_FALSE(isSignalledFor(module_test::Process("sshd: bob\ninternal-sftp")));
}

TEST_F(KillSftp, DoesNotLookAtTheTitleWhereTheNameSaysSftpd) {
  addProcess(4194304, "sftpd");
  SessionList list = {of(4194304, "SFTP")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), ElementsAre("kill(4194304, 15) as 0:0"));
}

TEST_F(KillSftp, LogsATitleThatCannotBeOpened) {
  addProcess(4194304, "sshd");
  SessionList list = {of(4194304, "SFTP")};
  KillServiceSessions(list, 15);
  EXPECT_THAT(kills(), IsEmpty());
  EXPECT_THAT(platform.systemLog.lines(),
              ElementsAre(fakes::LogLine{3, "%s:%d Failed to fopen [%s]. err=%m",
                                         "main:280 Failed to fopen [/proc/4194304/cmdline]. "
                                         "err=No such file or directory"}));
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx"}), ElementsAre("VLIBCErrSetEx(2304)"));
}

TEST_F(KillSftp, LogsATitleThatCannotBeRead) {
  module_test::Process process("sshd: bob@internal-sftp");
  process.end();  // a process that nobody waited for has no title any more
  EXPECT_FALSE(isSignalledFor(process));
  ASSERT_EQ(platform.systemLog.lines().size(), 1U);
  EXPECT_EQ(platform.systemLog.lines()[0].priority, 3);
  EXPECT_EQ(platform.systemLog.lines()[0].format, "%s:%d Failed to getline. err=%m");
  EXPECT_THAT(platform.calls.of({"VLIBCErrSetEx"}), IsEmpty());
}

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
