#include "sdk/access/services.h"

#include <array>
#include <filesystem>
#include <ostream>

#include <gtest/gtest.h>

#include "platform/connections/proc_tree.h"

namespace zevo {

void PrintTo(const ServiceAccess& service, std::ostream* stream) {
  constexpr std::array<const char*, 3> kNames = {"refused", "let in", "unknown"};
  *stream << service.service << " " << kNames[static_cast<std::size_t>(service.access)] << " "
          << service.reason << " " << service.remedy;
  for (const auto& [name, value] : service.values) *stream << " " << name << "=" << value;
}

namespace access {
namespace {

using Result = std::optional<ServiceAccess>;

Result refusedByRules(const std::string& service, const std::string& pam) {
  return ServiceAccess{service, Access::kRefused, "account-rules", "", {{"pam", pam}}};
}

Result passedByRules(const std::string& service, const std::string& pam) {
  return ServiceAccess{service, Access::kLetIn, "rules-pass", "add-account-check", {{"pam", pam}}};
}

class ServicesTest : public ::testing::Test {
 protected:
  ServicesTest() {
    tree.file("etc/pam.d/other", "account required pam_unix.so\n");
    tree.file("etc/pam.d/open", "account required pam_permit.so\n");
  }

  void program(const std::string& path, const std::string& lines) {
    std::filesystem::permissions(tree.file(path, "#!/bin/sh\n" + lines + "\n"),
                                 std::filesystem::perms::owner_all);
  }
  void install(const std::string& path) { program(path, ""); }
  // A daemon of root's that shows `title`, blanks between its arguments.
  void run(const std::string& name, const std::string& title) {
    tree.add({.pid = nextPid++, .name = name, .cmdline = title});
  }
  [[nodiscard]] Server server() const { return Server(tree.folder()); }

