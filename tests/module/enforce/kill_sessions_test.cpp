#include "enforce/kill_sessions.h"

#include <locale>

#include "module/enforce/kill_sessions_fixture.h"
#include "module/process.h"

namespace {

using module_test::KillSessions;
using module_test::of;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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

}  // namespace
