#include "cli/commands/access_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/json.h"

namespace cli {
namespace {

using Lines = std::vector<std::string>;

const std::string kSamba = R"({"service":"samba","access":"let_in","reason":"samba-database",)"
                           R"("remedy":"disable-in-samba","values":{}})";
const std::string kOtherSamba = R"({"service":"samba","access":"let_in","reason":"samba-database",)"
                                R"("remedy":"disable-in-samba","values":{"file":"/srv/smb.conf"}})";
const std::string kFtp = R"({"service":"vsftpd","access":"let_in","reason":"rules-pass",)"
                         R"("remedy":"add-account-check","values":{"pam":"ftp"}})";
const std::string kProftpd = R"({"service":"proftpd","access":"unknown","reason":"own-users",)"
                             R"("remedy":"remove-own-user","values":{"cause":"AuthUserFile"}})";
const std::string kSsh = R"({"service":"ssh","access":"unknown","reason":"not-read",)"
                         R"("remedy":"try-login","values":{"cause":"/usr/sbin/sshd failed"}})";

Json::Value account(const std::string& access,
                    const std::string& left = R"({"processes":0,"apart":[]})") {
  return zevo::parseJson(R"({"user":"alice","access":[)" + access + R"(],"left_running":)" + left +
                         "}")
      .value_or(Json::Value());
}

Lines leftLines(const std::string& left, Tense tense = Tense::kPresent) {
  return accessLines(account("", left), tense);
}

TEST(AccessReport, NamesWhatLetsInWithReasonAndRemedy) {
  EXPECT_EQ(accessLines(account(kSamba + "," + kFtp), Tense::kPresent),
            (Lines{"Samba still lets alice in: it checks only its own database; disable it there "
                   "with: smbpasswd -d alice",
                   "vsftpd still lets alice in: the account rules of its PAM service ftp accept "
                   "expired accounts; make \"account required pam_unix.so\" its first account "
                   "rule, in /etc/pam.d/ftp"}));
  EXPECT_TRUE(isLetIn(account(kProftpd + "," + kSamba)));
}

TEST(AccessReport, NamesAnOwnCheckThatOverlooksTheExpiry) {
  const std::string own = R"({"service":"proftpd","access":"let_in","reason":"expiry-ignored",)"
                          R"("remedy":"ask-pam-alone","values":{"cause":"mod_auth_unix.c"}})";
  EXPECT_EQ(
      accessLines(account(own), Tense::kPresent),
      (Lines{
          "ProFTPD still lets alice in: its module mod_auth_unix.c accepts expired accounts; set "
          "\"AuthOrder mod_auth_pam.c* mod_auth_unix.c\" in its configuration and restart "
          "the service"}));
}

TEST(AccessReport, NamesKeysThatAreNotChecked) {
  const std::string keys = R"({"service":"proftpd","access":"unknown","reason":"keys-unchecked",)"
                           R"("remedy":"remove-keys","values":{"cause":"TLSUserName"}})";
  EXPECT_EQ(accessLines(account(keys), Tense::kPresent),
            (Lines{"note: ProFTPD may still let alice in: it accepts logins with a key or "
                   "certificate even if the account is disabled: TLSUserName; remove the keys and "
                   "certificates of alice there"}));
}

TEST(AccessReport, NamesAnonymousUsers) {
  const std::string users = R"({"service":"afp","access":"let_in","reason":"anonymous",)"
                            R"("remedy":"disable-anonymous","values":{"cause":"uams_guest.so"}})";
  EXPECT_EQ(accessLines(account(users), Tense::kPresent),
            (Lines{"AFP still lets alice in: anonymous users are logged in as this account: "
                   "uams_guest.so; disable anonymous logins in its configuration and restart the "
                   "service"}));
}

TEST(AccessReport, SaysBeforehandWhatWillBe) {
  EXPECT_EQ(accessLines(account(kSamba), Tense::kFuture),
            (Lines{"Samba will still let alice in: it checks only its own database; disable it "
                   "there with: smbpasswd -d alice"}));
}

TEST(AccessReport, NamesTheConfigurationOfAnotherSamba) {
  EXPECT_THAT(accessLines(account(kOtherSamba), Tense::kPresent).at(0),
              ::testing::EndsWith("with: smbpasswd -c /srv/smb.conf -d alice"));
}

TEST(AccessReport, ANoteSaysWhatIsNotKnown) {
  EXPECT_EQ(accessLines(account(kProftpd + "," + kSsh), Tense::kPresent),
            (Lines{"note: ProFTPD may still let alice in: it has its own users: AuthUserFile; "
                   "if alice is one of them, remove it there",
                   "note: SSH may still let alice in: /usr/sbin/sshd failed; try to log in as "
                   "alice"}));
  EXPECT_FALSE(isLetIn(account(kProftpd + "," + kSsh)));
}

TEST(AccessReport, CountsWhatStillRuns) {
  EXPECT_EQ(leftLines(R"({"uid":1002,"processes":3,"apart":[]})"),
            Lines{"3 processes of alice still run; end them with: pkill -KILL -U 1002 --ns 1 "
                  "--nslist pid"});
  EXPECT_EQ(leftLines(R"({"uid":1002,"processes":1,"apart":[]})", Tense::kFuture),
            Lines{"1 process of alice will still run; end it with: pkill -KILL -U 1002 --ns 1 "
                  "--nslist pid"});
  EXPECT_EQ(leftLines(R"({"uid":1002,"processes":3,"apart":[30,41]})"),
            Lines{"3 processes of alice still run; end them with: kill -KILL 30 41; "
                  "pkill -KILL -U 1002 --ns 1 --nslist pid"});
  EXPECT_EQ(leftLines(R"({"uid":1002,"processes":1,"apart":[30]})"),
            Lines{"1 process of alice still runs; end it with: kill -KILL 30"});
  EXPECT_EQ(leftLines(R"({"processes":0,"apart":[]})"), Lines{});
}

TEST(AccessReport, NamesWhatRunsLater) {
  EXPECT_EQ(leftLines(R"({"processes":0,"apart":[],"crontab":true,"at_jobs":2})"),
            (Lines{"alice has a crontab; remove it with: crontab -r -u alice",
                   "2 at jobs of alice are waiting; list all jobs with: atq"}));
}

TEST(AccessReport, QuotesNamesForTheShell) {
  Json::Value theirs =
      account(kSamba, R"({"uid":1002,"processes":1,"apart":[],"crontab":true,"at_jobs":0})");
  theirs["user"] = "o'neil $(reboot)";
  theirs["access"][0]["values"]["file"] = "/srv/our smb.conf";
  const std::string quoted = R"('o'\''neil $(reboot)')";
  const Lines lines = accessLines(theirs, Tense::kPresent);
  EXPECT_THAT(lines, ::testing::ElementsAre(
                         ::testing::EndsWith("smbpasswd -c '/srv/our smb.conf' -d " + quoted),
                         ::testing::EndsWith("pkill -KILL -U 1002 --ns 1 --nslist pid"),
                         ::testing::EndsWith("crontab -r -u " + quoted)));
}

}  // namespace
}  // namespace cli
