#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

TEST_F(ServicesTest, ThePageRefusesWhereItsServiceIsThere) {
  EXPECT_EQ(pageAccess(server(), ""), std::nullopt);
  tree.file("etc/pam.d/currentconn", "account required pam_permit.so\n");
  EXPECT_EQ(pageAccess(server(), ""), refused("page", "own-check"));
  EXPECT_EQ(pageAccess(server(), "/srv/pam"), std::nullopt);
}

}  // namespace
}  // namespace zevo::access
