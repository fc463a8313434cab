#include "cli/commands/access_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace cli {
namespace {

using zevo::Access;
using zevo::ServiceAccess;
using Lines = std::vector<std::string>;

const ServiceAccess kSamba = {"samba", Access::kLetIn, "samba-database", "disable-in-samba", {}};
const ServiceAccess kFtp = {
    "vsftpd", Access::kLetIn, "rules-pass", "add-account-check", {{"pam", "ftp"}}};
const ServiceAccess kProftpd = {
    "proftpd", Access::kUnknown, "own-users", "remove-own-user", {{"cause", "AuthUserFile"}}};

TEST(AccessReport, NamesWhatLetsInWithReasonAndRemedy) {
  EXPECT_EQ(accessLines("alice", {kSamba, kFtp}, Tense::kPresent),
            (Lines{"Samba still lets alice in: it asks only its own database; disable it there "
                   "with: smbpasswd -d alice",
                   "vsftpd still lets alice in: the account rules of its PAM service ftp accept "
                   "expired accounts; make \"account required pam_unix.so\" its first account "
                   "rule, in /etc/pam.d/ftp"}));
  EXPECT_TRUE(isLetIn({kProftpd, kSamba}));
}

TEST(AccessReport, SaysBeforehandWhatWillBe) {
  EXPECT_EQ(accessLines("alice", {kSamba}, Tense::kFuture),
            (Lines{"Samba will still let alice in: it asks only its own database; disable it "
                   "there with: smbpasswd -d alice"}));
}

TEST(AccessReport, NamesTheConfigurationOfAnotherSamba) {
  ServiceAccess other = kSamba;
  other.values["file"] = "/srv/smb.conf";
  EXPECT_THAT(accessLines("alice", {other}, Tense::kPresent).at(0),
              ::testing::EndsWith("with: smbpasswd -c /srv/smb.conf -d alice"));
}

TEST(AccessReport, ANoteSaysWhatIsNotKnown) {
  const ServiceAccess ssh = {
      "ssh", Access::kUnknown, "not-read", "try-login", {{"cause", "/usr/sbin/sshd failed"}}};
  EXPECT_EQ(accessLines("alice", {kProftpd, ssh}, Tense::kPresent),
            (Lines{"note: ProFTPD may still let alice in: it has users of its own: AuthUserFile; "
                   "if alice is one of them, remove it there",
                   "note: SSH may still let alice in: /usr/sbin/sshd failed; try to log in as "
                   "alice"}));
  EXPECT_FALSE(isLetIn({kProftpd, ssh}));
}

TEST(AccessReport, IsSilentOnServicesThatRefuse) {
  const ServiceAccess ssh = {"ssh", Access::kRefused, "own-check", "", {}};
  EXPECT_EQ(accessLines("alice", {ssh}, Tense::kPresent), Lines{});
  EXPECT_FALSE(isLetIn({ssh}));
}

TEST(AccessReport, CountsWhatStillRuns) {
  EXPECT_EQ(leftRunningLines("alice", {.processes = 3}, Tense::kPresent),
            Lines{"3 processes of alice still run; end them with: pkill -KILL -U alice --ns 1 "
                  "--nslist pid"});
  EXPECT_EQ(
      leftRunningLines("alice", {.processes = 1}, Tense::kPresent),
      Lines{
          "1 process of alice still runs; end it with: pkill -KILL -U alice --ns 1 --nslist pid"});
  EXPECT_EQ(leftRunningLines("alice", {.processes = 1}, Tense::kFuture),
            Lines{"1 process of alice will still run; end it with: pkill -KILL -U alice --ns 1 "
                  "--nslist pid"});
  EXPECT_EQ(leftRunningLines("alice", {.processes = 3, .apart = {30, 41}}, Tense::kPresent),
            Lines{"3 processes of alice still run; end them with: kill -KILL 30 41; "
                  "pkill -KILL -U alice --ns 1 --nslist pid"});
  EXPECT_EQ(leftRunningLines("alice", {.processes = 1, .apart = {30}}, Tense::kPresent),
            Lines{"1 process of alice still runs; end it with: kill -KILL 30"});
  EXPECT_EQ(leftRunningLines("alice", {}, Tense::kPresent), Lines{});
}

TEST(AccessReport, NamesWhatRunsLater) {
  EXPECT_EQ(leftRunningLines("alice", {.hasCrontab = true, .atJobs = 2}, Tense::kPresent),
            (Lines{"alice has a crontab; remove it with: crontab -r -u alice",
                   "2 jobs of alice wait for at; list them all with: atq"}));
}

}  // namespace
}  // namespace cli
