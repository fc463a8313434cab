#include "platform/access/services_fixture.h"

namespace zevo::access {
namespace {

class PureFtpdTest : public ServicesTest {
 protected:
  Result access(const std::string& options, const std::string& account = "alice") {
    install("usr/sbin/pure-ftpd");
    program("usr/sbin/pure-ftpd-wrapper", "echo " + options);
    return pureFtpdAccess(server(), account);
  }
};

TEST_F(PureFtpdTest, IsLeftOutWhereItIsNotInstalled) {
  EXPECT_EQ(pureFtpdAccess(server(), "alice"), std::nullopt);
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

TEST_F(PureFtpdTest, AnonymousUsersHaveAnAccount) {
  EXPECT_EQ(access("-l unix", "ftp"), anonymous("pure-ftpd", "NoAnonymous"));
  EXPECT_EQ(access("-l unix", "alice"), refused("pure-ftpd", "own-check"));
  EXPECT_EQ(access("-l unix -E", "ftp"), refused("pure-ftpd", "own-check"));
}

TEST_F(PureFtpdTest, OneOfSeveralServersMayHaveOtherOptions) {
  listen("pure-ftpd", "pure-ftpd (SERVER)", "0849");
  EXPECT_EQ(access("-l unix -E -S 127.0.0.1,2121"), refused("pure-ftpd", "own-check"));
  EXPECT_EQ(access("-l unix -E -S 127.0.0.1"),
            notRead("pure-ftpd", "it listens on port 2121, which is not in /etc/pure-ftpd"));
  listen("pure-ftpd", "pure-ftpd (SERVER)", "0849");
  EXPECT_EQ(access("-l unix -E -S ,2121"),
            notRead("pure-ftpd",
                    "several servers run, perhaps with other files than "
                    "/etc/pure-ftpd"));
}

TEST_F(PureFtpdTest, WithoutWhatStartsItItIsUnknown) {
  install("usr/sbin/pure-ftpd");
  const Result result = pureFtpdAccess(server(), "alice");
  ASSERT_TRUE(result);
  EXPECT_EQ(result->reason, "not-read");
}

}  // namespace
}  // namespace zevo::access
