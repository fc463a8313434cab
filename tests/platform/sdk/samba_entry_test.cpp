#include "sdk/samba_entry.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/sdk/account_fixture.h"
#include "platform/sdk/samba_tool.h"

namespace zevo {
namespace {

using testing::HasSubstr;

class SambaEntries : public testing::Test {
 protected:
  [[nodiscard]] std::string flagsRead(const std::vector<std::string>& names) {
    const auto entries = readSambaEntries(tool_, names, &cause_);
    if (!entries) return "failed";
    std::string text;
    for (const auto& [account, entry] : *entries) {
      text += account + (entry.name == account ? "" : ":" + entry.name) + "=" + entry.flags + " ";
    }
    return text;
  }
  bool set(const std::string& name, const std::string& flags, bool isDisabled) {
    return setSambaDisabled(tool_, {name, flags}, isDisabled, &cause_);
  }

  testing_support::SambaToolStandIn samba_;
  testing_support::ListedAccounts source_;
  SambaTool tool_{samba_.tool().path, {}, "", &source_};
  std::string cause_;
};

TEST_F(SambaEntries, AreReadForThoseThatHaveOne) {
  samba_.addEntry("ann", "U");
  samba_.addEntry("ben", "DUX");
  EXPECT_EQ(flagsRead({"ann", "ben", "cid"}), "ann=U ben=DUX ");
}

TEST_F(SambaEntries, AreNoneWhereTheToolIsNotThere) {
  tool_.path = "/no/such/pdbedit";
  EXPECT_EQ(flagsRead({"ann"}), "");
}

TEST_F(SambaEntries, OfANameThatLooksLikeAnOptionAreReadAsAnyOther) {
  samba_.addEntry("-d", "U");
  EXPECT_EQ(flagsRead({"-d"}), "-d=U ");
  EXPECT_TRUE(set("-d", "U", true)) << cause_;
  EXPECT_EQ(samba_.calls(),
            "--list\n--list --verbose --user=-d\n--user=-d --account-control=[D]\n");
}

TEST_F(SambaEntries, CannotBeReadWhereTheToolFails) {
  samba_.addEntry("ann", "U");
  samba_.begin("exit 1\n");
  EXPECT_EQ(flagsRead({"ann"}), "failed");
  EXPECT_THAT(cause_, HasSubstr("pdbedit ended with status 1"));
  samba_.begin("kill -KILL $$\n");
  EXPECT_EQ(flagsRead({"ann"}), "failed");
  EXPECT_THAT(cause_, HasSubstr("was ended by signal 9"));
  samba_.begin("echo garbage; exit 0\n");
  EXPECT_EQ(flagsRead({"ann"}), "failed");
  EXPECT_THAT(cause_, HasSubstr("gave an unreadable list"));
  samba_.begin("[ $# = 1 ] || exit 0\n");
  EXPECT_EQ(flagsRead({"ann"}), "failed");
  EXPECT_THAT(cause_, HasSubstr("gave an unreadable answer"));
}

TEST_F(SambaEntries, CannotBeReadWhereTheToolHangs) {
  samba_.begin("sleep 600\n");
  tool_.limits.time = std::chrono::milliseconds(100);
  EXPECT_EQ(flagsRead({"ann"}), "failed");
  EXPECT_THAT(cause_, HasSubstr("did not answer within"));
}

TEST_F(SambaEntries, AreNotThoseOfAnotherSpelling) {
  samba_.addEntry("ann", "U");
  samba_.begin(
      "[ $# = 1 ] || { user=ann; set -- --list --verbose --user=ann; }\n"
      "[ $# = 1 ] && { echo ANN:1000:; exit 0; }\n");
  EXPECT_EQ(flagsRead({"ANN"}), "failed");
}

// Samba finds "ANN" for a login as ann, and looks up its account in lower case first.
TEST_F(SambaEntries, AreThoseOfTheAccountThatSambaTakesThemFor) {
  source_.accounts = {{"ann", "x", "", 1000, 1000}, {"Ann", "x", "", 1001, 1001}};
  samba_.addEntry("ANN", "U");
  EXPECT_EQ(flagsRead({"ann", "Ann"}), "ann:ANN=U ");
  source_.accounts = {{"ämy", "x", "", 1000, 1000}};
  samba_.addEntry("ÄMY", "DU");
  EXPECT_EQ(flagsRead({"ämy"}), "ämy:ÄMY=DU ");
}

TEST_F(SambaEntries, AreNotThoseOfAnotherNameWithTheSameId) {
  source_.accounts = {{"ann", "x", "", 1000, 1000}, {"toor", "x", "", 1000, 1000}};
  samba_.addEntry("Toor", "U");
  EXPECT_EQ(flagsRead({"ann"}), "");
  EXPECT_EQ(flagsRead({"toor"}), "toor:Toor=U ");
}

TEST_F(SambaEntries, CannotBeReadWhereTheirAccountCannot) {
  source_.failingAccounts = {"ann"};
  samba_.addEntry("ANN", "U");
  EXPECT_EQ(flagsRead({"ann"}), "failed");
  EXPECT_EQ(cause_, "cannot look up the account \"ann\": Input/output error");
  samba_.addEntry("ben", "U");
  EXPECT_EQ(flagsRead({"ben"}), "ben=U ") << "whose name says it";
}

TEST_F(SambaEntries, KeepTheirOtherFlags) {
  samba_.addEntry("ann", "UX");
  EXPECT_TRUE(set("ann", "UX", true)) << cause_;
  EXPECT_EQ(samba_.flagsOf("ann"), "UDX");
  EXPECT_TRUE(set("ann", "DUX", false)) << cause_;
  EXPECT_EQ(samba_.flagsOf("ann"), "UX");
}

TEST_F(SambaEntries, ThatDoNotTakeTheFlagAreAFailure) {
  samba_.addEntry("ann", "U");
  samba_.begin("[ $1 = --list ] || exit 1\n");
  EXPECT_FALSE(set("ann", "U", true));
  EXPECT_THAT(cause_, HasSubstr("ended with status 1"));
  samba_.begin("[ $1 = --list ] || set -- --list --verbose --user=ann\n");
  EXPECT_FALSE(set("ann", "U", true));
  EXPECT_THAT(cause_, HasSubstr("did not set the flag"));
}

}  // namespace
}  // namespace zevo
