#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

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

TEST_F(OpensshTest, OneThatHangsIsNotAskedForTheNextAccount) {
  program("usr/sbin/sshd", "echo >>" + tree.folder() + "/runs; exec sleep 100");
  const Server hanging(tree.folder(), {.time = std::chrono::milliseconds(1000)});
  const Result unread = notRead("ssh", "/usr/sbin/sshd did not answer within 1 s");
  EXPECT_EQ(opensshAccess(hanging, "alice"), unread);
  EXPECT_EQ(opensshAccess(hanging, "carol"), unread);
  EXPECT_EQ(std::filesystem::file_size(tree.folder() + "/runs"), 1U);
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
  EXPECT_EQ(access(), notRead("ssh", "/usr/sbin/sshd does not report UsePAM"));
}

}  // namespace
}  // namespace zevo::access
