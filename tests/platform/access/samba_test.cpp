#include "base/read_file.h"
#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

class SambaAccessTest : public ServicesTest {
 protected:
  SambaAccessTest() { run("smbd", "/usr/sbin/smbd --foreground"); }

  void configure(const std::string& obey, const std::string& security = "AUTO",
                 const std::string& role = "standalone server") {
    testparm("obey pam restrictions = " + obey + "\n\tsecurity = " + security +
             "\n\tserver role = " + role + "\n" + guests + "[media]\n\tsecurity = bogus\n" + media);
  }
  void testparm(const std::string& global) {
    program("usr/bin/testparm", "cat <<'E'\n[global]\n\t" + global + "\nE");
  }
  void entry(const std::string& flags) {
    program("usr/bin/pdbedit",
            "case $* in *--user=alice*) echo 'Unix username:        alice'; echo 'Account Flags:  "
            "      [" +
                flags + "]';; *) echo alice:1001:; echo bob:1002:;; esac");
  }
  Result access(const std::string& account = "alice", AccessMoment moment = AccessMoment::kNow) {
    SambaDatabases databases({server().path(tool), {}}, {account});
    return sambaAccess(server(), account, moment, databases);
  }

  std::string tool = "/usr/bin/pdbedit";
  // Samba's defaults, and what [media] has.
  std::string guests =
      "\tguest account = nobody\n\trestrict anonymous = 0\n\tusershare allow guests = No\n"
      "\tguest ok = No\n";
  std::string media;
};

TEST_F(SambaAccessTest, IsLeftOutWhereItDoesNotRun) {
  tree.remove(100);
  configure("No");
  entry("U");
  EXPECT_EQ(access(), std::nullopt);
}

TEST_F(SambaAccessTest, AsksOnlyItsOwnDatabase) {
  configure("No");
  entry("U          ");
  EXPECT_EQ(access(),
            (ServiceAccess{
                "samba", Access::kLetIn, "samba-database", "disable-in-samba", {{"file", ""}}}));
}

TEST_F(SambaAccessTest, RefusesWhereItsOwnEntryIsDisabledOrMissing) {
  configure("No");
  entry("DU         ");
  EXPECT_EQ(access(), refused("samba", "samba-disabled"));
  EXPECT_EQ(access("carol"), refused("samba", "no-samba-entry"));
}

TEST_F(SambaAccessTest, TheUsualEntryWillBeDisabledWithTheAccount) {
  configure("No");
  entry("U");
  EXPECT_EQ(access("alice", AccessMoment::kOnceDisabled), refused("samba", "samba-disabled"));
  run("smbd", "/usr/sbin/smbd --foreground --configfile=/srv/smb.conf");
  EXPECT_EQ(access("alice", AccessMoment::kOnceDisabled),
            (ServiceAccess{"samba",
                           Access::kLetIn,
                           "samba-database",
                           "disable-in-samba",
                           {{"file", "/srv/smb.conf"}}}));
}

TEST_F(SambaAccessTest, AsksPamWhereItIsToldTo) {
  configure("Yes");
  entry("U");
  EXPECT_EQ(access(), refusedByRules("samba", "samba"));
  tree.file("etc/pam.d/samba", "account required pam_permit.so\n");
  EXPECT_EQ(access(), passedByRules("samba", "samba"));
}

TEST_F(SambaAccessTest, GuestsComeInAsTheirAccountWhateverItsEntry) {
  configure("Yes");
  entry("DU");
  EXPECT_EQ(access("nobody", AccessMoment::kOnceDisabled),
            anonymous("samba", "restrict anonymous = 0"));
  EXPECT_EQ(access()->reason, "samba-disabled");
  configure("No", "ADS", "member server");
  EXPECT_EQ(access("nobody"), anonymous("samba", "restrict anonymous = 0"));
  // Samba looks up the name in lower case first.
  guests = "guest account = Alice\nrestrict anonymous = 1\nusershare allow guests = Yes\n";
  media = "\tguest ok = Yes\n";
  configure("Yes");
  EXPECT_EQ(
      access(),
      anonymous("samba", "restrict anonymous = 1, guest ok = yes, usershare allow guests = yes"));
}

