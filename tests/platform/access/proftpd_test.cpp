#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

class ProftpdTest : public ServicesTest {
 protected:
  ProftpdTest() { runOn("debian", "12"); }
  void runOn(const std::string& system, const std::string& release) {
    tree.file("etc/os-release", "NAME=x\nVERSION_ID=\"" + release + "\"\nID=" + system + "\n");
  }
  Result access(const std::string& configuration, const std::string& account = "alice") {
    install("usr/sbin/proftpd");
    tree.file("etc/proftpd/proftpd.conf", configuration);
    return proftpdAccess(server(), account);
  }
};

TEST_F(ProftpdTest, IsLeftOutWhereItIsNotInstalled) {
  EXPECT_EQ(proftpdAccess(server(), "alice"), std::nullopt);
}

TEST_F(ProftpdTest, LooksAtTheExpiryItself) {
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c\n"), refused("proftpd", "own-check"));
  EXPECT_EQ(access("AuthPAM off\n"), refused("proftpd", "own-check"));
}

TEST_F(ProftpdTest, DoesNotOnDebian13) {
  runOn("debian", "13");
  const Result letIn = ServiceAccess{
      "proftpd", Access::kLetIn, "expiry-ignored", "ask-pam-alone", {{"cause", "mod_auth_unix.c"}}};
  for (const char* order : {"AuthOrder mod_auth_unix.c\n", "AuthPAM off\n", "# the usual order\n",
                            "AuthOrder mod_auth_pam.c mod_auth_unix.c\n"})
    EXPECT_EQ(access(order), letIn) << order;
}

TEST_F(ProftpdTest, ThereWhatPamRefusesForGoodIsRefused) {
  runOn("debian", "13");
  const std::string order = "AuthOrder mod_auth_pam.c* mod_auth_unix.c\n";
  EXPECT_EQ(access(order), refusedByRules("proftpd", "proftpd"));
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c mod_auth_pam.c*\n"),
            refusedByRules("proftpd", "proftpd"));
  EXPECT_EQ(access(order + "AuthPAMConfig open\n"), passedByRules("proftpd", "open"));
  const Result onHost = access(order + "<VirtualHost 10.0.0.1>\n");
  ASSERT_TRUE(onHost);
  EXPECT_EQ(onHost->access, Access::kUnknown);
}

TEST_F(ProftpdTest, PamIsNotAskedAboutKeys) {
  const std::string order = "AuthOrder mod_auth_pam.c* mod_auth_unix.c\n";
  for (const char* directive : {"SFTPAuthorizedUserKeys", "SFTPAuthorizedHostKeys"}) {
    const std::string all = order + "SFTPEngine on\n" + directive + " file:~/.ssh/keys\n";
    const Result unchecked = unknown("proftpd", "keys-unchecked", "remove-keys", directive);
    runOn("debian", "12");
    EXPECT_EQ(access(all), refusedByRules("proftpd", "proftpd"));
    for (const auto& [system, release] : {std::pair{"debian", "13"}, {"another", "12"}}) {
      runOn(system, release);
      EXPECT_EQ(access(all), unchecked);
      EXPECT_EQ(access(order + "SFTPEngine on\n"), refusedByRules("proftpd", "proftpd"));
      EXPECT_EQ(access(all + "AuthPAMConfig open\n"), passedByRules("proftpd", "open"));
    }
  }
}

TEST_F(ProftpdTest, NothingIsAskedAboutCertificates) {
  for (const auto& [directive, cause] :
       {std::pair{"TLSUserName CommonName", "TLSUserName"},
        {"tlsoptions NoSessionReuseRequired AllowDotLogin", "AllowDotLogin"}}) {
    for (const char* order : {"", "AuthOrder mod_auth_pam.c* mod_auth_unix.c\n"}) {
      EXPECT_EQ(access(std::string(order) + directive + "\n"),
                unknown("proftpd", "keys-unchecked", "remove-keys", cause));
    }
  }
  EXPECT_EQ(access("TLSOptions NoSessionReuseRequired\n"), refusedByRules("proftpd", "proftpd"));
}

TEST_F(ProftpdTest, WhetherItDoesElsewhereIsNotKnown) {
  const Result notKnown = unknown("proftpd", "other-check", "try-login", "mod_auth_unix.c");
  for (const auto& [system, release] : {std::pair{"debian", "14"}, {"another", "12"}}) {
    runOn(system, release);
    EXPECT_EQ(access("AuthOrder mod_auth_unix.c\n"), notKnown) << system;
    EXPECT_EQ(access("AuthOrder mod_auth_pam.c*\n"), refusedByRules("proftpd", "proftpd"));
  }
  std::filesystem::remove(tree.folder() + "/etc/os-release");
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c\n"), notKnown);
}

TEST_F(ProftpdTest, AsksItsPamService) {
  EXPECT_EQ(access("AuthOrder mod_auth_pam.c*\n"), refusedByRules("proftpd", "proftpd"));
  EXPECT_EQ(access("AuthOrder mod_auth_pam.c\nAuthPAMConfig open\n"),
            passedByRules("proftpd", "open"));
}

