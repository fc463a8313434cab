#include "sdk/administrators.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/sdk/account_fixture.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr long kToday = 20000;

// One account "ann" that is an administrator unless a test spoils it.
class ValidAdministrators : public testing::Test {
 protected:
  ValidAdministrators() {
    source_.accounts = {{"root", "x", "/bin/bash", 0, 0}, {"ann", "x", "/bin/bash", 1001, 1001}};
    source_.groups = {{"root", {0, {}}}, {"sudo", {27, {"root", "ann"}}}, {"users", {100, {}}}};
  }

  std::set<std::string> valid(const std::string& group = "",
                              const std::set<std::string>& names = {}) {
    std::vector<Administrator> administrators;
    EXPECT_EQ(readAdministrators(source_, group, names, &administrators), 0);
    return validAdministrators(administrators, parseShadow(shadow_), parseShells(shells_), kToday);
  }
  Account& ann() { return source_.accounts[1]; }

  testing_support::ListedAccounts source_;
  std::string shells_ = "# shells\n/bin/sh\n/bin/bash\n/usr/sbin/nologin\n";
  std::string shadow_ = "root:$y$r:19000:0:99999:7:::\nann:$y$a:19000:0:99999:7:::\n";
};

TEST_F(ValidAdministrators, AreTheMembersOfTheGroupOtherThanRoot) {
  EXPECT_THAT(valid(), ElementsAre("ann"));
}

TEST_F(ValidAdministrators, MayBePrimaryMembers) {
  source_.groups["sudo"] = {1001, {}};
  EXPECT_THAT(valid(), ElementsAre("ann"));
}

TEST_F(ValidAdministrators, MayBeKnownByTheirLoginsGroupsAlone) {
  source_.groups["sudo"].members = {};
  source_.loginGroups["ann"] = {27};
  EXPECT_THAT(valid(), IsEmpty()) << "nobody tells of her";
  EXPECT_THAT(valid("", {"ann"}), ElementsAre("ann"));
  source_.hidden = {"ann"};
  ann().gid = 27;
  EXPECT_THAT(valid("", {"ann"}), ElementsAre("ann"));
}

TEST_F(ValidAdministrators, AreNoOthersThatAreAskedFor) {
  source_.accounts.push_back({"cid", "x", "/bin/bash", 1003, 1003});
  shadow_ += "cid:$y$c:19000:0:99999:7:::\n";
  EXPECT_THAT(valid("", {"cid", "nobody-here"}), ElementsAre("ann"));
}

TEST_F(ValidAdministrators, ComeFromTheFirstDefaultGroupThatExists) {
  source_.groups["wheel"] = {10, {}};
  EXPECT_THAT(valid(), ElementsAre("ann"));
  source_.groups["administrators"] = {28, {}};
  EXPECT_THAT(valid(), IsEmpty());
  source_.groups = {{"users", {100, {"ann"}}}};
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, ComeFromTheConfiguredGroupAlone) {
  source_.groups["ops"] = {29, {"ann"}};
  EXPECT_THAT(valid("ops"), ElementsAre("ann"));
  EXPECT_THAT(valid("users"), IsEmpty());
  EXPECT_THAT(valid("missing"), IsEmpty());
}

TEST_F(ValidAdministrators, HaveAUserIdOfTheirOwn) {
  ann().uid = 0;
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, HaveALoginShell) {
  for (const char* shell : {"/usr/sbin/nologin", "/bin/false", "/opt/unlisted"}) {
    ann().shell = shell;
    EXPECT_THAT(valid(), IsEmpty()) << shell;
  }
  ann().shell = "";
  EXPECT_THAT(valid(), ElementsAre("ann")) << "an empty shell is /bin/sh";
  ann().shell = "/opt/unlisted";
  shells_ = "";
  EXPECT_THAT(valid(), ElementsAre("ann")) << "a system without a list takes any shell";
}

