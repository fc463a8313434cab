#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

class VsftpdTest : public ServicesTest {
 protected:
  Result access(const std::string& account = "alice") { return vsftpdAccess(server(), account); }
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

TEST_F(VsftpdTest, AnonymousUsersHaveAnAccount) {
  install("usr/sbin/vsftpd");
  const Result letIn = anonymous("vsftpd", "anonymous_enable in /etc/vsftpd.conf");
  tree.file("etc/vsftpd.conf", "local_enable=YES\n");
  EXPECT_EQ(access("ftp"), letIn);
  EXPECT_EQ(access("alice"), refusedByRules("vsftpd", "ftp"));
  tree.file("etc/vsftpd.conf", "local_enable=NO\nanonymous_enable=YES\nftp_username=alice\n");
  EXPECT_EQ(access("alice"), letIn);
  tree.file("etc/vsftpd.conf", "local_enable=YES\nanonymous_enable=NO\n");
  EXPECT_EQ(access("ftp"), refusedByRules("vsftpd", "ftp"));
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

TEST_F(VsftpdTest, OneOfSeveralServersWithTitlesMayHaveAnotherFile) {
  tree.file("etc/vsftpd.conf", "local_enable=YES\nsetproctitle_enable=YES\n");
  listen("vsftpd", "vsftpd: LISTENER", "0015");
  run("vsftpd", "vsftpd: 10.0.0.1: connected");
  EXPECT_EQ(access(), refusedByRules("vsftpd", "ftp"));
  listen("vsftpd", "vsftpd: LISTENER", "0015");
  EXPECT_EQ(access(), notRead("vsftpd",
                              "several servers run, perhaps with other files than "
                              "/etc/vsftpd.conf"));
}

TEST_F(VsftpdTest, AServerOnAnotherPortHasAnotherFile) {
  tree.file("etc/vsftpd.conf", "local_enable=YES\nsetproctitle_enable=YES\n");
  listen("vsftpd", "vsftpd: LISTENER", "0849");
  EXPECT_EQ(access(),
            notRead("vsftpd", "it listens on port 2121, which is not in /etc/vsftpd.conf"));
  tree.file("etc/vsftpd.conf", "local_enable=YES\nsetproctitle_enable=YES\nlisten_port=2121\n");
  EXPECT_EQ(access(), refusedByRules("vsftpd", "ftp"));
}

TEST_F(VsftpdTest, OptionsOfTheCommandLineAreNotRead) {
  tree.file("etc/vsftpd.conf", "local_enable=YES\n");
  run("vsftpd", "/usr/sbin/vsftpd -opam_service_name=open /etc/vsftpd.conf");
  EXPECT_EQ(access(), notRead("vsftpd", "it was started with -opam_service_name=open"));
}

}  // namespace
}  // namespace zevo::access
