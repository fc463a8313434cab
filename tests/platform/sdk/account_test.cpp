#include "zevo/account.h"

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include <climits>
#include <gtest/gtest.h>

#include "zevo/error.h"

#include "sdk/account_lookup.h"

namespace zevo {
namespace {

struct Found {
  uid_t uid;
  gid_t gid;
  std::string name, home, shell;
  bool operator==(const Found&) const = default;
};

struct Result {
  int result = 1;
  int error = 0;
  std::unique_ptr<UserRecord, void (*)(UserRecord*)> user{nullptr, &ZEVOUserFree};

  [[nodiscard]] Found account() const {
    return {user->uid, user->gid, user->name, user->home, user->shell};
  }
};

// What the fake name service answers.
int nameError = 0;
int interruptions = 0;
int questions = 0;
std::size_t neededBuffer = 0;
char rootName[] = "root", rootHome[] = "/root", rootShell[] = "/bin/sh";
char aliceName[] = "alice", aliceHome[] = "/home/alice";

int byName(const char* name, passwd* entry, char*, std::size_t size, passwd** found) {
  *found = nullptr;
  ++questions;
  if (interruptions-- > 0) return EINTR;
  if (nameError != 0) return nameError;
  if (size < neededBuffer) return ERANGE;
  if (std::strcmp(name, aliceName) != 0) return 0;
  *entry = {};
  entry->pw_name = aliceName;
  entry->pw_dir = aliceHome;  // the shell stays null, as some sources leave it
  entry->pw_uid = 1001;
  entry->pw_gid = 1002;
  *found = entry;
  return 0;
}

int byId(uid_t uid, passwd* entry, char*, std::size_t, passwd** found) {
  *entry = {};
  entry->pw_name = rootName;
  entry->pw_dir = rootHome;
  entry->pw_shell = rootShell;
  *found = uid == 0 ? entry : nullptr;
  return 0;
}

class AccountLookUp : public testing::Test {
 protected:
  AccountLookUp() { nameError = 0, interruptions = 0, questions = 0, neededBuffer = 0; }

  static Result lookUp(const char* name) {
    VLIBCErrSetEx(ZEVO_ERR_TOO_FEW_ADMINISTRATORS, "", 0);
    Result result;
    UserRecord* user = nullptr;
    result.result = lookUpAccount({&byName, &byId}, name, &user);
    result.user.reset(user);
    result.error = VLIBCErrGet();
    return result;
  }

  static void expectFailure(const Result& result, int error) {
    EXPECT_LT(result.result, 0);
    EXPECT_EQ(result.user, nullptr);
    EXPECT_EQ(result.error, error);
  }
};

TEST_F(AccountLookUp, YieldsTheAccount) {
  const Result result = lookUp("alice");
  EXPECT_EQ(result.result, 0);
  EXPECT_EQ(result.account(), (Found{1001, 1002, "alice", "/home/alice", ""}));
}

TEST_F(AccountLookUp, GrowsItsBuffer) {
  neededBuffer = 300000;
  EXPECT_EQ(lookUp("alice").result, 0);
}

TEST_F(AccountLookUp, GivesUpOnARecordWithoutEnd) {
  nameError = ERANGE;
  expectFailure(lookUp("alice"), ZEVO_ERR_SYSTEM);
}

TEST_F(AccountLookUp, GoesOnAfterAnInterruption) {
  interruptions = 3;
  EXPECT_EQ(lookUp("alice").result, 0);
}

TEST_F(AccountLookUp, SetsTheErrorWhereThereIsNoSuchAccount) {
  expectFailure(lookUp("bob"), ZEVO_ERR_NO_SUCH_USER);
  expectFailure(lookUp(""), ZEVO_ERR_NO_SUCH_USER);
  expectFailure(lookUp(nullptr), ZEVO_ERR_NO_SUCH_USER);
  for (const int error : {ENOENT, ESRCH, EBADF, EPERM}) {
    nameError = error;
    expectFailure(lookUp("alice"), ZEVO_ERR_NO_SUCH_USER);
  }
}

TEST_F(AccountLookUp, AsksNobodyForANameThatNoAccountCanHave) {
  const std::string longest(LOGIN_NAME_MAX - 1, 'a');
  lookUp(longest.c_str());
  EXPECT_EQ(questions, 1);
  for (const std::size_t length : {std::size_t{LOGIN_NAME_MAX}, std::size_t{4} << 20U}) {
    questions = 0;
    expectFailure(lookUp(std::string(length, 'a').c_str()), ZEVO_ERR_NO_SUCH_USER);
    EXPECT_EQ(questions, 0) << length;
  }
}

TEST_F(AccountLookUp, TellsAFailureFromAMissingAccount) {
  for (const int error : {EIO, EMFILE, ENFILE, ENOMEM}) {
    nameError = error;
    expectFailure(lookUp("admin"), ZEVO_ERR_SYSTEM);
  }
}

TEST_F(AccountLookUp, TakesAdminForRootWhereNoSuchAccountExists) {
  EXPECT_EQ(lookUp("admin").account(), (Found{0, 0, "root", "/root", "/bin/sh"}));
}

TEST_F(AccountLookUp, LeavesAnAccountAdminAlone) {
  std::strcpy(aliceName, "admin");
  EXPECT_EQ(lookUp("admin").account().uid, 1001U);
  std::strcpy(aliceName, "alice");
}

TEST(ZEVOUserGet, FindsTheAccountsOfThisServer) {
  UserRecord* user = nullptr;
  ASSERT_EQ(ZEVOUserGet("root", &user), 0);
  EXPECT_EQ(user->uid, 0U);
  EXPECT_STREQ(user->name, "root");
  ZEVOUserFree(user);
  EXPECT_LT(ZEVOUserGet("no such account here", &user), 0);
  EXPECT_EQ(user, nullptr);
  ZEVOUserFree(nullptr);
}

}  // namespace
}  // namespace zevo
