// The module's names and processes of services against the host's table of them.
#include <gtest/gtest.h>

#include "host/service_table.h"
#include "module/enforce/kill_sessions_fixture.h"

namespace module_test {
namespace {

TEST(ServicesTest, TheModuleNamesEachTypeAsTheTableDoes) {
  for (int id = 0; id <= 20; ++id) {
    Session session;
    session.set_strType(id);
    EXPECT_EQ(session.type, zevo::serviceName(static_cast<ZEVO_CURCONN_TYPE>(id))) << id;
  }
}

using Kicks = KillSessions;

TEST_F(Kicks, ProcessesOfTheTableAreSignalledAndNoneWhereItNamesNone) {
  for (const zevo::ListedService& service : zevo::kListedServices) {
    const std::string type(service.name);
    EXPECT_FALSE(isSignalled(type, "another")) << type;
    if (service.process.empty()) continue;
    EXPECT_TRUE(isSignalled(type, std::string(service.process))) << type;
  }
}

// A login of the page is ended in the session file.
TEST_F(Kicks, WhatTheTableSaysCanBeEndedHasAProcessOrIsALoginOfThePage) {
  for (const zevo::ListedService& service : zevo::kListedServices) {
    EXPECT_EQ(service.whyNotEnded == nullptr,
              !service.process.empty() || service.id == ZEVO_CURCONN_HTTP);
    for (const char* name : {"smbd", "afpd", "ftpd", "sftpd", "sshd", "telnetd"}) {
      const std::string type(service.name);
      EXPECT_FALSE(service.process.empty() && isSignalled(type, name)) << type << ' ' << name;
    }
  }
}

}  // namespace
}  // namespace module_test