TEST_F(ValidAdministrators, AreNotExpired) {
  for (const char* day : {"0", "1", "19999", "20000", "garbage", "99999999999999999999"}) {
    shadow_ = std::string("ann:$y$a:19000:0:99999:7::") + day + ":\n";
    EXPECT_THAT(valid(), IsEmpty()) << day;
  }
  for (const char* day : {"", "20001", "-1"}) {
    shadow_ = std::string("ann:$y$a:19000:0:99999:7::") + day + ":\n";
    EXPECT_THAT(valid(), ElementsAre("ann")) << day;
  }
}

TEST_F(ValidAdministrators, AreNotLocked) {
  for (const char* password : {"!", "!!", "!$y$a", "!*", "*", "*LK*"}) {
    shadow_ = std::string("ann:") + password + ":19000:0:99999:7:::\n";
    EXPECT_THAT(valid(), IsEmpty()) << password;
  }
}

TEST_F(ValidAdministrators, HaveEntriesInAllFiles) {
  shadow_ = "ann:$y$a:19000:0:99999:7::\n";
  EXPECT_THAT(valid(), IsEmpty()) << "a line of eight fields is none";
  shadow_ = "";
  EXPECT_THAT(valid(), IsEmpty());
  shadow_ = "ann:$y$a:19000:0:99999:7:::\n";
  source_.accounts.pop_back();
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, AreJudgedByTheirFirstShadowEntry) {
  shadow_ = "ann:!:1:0:9:7:::\nann:$y$a:19000:0:99999:7:::\n";
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, OfADirectoryAreJudgedByItsShadowEntry) {
  shadow_ = "";
  source_.shadows["ann"] = {"$y$a", ""};
  EXPECT_THAT(valid(), ElementsAre("ann"));
  source_.shadows["ann"] = {"$y$a", "1"};
  EXPECT_THAT(valid(), IsEmpty());
  source_.shadows["ann"] = {"!$y$a", ""};
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, OfADirectoryWithoutShadowEntriesAreJudgedByThePasswordField) {
  shadow_ = "";
  for (const char* password : {"*", "$y$a", ""}) {
    ann().password = password;
    EXPECT_THAT(valid(), ElementsAre("ann")) << password;
  }
  for (const char* password : {"x", "!", "!$y$a"}) {
    ann().password = password;
    EXPECT_THAT(valid(), IsEmpty()) << password;
  }
}

// The name service of the machine that runs the tests.
TEST(AccountSource, KnowsRootAndItsGroup) {
  AccountSource& source = AccountSource::system();
  std::optional<Account> account;
  ASSERT_EQ(source.account("root", &account), 0);
  ASSERT_TRUE(account);
  EXPECT_EQ(account->uid, 0U);
  std::optional<Group> group;
  ASSERT_EQ(source.group("root", &group), 0);
  ASSERT_TRUE(group);
  EXPECT_EQ(group->gid, 0U);
  std::set<std::string> names;
  EXPECT_EQ(source.primaryMembers(0, &names), 0);
  EXPECT_TRUE(names.contains("root"));
  EXPECT_TRUE(source.isInGroup("root", 0, 0));
  EXPECT_FALSE(source.isInGroup("root", 0, 65000));
}

TEST(AccountSource, TellsWhatDoesNotExistFromAFailure) {
  AccountSource& source = AccountSource::system();
  for (const std::string& name : {std::string("no such name"), std::string(4U << 20U, 'a')}) {
    std::optional<Account> account = Account{};
    EXPECT_EQ(source.account(name, &account), 0);
    EXPECT_FALSE(account);
    std::optional<ShadowFields> shadow = ShadowFields{};
    EXPECT_EQ(source.shadow(name, &shadow), 0);
    EXPECT_FALSE(shadow);
  }
  std::optional<Group> group = Group{};
  EXPECT_EQ(source.group("no such group", &group), 0);
  EXPECT_FALSE(group);
}

}  // namespace
}  // namespace zevo
