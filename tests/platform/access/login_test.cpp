#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

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

}  // namespace
}  // namespace zevo::access