  connections::test::ProcTree tree;
  pid_t nextPid = 100;
};

class OpensshTest : public ServicesTest {
 protected:
  // An sshd that knows the files of the test; it prints `settings` for all others.
  void sshd(const std::string& settings) {
    program("usr/sbin/sshd",
            "echo \"$*\" >>" + tree.folder() +
                "/arguments\n"
                "case $* in *'/open.conf '*) printf 'usepam yes\\npamservicename open\\n';;\n"
                "*'UsePAM=no '*) printf 'usepam no\\n';;\n"
                "*) printf '" +
                settings + "';; esac");
  }
  Result access() { return opensshAccess(server(), "alice"); }
};

TEST_F(OpensshTest, IsLeftOutWhereItIsNotInstalled) {
  EXPECT_EQ(access(), std::nullopt);
}

TEST_F(OpensshTest, AsksItsPamService) {
  sshd("port 22\\nusepam yes\\n");
  EXPECT_EQ(access(), refusedByRules("ssh", "sshd"));
  tree.file("etc/pam.d/sshd", "account required pam_permit.so\n");
  EXPECT_EQ(access(), passedByRules("ssh", "sshd"));
}

TEST_F(OpensshTest, TakesAnotherServicesNameFromNewerReleases) {
  sshd("usepam yes\\npamservicename open\\n");
  EXPECT_EQ(access(), passedByRules("ssh", "open"));
}

TEST_F(OpensshTest, WithoutPamItLooksAtTheExpiryItself) {
  sshd("usepam no\\n");
  EXPECT_EQ(access(), refused("ssh", "own-check"));
}

TEST_F(OpensshTest, AsksForTheAccountWithAllThatABlockMayMatch) {
  sshd("usepam no\\n");
  access();
  std::string arguments;
  std::string ignored;
  arguments = server().read("/arguments", &ignored).value_or("");
  EXPECT_EQ(arguments,
            "-T -C user=alice,host=localhost,addr=127.0.0.1,laddr=127.0.0.1,lport=22,rdomain=\n");
}

TEST_F(OpensshTest, OfSeveralListenersTheOneThatLetsInCounts) {
  sshd("usepam no\\n");
  run("sshd", "sshd: /usr/sbin/sshd -D [listener] 0 of 10-100 startups");
  run("sshd", "sshd: alice [priv]");
  EXPECT_EQ(access(), refused("ssh", "own-check"));
  run("sshd", "sshd: /usr/sbin/sshd -D -f /open.conf [listener] 0 of 10-100 startups");
  EXPECT_EQ(access(), passedByRules("ssh", "open"));
}

TEST_F(OpensshTest, TakesOptionsOfItsCommandLine) {
  sshd("usepam yes\\n");
  run("sshd", "sshd: /usr/sbin/sshd -oUsePAM=no [listener] 0 of 10-100 startups");
  EXPECT_EQ(access(), refused("ssh", "own-check"));
}

TEST_F(OpensshTest, ListenersOfUsersDoNotCount) {
  sshd("usepam no\\n");
  tree.add({.pid = 90,
            .name = "sshd",
            .cmdline = "sshd: /usr/sbin/sshd -f /open.conf [listener] 0 of 10-100 startups",
            .uid = 1001});
  EXPECT_EQ(access(), refused("ssh", "own-check"));
}

TEST_F(OpensshTest, AFailureIsUnknown) {
  program("usr/sbin/sshd", "exit 255");
  EXPECT_EQ(access(), notRead("ssh", "/usr/sbin/sshd ended with status 255"));
  sshd("port 22\\n");
  EXPECT_EQ(access(), notRead("ssh", "/usr/sbin/sshd does not tell UsePAM"));
}

class VsftpdTest : public ServicesTest {
 protected:
  Result access() { return vsftpdAccess(server()); }
};

TEST_F(VsftpdTest, IsLeftOutWhereItIsNotInstalled) {
  EXPECT_EQ(access(), std::nullopt);
}

TEST_F(VsftpdTest, AsksItsPamService) {
  install("usr/sbin/vsftpd");
  tree.file("etc/vsftpd.conf", "# ftp\nlocal_enable=YES\n");
  EXPECT_EQ(access(), refusedByRules("vsftpd", "ftp"));
  tree.file("etc/vsftpd.conf", "pam_service_name=other\nlocal_enable=YES\npam_service_name=open\n");
  EXPECT_EQ(access(), passedByRules("vsftpd", "open"));
}

TEST_F(VsftpdTest, WithoutLocalLoginsItRefuses) {
  install("usr/sbin/vsftpd");
  tree.file("etc/vsftpd.conf", "pam_service_name=open\nlocal_enable=NO\n");
  ServiceAccess expected = refused("vsftpd", "no-local-logins");
  expected.values["file"] = "/etc/vsftpd.conf";
  EXPECT_EQ(access(), expected);
}

TEST_F(VsftpdTest, GuestsMayBeUsersOfAnotherDatabase) {
  install("usr/sbin/vsftpd");
  tree.file("etc/vsftpd.conf", "pam_service_name=open\nguest_enable=YES\n");
  EXPECT_EQ(access(),
            unknown("vsftpd", "own-users", "remove-own-user", "guest_enable in /etc/vsftpd.conf"));
}

TEST_F(VsftpdTest, ARunningServerTellsItsFile) {
  tree.file("etc/vsftpd.conf", "local_enable=YES\n");
  tree.file("srv/ftp.conf", "local_enable=YES\npam_service_name=open\n");
  run("vsftpd", "/usr/sbin/vsftpd /srv/ftp.conf");
  EXPECT_EQ(access(), passedByRules("vsftpd", "open"));
}

TEST_F(VsftpdTest, AServerWithTitlesHasItsUsualFileWhereThatAsksForThem) {
  run("vsftpd", "vsftpd: LISTENER");
  tree.file("etc/vsftpd.conf", "local_enable=YES\nsetproctitle_enable=YES\n");
  EXPECT_EQ(access(), refusedByRules("vsftpd", "ftp"));
  tree.file("etc/vsftpd.conf", "local_enable=YES\n");
  EXPECT_EQ(access(), notRead("vsftpd", "it does not use /etc/vsftpd.conf"));
}

TEST_F(VsftpdTest, OptionsOfTheCommandLineAreNotRead) {
  tree.file("etc/vsftpd.conf", "local_enable=YES\n");
  run("vsftpd", "/usr/sbin/vsftpd -opam_service_name=open /etc/vsftpd.conf");
  EXPECT_EQ(access(), notRead("vsftpd", "it was started with -opam_service_name=open"));
}

class ProftpdTest : public ServicesTest {
 protected:
  Result access(const std::string& configuration) {
    install("usr/sbin/proftpd");
    tree.file("etc/proftpd/proftpd.conf", configuration);
    return proftpdAccess(server());
  }
};

TEST_F(ProftpdTest, IsLeftOutWhereItIsNotInstalled) {
  EXPECT_EQ(proftpdAccess(server()), std::nullopt);
}

TEST_F(ProftpdTest, LooksAtTheExpiryItself) {
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c\n"), refused("proftpd", "own-check"));
  EXPECT_EQ(access("AuthPAM off\n"), refused("proftpd", "own-check"));
}

TEST_F(ProftpdTest, AsksItsPamService) {
  EXPECT_EQ(access("AuthOrder mod_auth_pam.c*\n"), refusedByRules("proftpd", "proftpd"));
  EXPECT_EQ(access("AuthOrder mod_auth_pam.c\nAuthPAMConfig open\n"),
            passedByRules("proftpd", "open"));
}

TEST_F(ProftpdTest, WhomPamLetsInFirstIsIn) {
  EXPECT_EQ(access("AuthPAMConfig open # the usual order\n"), passedByRules("proftpd", "open"));
  EXPECT_EQ(access("AuthOrder mod_auth_pam.c* mod_auth_unix.c\nAuthPAMConfig open\n"),
            passedByRules("proftpd", "open"));
}

TEST_F(ProftpdTest, WhereItsChecksDifferItIsUnknown) {
  const Result result = access("AuthOrder mod_auth_unix.c mod_auth_pam.c\nAuthPAMConfig open\n");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->access, Access::kUnknown);
  EXPECT_EQ(result->reason, "rules-pass");
}

TEST_F(ProftpdTest, UsersOfItsOwnAreUnknown) {
  const Result own = unknown("proftpd", "own-users", "remove-own-user", "AuthUserFile");
  EXPECT_EQ(access("AuthPAM off\nAuthUserFile /etc/proftpd/users\n"), own);
  EXPECT_EQ(access("AuthOrder mod_auth_file.c\nAuthUserFile /etc/proftpd/users\n"), own);
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c\nAuthUserFile /etc/proftpd/users\n"),
            refused("proftpd", "own-check"));
}

TEST_F(ProftpdTest, ReadsWhatItIncludes) {
  tree.file("etc/proftpd/conf.d/a.conf", "AuthOrder mod_auth_pam.c\n");
  tree.file("etc/proftpd/conf.d/b.conf", "authpamconfig \"open\"\n");
  EXPECT_EQ(access("Include /etc/proftpd/conf.d/*.conf\n"), passedByRules("proftpd", "open"));
  EXPECT_EQ(access("Include /etc/proftpd/proftpd.conf\n"),
            notRead("proftpd", "/etc/proftpd/proftpd.conf is included too deeply"));
}

TEST_F(ProftpdTest, AVirtualHostMayHaveAnOrderOfItsOwn) {
  const Result result =
      access("AuthOrder mod_auth_unix.c\nAuthPAMConfig open\n<VirtualHost 10.0.0.1>\n");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->access, Access::kUnknown);
}

