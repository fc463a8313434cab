#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

class LoginAccessTest : public ServicesTest {};

TEST_F(LoginAccessTest, TheConsoleAndTelnetAskLoginsService) {
  EXPECT_EQ(consoleAccess(server()), std::nullopt);
  EXPECT_EQ(telnetAccess(server()), std::nullopt);
  program("bin/login", "echo \"login: invalid option -- '-'\" >&2; exit 1");
  install("usr/sbin/telnetd");
  tree.file("etc/pam.d/remote", "account required pam_permit.so\n");
  EXPECT_EQ(consoleAccess(server()), refusedByRules("console", "login"));
  EXPECT_EQ(telnetAccess(server()), refusedByRules("telnet", "login"));
}

TEST_F(LoginAccessTest, TheLoginOfUtilLinuxHasAServiceForThoseFromElsewhere) {
  program("bin/login", "echo login from util-linux 2.41");
  install("usr/sbin/telnetd");
  tree.file("etc/pam.d/login", "account required pam_permit.so\n");
  EXPECT_EQ(consoleAccess(server()), passedByRules("console", "login"));
  EXPECT_EQ(telnetAccess(server()), refusedByRules("telnet", "remote"));
  tree.file("etc/pam.d/remote", "account required pam_permit.so\n");
  EXPECT_EQ(telnetAccess(server()), passedByRules("telnet", "remote"));
}

}  // namespace
}  // namespace zevo::access