TEST_F(SambaAccessTest, RefusesTheAccountOfGuestsThatItRefuses) {
  entry("DU");
  guests = "guest account = nobody\nrestrict anonymous = 2\nusershare allow guests = No\n";
  configure("No");
  EXPECT_EQ(access("nobody"), refused("samba", "no-samba-entry"));
  media = "\tguest ok = Yes\n";
  configure("No");
  EXPECT_EQ(access("nobody"), anonymous("samba", "guest ok = yes"));
}

TEST_F(SambaAccessTest, ADomainsAccountsAreUnknown) {
  entry("U");
  configure("No", "ADS", "member server");
  EXPECT_EQ(access(), unknown("samba", "domain-accounts", "disable-in-domain", "member server"));
  configure("No", "AUTO", "active directory domain controller");
  EXPECT_EQ(access()->reason, "domain-accounts");
}

TEST_F(SambaAccessTest, AskedWithTheFileOfTheRunningServer) {
  tree.remove(100);
  run("smbd", "/usr/sbin/smbd --foreground --configfile=/srv/smb.conf");
  program("usr/bin/testparm",
          "[ \"$3\" = /srv/smb.conf ] && cat <<'E'\n[global]\nsecurity = user\n"
          "server role = auto\nobey pam restrictions = No\nguest account = nobody\n"
          "restrict anonymous = 0\nE");
  program("usr/bin/pdbedit",
          "case $* in *--configfile=/srv/smb.conf*) echo 'Unix username: alice'; echo alice:1:; "
          "echo 'Account Flags: [DU]';; esac");
  EXPECT_EQ(access(), refused("samba", "samba-disabled"));
}

TEST_F(SambaAccessTest, AskedWithTheConfiguredTool) {
  configure("No");
  entry("U");
  tool = "/opt/samba/pdbedit";
  EXPECT_EQ(access()->reason, "not-read");
  program("opt/samba/pdbedit", "exec " + tree.folder() + "/usr/bin/pdbedit \"$@\"");
  EXPECT_EQ(access()->reason, "samba-database");
}

TEST_F(SambaAccessTest, ServersAndDatabasesAreReadOnceForManyAccounts) {
  configure("No");
  entry("U");
  const std::string log = tree.folder() + "/runs";
  for (const char* name : {"usr/bin/testparm", "usr/bin/pdbedit"}) {
    std::filesystem::rename(tree.folder() + "/" + name, tree.folder() + "/" + name + ".real");
    program(name, "echo \"$*\" >>" + log + "; exec \"$0.real\" \"$@\"");
  }
  const Server one(tree.folder());
  SambaDatabases databases({one.path(tool), {}}, {"alice", "carol"});
  EXPECT_EQ(sambaAccess(one, "alice", AccessMoment::kNow, databases)->reason, "samba-database");
  EXPECT_EQ(sambaAccess(one, "carol", AccessMoment::kNow, databases)->reason, "no-samba-entry");
  std::string runs;
  EXPECT_FALSE(readFile(log, 4096, &runs));
  EXPECT_EQ(runs, "--suppress-prompt --verbose\n--list\n--list --verbose --user=alice\n");
}

TEST_F(SambaAccessTest, ToolsThatFailLeaveItUnknown) {
  EXPECT_EQ(access()->reason, "not-read");
  configure("No");
  EXPECT_EQ(access()->reason, "not-read");
  program("usr/bin/pdbedit", "exit 1");
  EXPECT_EQ(access(),
            notRead("samba", "Samba's " + tree.folder() + "/usr/bin/pdbedit ended with status 1"));
  program("usr/bin/testparm", "echo '[global]'");
  EXPECT_EQ(access(), notRead("samba", "/usr/bin/testparm does not tell \"security\""));
}

}  // namespace
}  // namespace zevo::access