class PureFtpdTest : public ServicesTest {
 protected:
  Result access(const std::string& options) {
    install("usr/sbin/pure-ftpd");
    program("usr/sbin/pure-ftpd-wrapper", "echo " + options);
    return pureFtpdAccess(server());
  }
};

TEST_F(PureFtpdTest, IsLeftOutWhereItIsNotInstalled) {
  EXPECT_EQ(pureFtpdAccess(server()), std::nullopt);
}

TEST_F(PureFtpdTest, JudgesEachOfItsSources) {
  EXPECT_EQ(access("-l unix -E"), refused("pure-ftpd", "own-check"));
  EXPECT_EQ(access("-E"), refused("pure-ftpd", "own-check"));
  EXPECT_EQ(access("-l pam -E"), refusedByRules("pure-ftpd", "pure-ftpd"));
  EXPECT_EQ(access("-l unix -l puredb:/etc/users.pdb"),
            unknown("pure-ftpd", "own-users", "remove-own-user", "puredb:/etc/users.pdb"));
  tree.file("etc/pam.d/pure-ftpd", "account required pam_permit.so\n");
  EXPECT_EQ(access("-l pam"), passedByRules("pure-ftpd", "pure-ftpd"));
}

TEST_F(PureFtpdTest, WithoutWhatStartsItItIsUnknown) {
  install("usr/sbin/pure-ftpd");
  const Result result = pureFtpdAccess(server());
  ASSERT_TRUE(result);
  EXPECT_EQ(result->reason, "not-read");
}

class LoginAccessTest : public ServicesTest {};