TEST_F(ProftpdTest, WhomPamLetsInIsIn) {
  EXPECT_EQ(access("AuthPAMConfig open # the usual order\n"), passedByRules("proftpd", "open"));
  EXPECT_EQ(access("AuthOrder mod_auth_pam.c* mod_auth_unix.c\nAuthPAMConfig open\n"),
            passedByRules("proftpd", "open"));
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c mod_auth_pam.c\nAuthPAMConfig open\n"),
            passedByRules("proftpd", "open"));
}

TEST_F(ProftpdTest, UsersOfItsOwnAreUnknown) {
  const Result own = unknown("proftpd", "own-users", "remove-own-user", "AuthUserFile");
  EXPECT_EQ(access("AuthPAM off\nAuthUserFile /etc/proftpd/users\n"), own);
  EXPECT_EQ(access("AuthOrder mod_auth_file.c\nAuthUserFile /etc/proftpd/users\n"), own);
  EXPECT_EQ(access("AuthOrder mod_auth_unix.c\nAuthUserFile /etc/proftpd/users\n"),
            refused("proftpd", "own-check"));
}

TEST_F(ProftpdTest, AnonymousUsersHaveAnAccount) {
  const std::string section = "User nobody\nAuthPAM off\n<Anonymous ~ftp>\n  User ftp\n";
  const std::string end = "</Anonymous>\n";
  EXPECT_EQ(access(section + end, "ftp"), anonymous("proftpd", "<Anonymous>"));
  for (const char* other : {"alice", "nobody"})
    EXPECT_EQ(access(section + end, other), refused("proftpd", "own-check"));
  EXPECT_EQ(access(section + "AnonRequirePassword on\n" + end, "ftp"),
            refused("proftpd", "own-check"));
  EXPECT_EQ(access(section + "AnonRequirePassword off\n" + end, "ftp"),
            anonymous("proftpd", "<Anonymous>"));
  EXPECT_EQ(access("AuthPAM off\n<Anonymous ~ftp>\n" + end + "User ftp\n", "ftp"),
            refused("proftpd", "own-check"));
}

TEST_F(ProftpdTest, ReadsWhatItIncludes) {
  tree.file("etc/proftpd/conf.d/a.conf", "AuthOrder mod_auth_pam.c\n");
  tree.file("etc/proftpd/conf.d/b.conf", "authpamconfig \"open\"\n");
  EXPECT_EQ(access("Include /etc/proftpd/conf.d/*.conf\n"), passedByRules("proftpd", "open"));
  EXPECT_EQ(access("Include /etc/proftpd/conf.d/\n"), passedByRules("proftpd", "open"));
  EXPECT_EQ(access("Include /etc/proftpd/conf.d\n"), passedByRules("proftpd", "open"));
  EXPECT_EQ(access("Include /etc/proftpd/proftpd.conf\n"),
            notRead("proftpd", "/etc/proftpd/proftpd.conf is included too deeply"));
}

TEST_F(ProftpdTest, OneOfSeveralServersMayHaveAnotherFile) {
  const std::string title = "proftpd: (accepting connections)";
  listen("proftpd", title, "0015");
  run("proftpd", "proftpd: alice - 10.0.0.1: IDLE");
  EXPECT_EQ(access("AuthPAM off\n"), refused("proftpd", "own-check"));
  listen("proftpd", title, "0015");
  EXPECT_EQ(access("AuthPAM off\n"), notRead("proftpd",
                                             "several servers run, perhaps with other files than "
                                             "/etc/proftpd/proftpd.conf"));
}

TEST_F(ProftpdTest, AServerOnAnotherPortHasAnotherFile) {
  const Result another =
      notRead("proftpd", "it listens on port 2121, which is not in /etc/proftpd/proftpd.conf");
  listen("proftpd", "proftpd: (accepting connections)", "0849");
  EXPECT_EQ(access("AuthPAM off\n"), another);
  EXPECT_EQ(access("AuthPAM off\nPort 2222\n"), another);
  EXPECT_EQ(access("AuthPAM off\nPort 2121\n"), refused("proftpd", "own-check"));
}

TEST_F(ProftpdTest, AVirtualHostMayHaveAPortOfItsOwn) {
  const std::string host = "AuthPAM off\n<VirtualHost 10.0.0.1>\nPort 2121\n";
  listen("proftpd", "proftpd: (accepting connections)", "0015");
  EXPECT_EQ(access(host), refusedByRules("proftpd", "proftpd"));
}

TEST_F(ProftpdTest, AVirtualHostMayHaveAnOrderOfItsOwn) {
  const Result result =
      access("AuthOrder mod_auth_unix.c\nAuthPAMConfig open\n<VirtualHost 10.0.0.1>\n");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->access, Access::kUnknown);
}

}  // namespace
}  // namespace zevo::access
