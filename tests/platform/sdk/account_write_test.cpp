#include "sdk/account_write.h"

#include <cerrno>
#include <filesystem>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error_trail.h"

#include "base/account_name.h"
#include "platform/base/failing_operations.h"
#include "platform/sdk/account_fixture.h"
#include "sdk/account_lock.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing_support::AccountFixture;
using testing_support::FailingOperations;
using testing_support::Operation;

class AccountWrite : public AccountFixture {
 protected:
  void expectRefusal(const std::vector<std::string>& names, int code) {
    VLIBCErrSetEx(ZEVO_ERR_NONE, "", 0);
    clearErrorTrail();
    EXPECT_EQ(disable(names), code);
    EXPECT_EQ(VLIBCErrGet(), code);
    EXPECT_THAT(errorTrail(), testing::SizeIs(1));
    EXPECT_EQ(shadow(), kShadow);
  }
};

TEST_F(AccountWrite, SetsTheDayOfExpiryAndNothingElse) {
  EXPECT_EQ(disable({"cid", "ben"}), ZEVO_ERR_NONE);
  EXPECT_EQ(shadow(),
            "root:$y$root:19000:0:99999:7:::\nann:$y$ann:19000:0:99999:7:::\nben:$y$ben:19000:0:"
            "99999:7::1:\n"
            "cid:$y$cid:19000:0:99999:7::1:\nweb:*:19000:0:99999:7:::\n");
  EXPECT_THAT(folder_.names(), ElementsAre(".pwd.lock", "shadow", "shells"));
}

TEST_F(AccountWrite, KeepsOddLinesAsTheyAre) {
  folder_.write("shadow", "# comment\n\ncid:$y$cid:19000:0:99999:7:::reserved\n+nis\nzoe:short");
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
  EXPECT_EQ(shadow(), "# comment\n\ncid:$y$cid:19000:0:99999:7::1:reserved\n+nis\nzoe:short");
}