TEST_F(LoginAccessTest, TheConsoleAndTelnetAskLoginsService) {
  EXPECT_EQ(consoleAccess(server()), std::nullopt);
  EXPECT_EQ(telnetAccess(server()), std::nullopt);
  install("bin/login");
  install("usr/sbin/telnetd");
  EXPECT_EQ(consoleAccess(server()), refusedByRules("console", "login"));
  EXPECT_EQ(telnetAccess(server()), refusedByRules("telnet", "login"));
  tree.file("etc/pam.d/remote", "account required pam_permit.so\n");
  EXPECT_EQ(consoleAccess(server()), refusedByRules("console", "login"));
  EXPECT_EQ(telnetAccess(server()), passedByRules("telnet", "remote"));
}

class SambaAccessTest : public ServicesTest {
 protected:
  SambaAccessTest() { run("smbd", "/usr/sbin/smbd --foreground"); }

  void configure(const std::string& obey, const std::string& security = "AUTO",
                 const std::string& role = "standalone server") {
    program("usr/bin/testparm", "cat <<'E'\n[global]\n\tobey pam restrictions = " + obey +
                                    "\n\tsecurity = " + security + "\n\tserver role = " + role +
                                    "\n[media]\n\tsecurity = bogus\nE");
  }
  void entry(const std::string& flags) {
    program("usr/bin/pdbedit",
            "case $* in *--user=alice*) echo 'Unix username:        alice'; echo 'Account Flags:  "
            "      [" +
                flags + "]';; *) echo alice:1001:; echo bob:1002:;; esac");
  }
  Result access(const std::string& account = "alice", AccessMoment moment = AccessMoment::kNow) {
    return sambaAccess(server(), account, moment, {tool, {}});
  }

  std::string tool = "/usr/bin/pdbedit";
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
          "server role = auto\nobey pam restrictions = No\nE");
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

class AfpAccessTest : public ServicesTest {
 protected:
  Result access(const std::string& configuration) {
    run("afpd", "/usr/sbin/afpd -d");
    tree.file("etc/netatalk/afp.conf", configuration);
    return afpAccess(server());
  }
  // A method whose file is a link to `target`.
  void method(const std::string& name, const std::string& target) {
    const std::string path = tree.file("usr/lib/x86_64-linux-gnu/netatalk/" + target, "");
    std::filesystem::create_symlink(target, std::filesystem::path(path).parent_path() / name);
  }
};

TEST_F(AfpAccessTest, IsLeftOutWhereItDoesNotRun) {
  EXPECT_EQ(afpAccess(server()), std::nullopt);
}

TEST_F(AfpAccessTest, AsksPamWhereItsMethodsDo) {
  method("uams_dhx.so", "uams_dhx_pam.so");
  method("uams_dhx2.so", "uams_dhx2_pam.so");
  EXPECT_EQ(access("[Global]\n"), refusedByRules("afp", "netatalk"));
  EXPECT_EQ(access("[Global]\nuam list = uams_guest.so, uams_dhx2_pam.so\n"),
            refusedByRules("afp", "netatalk"));
  tree.file("etc/pam.d/netatalk", "account required pam_permit.so\n");
  EXPECT_EQ(access("[Global]\nUAM List = uams_dhx2.so\n"), passedByRules("afp", "netatalk"));
}

TEST_F(AfpAccessTest, OtherMethodsAreUnknown) {
  method("uams_dhx2.so", "uams_dhx2_passwd.so");
  EXPECT_EQ(access("[Global]\nuam list = uams_dhx2.so\n[Homes]\nuam list = uams_guest.so\n"),
            unknown("afp", "other-check", "try-login", "uams_dhx2_passwd.so"));
  EXPECT_EQ(access("[Global]\nuam list = uams_gss.so\n"),
            unknown("afp", "other-check", "try-login", "uams_gss.so"));
}

TEST_F(AfpAccessTest, GuestsAloneAreNoAccount) {
  EXPECT_EQ(access("[Global]\nuam list = uams_guest.so\n")->reason, "no-local-logins");
}

TEST_F(AfpAccessTest, WithoutItsFileItIsUnknown) {
  run("afpd", "/usr/sbin/afpd -d");
  EXPECT_EQ(afpAccess(server())->reason, "not-read");
}

TEST_F(ServicesTest, ThePageRefusesWhereItsServiceIsThere) {
  EXPECT_EQ(pageAccess(server(), ""), std::nullopt);
  tree.file("etc/pam.d/currentconn", "account required pam_permit.so\n");
  EXPECT_EQ(pageAccess(server(), ""), refused("page", "own-check"));
  EXPECT_EQ(pageAccess(server(), "/srv/pam"), std::nullopt);
}

}  // namespace
}  // namespace access
}  // namespace zevo
