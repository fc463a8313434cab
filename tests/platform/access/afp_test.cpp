#include <filesystem>

#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

class AfpAccessTest : public ServicesTest {
 protected:
  Result access(const std::string& configuration, const std::string& account = "alice") {
    run("afpd", "/usr/sbin/afpd -d");
    tree.file("etc/netatalk/afp.conf", configuration);
    return afpAccess(server(), account);
  }
  // A method whose file is a link to `target`.
  void method(const std::string& name, const std::string& target) {
    const std::string path = tree.file("usr/lib/x86_64-linux-gnu/netatalk/" + target, "");
    std::filesystem::create_symlink(target, std::filesystem::path(path).parent_path() / name);
  }
};

TEST_F(AfpAccessTest, IsLeftOutWhereItDoesNotRun) {
  EXPECT_EQ(afpAccess(server(), "alice"), std::nullopt);
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

TEST_F(AfpAccessTest, GuestsHaveAnAccount) {
  const Result letIn = anonymous("afp", "uams_guest.so");
  const std::string guests = "[Global]\nuam list = uams_guest.so\n";
  EXPECT_EQ(access(guests, "nobody"), letIn);
  EXPECT_EQ(access(guests + "guest account = alice\n", "alice"), letIn);
  EXPECT_EQ(access(guests + "guest account = alice\n", "nobody")->reason, "no-local-logins");
}

TEST_F(AfpAccessTest, WithoutItsFileItIsUnknown) {
  run("afpd", "/usr/sbin/afpd -d");
  EXPECT_EQ(afpAccess(server(), "alice")->reason, "not-read");
}

}  // namespace
}  // namespace zevo::access
