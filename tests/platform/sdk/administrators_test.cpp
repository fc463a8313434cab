#include "sdk/administrators.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr long kToday = 20000;

// One account "ann" that is an administrator unless a test spoils it.
class ValidAdministrators : public testing::Test {
 protected:
  [[nodiscard]] std::set<std::string> valid(const std::string& group = "") const {
    const AccountFiles files = {parsePasswd(passwd_), parseGroups(groups_), parseShells(shells_)};
    return validAdministrators(files, parseShadow(shadow_), group, kToday);
  }

  std::string passwd_ =
      "root:x:0:0:root:/root:/bin/bash\nann:x:1001:1001:Ann:/home/ann:/bin/bash\n";
  std::string groups_ = "root:x:0:\nsudo:x:27:root,ann\nusers:x:100:\n";
  std::string shells_ = "# shells\n/bin/sh\n/bin/bash\n/usr/sbin/nologin\n";
  std::string shadow_ = "root:$y$r:19000:0:99999:7:::\nann:$y$a:19000:0:99999:7:::\n";
};

TEST_F(ValidAdministrators, AreTheMembersOfTheGroupOtherThanRoot) {
  EXPECT_THAT(valid(), ElementsAre("ann"));
}

TEST_F(ValidAdministrators, MayBePrimaryMembers) {
  groups_ = "sudo:x:1001:\n";
  EXPECT_THAT(valid(), ElementsAre("ann"));
}

TEST_F(ValidAdministrators, ComeFromTheFirstDefaultGroupThatExists) {
  groups_ = "wheel:x:10:\nsudo:x:27:ann\n";
  EXPECT_THAT(valid(), ElementsAre("ann"));
  groups_ += "administrators:x:28:\n";
  EXPECT_THAT(valid(), IsEmpty());
  groups_ = "users:x:100:ann\n";
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, ComeFromTheConfiguredGroupAlone) {
  groups_ += "ops:x:29:ann\n";
  EXPECT_THAT(valid("ops"), ElementsAre("ann"));
  EXPECT_THAT(valid("users"), IsEmpty());
  EXPECT_THAT(valid("missing"), IsEmpty());
}

TEST_F(ValidAdministrators, HaveAUserIdOfTheirOwn) {
  passwd_ = "ann:x:0:0:second root:/root:/bin/bash\n";
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, HaveALoginShell) {
  for (const char* shell : {"/usr/sbin/nologin", "/bin/false", "/opt/unlisted"}) {
    passwd_ = std::string("ann:x:1001:1001::/home/ann:") + shell + "\n";
    EXPECT_THAT(valid(), IsEmpty()) << shell;
  }
  passwd_ = "ann:x:1001:1001::/home/ann:\n";
  EXPECT_THAT(valid(), ElementsAre("ann")) << "an empty shell is /bin/sh";
  passwd_ = "ann:x:1001:1001::/home/ann:/opt/unlisted\n";
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
  for (const char* password : {"!", "!!", "!$y$a", "!*"}) {
    shadow_ = std::string("ann:") + password + ":19000:0:99999:7:::\n";
    EXPECT_THAT(valid(), IsEmpty()) << password;
  }
  shadow_ = "ann:*:19000:0:99999:7:::\n";
  EXPECT_THAT(valid(), ElementsAre("ann")) << "a key still lets in";
}

TEST_F(ValidAdministrators, HaveEntriesInAllFiles) {
  shadow_ = "ann:$y$a:19000:0:99999:7::\n";
  EXPECT_THAT(valid(), IsEmpty()) << "a line of eight fields is none";
  shadow_ = "";
  EXPECT_THAT(valid(), IsEmpty());
  shadow_ = "ann:$y$a:19000:0:99999:7:::\n";
  passwd_ = "ann:x:1001\n";
  EXPECT_THAT(valid(), IsEmpty());
}

TEST_F(ValidAdministrators, AreJudgedByTheirFirstShadowEntry) {
  shadow_ = "ann:!:1:0:9:7:::\nann:$y$a:19000:0:99999:7:::\n";
  EXPECT_THAT(valid(), IsEmpty());
}

}  // namespace
}  // namespace zevo