TEST_F(AccountWrite, WritesNothingForAnEmptyBatchOrTheSameDay) {
  EXPECT_EQ(write({}), ZEVO_ERR_NONE);
  ASSERT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
  struct stat before {
  }, after{};
  ASSERT_EQ(::stat(database_.paths.shadow.c_str(), &before), 0);
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
  ASSERT_EQ(::stat(database_.paths.shadow.c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(AccountWrite, RefusesTheWholeBatchForOneUnknownName) {
  expectRefusal({"cid", "nobody-here"}, ZEVO_ERR_NO_SUCH_USER);
  EXPECT_THAT(errorTrail().at(0), HasSubstr("\"nobody-here\" is not a local account"));
  expectRefusal({"cid", ""}, ZEVO_ERR_NO_SUCH_USER);
  expectRefusal({"cid:$y$cid"}, ZEVO_ERR_NO_SUCH_USER);
  expectRefusal({"cid\nben"}, ZEVO_ERR_NO_SUCH_USER);
  expectRefusal({std::string("cid\0x", 5)}, ZEVO_ERR_NO_SUCH_USER);
}

TEST_F(AccountWrite, RefusesABatchThatNamesRootOrItsAlias) {
  expectRefusal({"cid", "root"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  expectRefusal({"admin"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  source_.accounts = {{"toor", "x", "/bin/bash", 0, 0}};
  expectRefusal({"toor"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
}

TEST_F(AccountWrite, TakesAnAccountAdminOfItsOwnForWhatItIs) {
  source_.accounts.push_back({"admin", "x", "/bin/bash", 1009, 1009});
  folder_.write("shadow", "admin:$y$x:19000:0:99999:7:::\n");
  EXPECT_EQ(disable({"admin"}), ZEVO_ERR_NONE);
  EXPECT_EQ(shadow(), "admin:$y$x:19000:0:99999:7::1:\n");
}

TEST_F(AccountWrite, RefusesToTakeTheLastAdministrator) {
  expectRefusal({"ann", "ben"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  EXPECT_EQ(errorTrail().at(0),
            "this would leave 0 administrators who can log in, and 1 must remain: make another "
            "account an administrator first");
  ASSERT_EQ(disable({"ann"}), ZEVO_ERR_NONE);
  EXPECT_EQ(disable({"ben"}), ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
}

TEST_F(AccountWrite, LeavesTheGuardToAdministratorsOfADirectory) {
  source_.accounts.push_back({"dora", "*", "/bin/bash", 5001, 5001});
  source_.groups["sudo"].members.insert("dora");
  EXPECT_EQ(disable({"ann", "ben"}), ZEVO_ERR_NONE);
}

TEST_F(AccountWrite, RefusesToTakeTheLastAdministratorOfADirectorysGroup) {
  source_.groups["sudo"].members = {"ann"};
  expectRefusal({"ann"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  source_.groups["sudo"].members = {};
  source_.loginGroups["ann"] = {27};  // the group names nobody, and the login gets it
  expectRefusal({"ann"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
}

TEST_F(AccountWrite, RefusesTheBatchWhereNobodyCanTellTheAdministrators) {
  source_.groupError = EIO;
  expectRefusal({"cid"}, ZEVO_ERR_SYSTEM);
  EXPECT_EQ(errorTrail().at(0),
            "cannot determine the administrators, so no account is changed: Input/output error; "
            "check the name service, or set administrators_group");
  source_.groupError = 0;
  source_.walkError = EIO;
  expectRefusal({"cid"}, ZEVO_ERR_SYSTEM);
  source_.walkError = 0;
  source_.failingAccounts = {"cid"};
  expectRefusal({"cid"}, ZEVO_ERR_SYSTEM);
}

TEST_F(AccountWrite, TakesNoAdministratorWhoCannotBeLookedUpForOneWhoIsLeft) {
  source_.failingAccounts = {"ben"};
  expectRefusal({"ann"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
}

TEST_F(AccountWrite, KeepsAsManyAdministratorsAsConfigured) {
  database_.minAdmins = 2;
  expectRefusal({"ann"}, ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  database_.minAdmins = 0;
  EXPECT_EQ(disable({"ann", "ben"}), ZEVO_ERR_NONE);
}

TEST_F(AccountWrite, LetsOthersBeDisabledWhereThereAreTooFewAlready) {
  database_.minAdmins = 3;
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
}

TEST_F(AccountWrite, TakesNobodyByADayThatIsToCome) {
  EXPECT_EQ(write({{"ann", "20001"}, {"ben", "20001"}}), ZEVO_ERR_NONE);
}

TEST_F(AccountWrite, KeepsOwnerAndMode) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to give a file away";
  const char* path = database_.paths.shadow.c_str();
  ASSERT_EQ(::chown(path, 0, 42), 0);
  ASSERT_EQ(::chmod(path, 0640), 0);
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
  struct stat status {};
  ASSERT_EQ(::stat(path, &status), 0);
  EXPECT_EQ(status.st_gid, 42U);
  EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST_F(AccountWrite, FailsWhileAnotherProgramHoldsTheLock) {
  FileDescriptor lock;
  ASSERT_FALSE(lockAccounts(database_.paths.lock, std::chrono::milliseconds(0), &lock));
  database_.lockWait = std::chrono::milliseconds(30);
  expectRefusal({"cid"}, ZEVO_ERR_SYSTEM);
  EXPECT_EQ(errorTrail().at(0),
            "cannot lock " + database_.paths.lock + ": another process holds it; try again");
  lock.reset();
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
}

TEST_F(AccountWrite, NamesTheProgramThatHoldsTheLock) {
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  const pid_t other = ::fork();
  if (other == 0) {  // what lckpwdf(3) does
    ::prctl(PR_SET_NAME, "pass\x1bwd");
    const int file = ::open(database_.paths.lock.c_str(), O_WRONLY | O_CREAT, 0600);
    ::_exit(::fcntl(file, F_SETLKW, &whole) == 0 && ::pause() == 0 ? 0 : 1);
  }
  FileDescriptor lock;
  while (!lockAccounts(database_.paths.lock, std::chrono::milliseconds(0), &lock)) {
    lock.reset();
    ::usleep(1000);
  }
  database_.lockWait = std::chrono::milliseconds(30);
  lock.reset();
  expectRefusal({"cid"}, ZEVO_ERR_SYSTEM);
  EXPECT_EQ(errorTrail().at(0), "cannot lock " + database_.paths.lock + ": process " +
                                    std::to_string(other) + " (pass\uFFFDwd of " +
                                    accountName(::getuid()) +
                                    ") holds it; end that process and try again");
  ::kill(other, SIGKILL);
  ::waitpid(other, nullptr, 0);
}

TEST_F(AccountWrite, FailsWithoutOneOfTheFiles) {
  std::filesystem::remove(folder_.file("shells"));
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_NONE);
  std::filesystem::rename(folder_.file("shadow"), folder_.file("elsewhere"));
  EXPECT_EQ(disable({"ben"}), ZEVO_ERR_SYSTEM);
  std::filesystem::create_symlink(folder_.file("elsewhere"), folder_.file("shadow"));
  EXPECT_EQ(disable({"ben"}), ZEVO_ERR_SYSTEM);
}

class OneOperationOfAnAccountWriteFails : public AccountFixture,
                                          public testing::WithParamInterface<Operation> {};

TEST_P(OneOperationOfAnAccountWriteFails, LeavesTheOldFile) {
  FailingOperations operations(GetParam(), ENOSPC);
  database_.operations = &operations;
  EXPECT_EQ(disable({"cid"}), ZEVO_ERR_SYSTEM);
  EXPECT_EQ(shadow(), kShadow);
  EXPECT_THAT(folder_.names(), ElementsAre(".pwd.lock", "shadow", "shells"));
}

INSTANTIATE_TEST_SUITE_P(AccountWrite, OneOperationOfAnAccountWriteFails,
                         testing::Values(Operation::kWrite, Operation::kShortWrite,
                                         Operation::kFsync, Operation::kChown, Operation::kChmod,
                                         Operation::kRename));

TEST_F(AccountWrite, LetsTwoBatchesAtOnceNotTakeTheLastAdministrator) {
  for (int round = 0; round < 20; ++round) {
    folder_.write("shadow", kShadow);
    const auto start = [&](const char* name) {
      const pid_t process = ::fork();
      if (process == 0) ::_exit(disable({name}) == ZEVO_ERR_NONE ? 0 : 1);
      return process;
    };
    const pid_t first = start("ann");
    const pid_t second = start("ben");
    int refused = 0;
    for (const pid_t process : {first, second}) {
      int status = -1;
      ASSERT_EQ(::waitpid(process, &status, 0), process);
      refused += WIFEXITED(status) ? WEXITSTATUS(status) : 100;
    }
    ASSERT_EQ(refused, 1) << shadow();
  }
}

}  // namespace
}  // namespace zevo
