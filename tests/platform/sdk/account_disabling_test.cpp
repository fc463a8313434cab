#include "sdk/account_disabling.h"

#include <cerrno>
#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error_trail.h"

#include "platform/sdk/account_fixture.h"
#include "platform/sdk/samba_tool.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Names = std::set<std::string>;
using State = DisabledAccount::State;

constexpr const char* kNoSambaEntry =
    "no entry of it was found in Samba's database, so nothing was undone there";

constexpr const char* kSambaWasDisabled =
    "its entry in Samba's database was disabled before, so nothing was undone there";

// Of the accounts of the fixture, cid and ben have entries in Samba's database; ben's is disabled.
class Disabling : public testing_support::AccountFixture {
 protected:
  Disabling() {
    samba_.addEntry("cid", "UX");
    samba_.addEntry("ben", "DU");
  }

  [[nodiscard]] DisablingTools tools() {
    DisablingTools tools;
    tools.accounts = database_;
    tools.samba = samba_.tool();
    tools.samba.accounts = &source_;
    tools.recordFolder = folder_.file("state");
    tools.actor = actor_;
    tools.now = 1795213213;
    return tools;
  }
  // The names of those that are still let in, or the error.
  std::string disable(const Names& names) {
    clearErrorTrail();
    stillLetIn_.clear();
    const int code = disableAccounts(tools(), names, &stillLetIn_);
    if (code != ZEVO_ERR_NONE) return "error";
    std::string text;
    for (const StillLetIn& account : stillLetIn_) text += account.user + " ";
    return text;
  }
  Enabling enable(const Names& names) {
    clearErrorTrail();
    return enableAccounts(tools(), names);
  }
  [[nodiscard]] std::string expiryOf(const std::string& name) const {
    ExpiryFields fields;
    EXPECT_TRUE(readExpiry(database_.paths, {name}, &fields));
    return fields[name];
  }
  [[nodiscard]] Disablings record() const {
    DisablingRecord record(folder_.file("state"), FileOperations::system());
    EXPECT_TRUE(record.read());
    return record.disablings();
  }
  void setExpiry(const std::string& name, const std::string& day) const {
    ASSERT_EQ(write({{name, day}}), ZEVO_ERR_NONE);
  }
  void expectNothingChanged() const {
    EXPECT_EQ(shadow(), kShadow);
    EXPECT_EQ(samba_.flagsOf("cid"), "UX");
    EXPECT_EQ(samba_.flagsOf("ben"), "DU");
    EXPECT_THAT(record(), IsEmpty());
  }

  testing_support::SambaToolStandIn samba_;
  Actor actor_ = {"alice", "pts/3"};
  std::vector<StillLetIn> stillLetIn_;
};

TEST_F(Disabling, ForeseesARefusalAndChangesNothing) {
  const std::string before = testing_support::contentOf(database_.paths.shadow);
  EXPECT_EQ(disablingRefusal(tools(), {"cid"}), ZEVO_ERR_NONE);
  EXPECT_EQ(disablingRefusal(tools(), {"ann", "cid"}), ZEVO_ERR_NONE);
  EXPECT_EQ(disablingRefusal(tools(), {"cid", "nobody"}), ZEVO_ERR_NO_SUCH_USER);
  EXPECT_EQ(disablingRefusal(tools(), {"cid", "root"}), ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  EXPECT_EQ(disablingRefusal(tools(), {"ann", "ben"}), ZEVO_ERR_TOO_FEW_ADMINISTRATORS);
  EXPECT_EQ(testing_support::contentOf(database_.paths.shadow), before);
  EXPECT_FALSE(std::filesystem::exists(tools().recordFolder));
}

TEST_F(Disabling, ReachesBothDatabasesAndIsRecorded) {
  EXPECT_EQ(disable({"ann", "ben", "cid"}), "error") << "no administrator would be left";
  expectNothingChanged();
  EXPECT_EQ(disable({"ben", "cid"}), "");
  EXPECT_EQ(expiryOf("ben"), "1");
  EXPECT_EQ(expiryOf("cid"), "1");
  EXPECT_EQ(samba_.flagsOf("cid"), "UDX");
  EXPECT_EQ(samba_.flagsOf("ben"), "DU");
  EXPECT_EQ(record(),
            (Disablings{{"ben", {"30000", SambaBefore::kDisabled, "alice", "pts/3", 1795213213}},
                        {"cid", {"", SambaBefore::kEnabled, "alice", "pts/3", 1795213213}}}));
}

TEST_F(Disabling, IsUndoneExactly) {
  ASSERT_EQ(disable({"ben", "cid"}), "");
  const Enabling done = enable({"ben", "cid"});
  EXPECT_EQ(done.status, Enabling::Status::kDone);
  ASSERT_EQ(done.accounts.size(), 2U);
  EXPECT_TRUE(done.accounts.at(0).isComplete);
  EXPECT_THAT(done.accounts.at(0).notes, ElementsAre(kSambaWasDisabled));
  EXPECT_TRUE(done.accounts.at(1).isComplete);
  EXPECT_THAT(done.accounts.at(1).notes, IsEmpty());
  expectNothingChanged();
}

TEST_F(Disabling, ReachesAnEntryThatWasAddedInCapitals) {
  samba_.removeEntry("cid");
  samba_.addEntry("CID", "UX");
  source_.accounts = {{"cid", "x", "/bin/bash", 1000, 1000}, {"ann", "x", "/bin/bash", 1001, 1001}};
  ASSERT_EQ(disable({"cid"}), "");
  EXPECT_EQ(samba_.flagsOf("CID"), "UDX");
  EXPECT_EQ(record().at("cid").samba, SambaBefore::kEnabled);
  ASSERT_EQ(enable({"cid"}).status, Enabling::Status::kDone);
  EXPECT_EQ(samba_.flagsOf("CID"), "UX");
}

TEST_F(Disabling, TwiceKeepsTheFirstRecord) {
  ASSERT_EQ(disable({"cid", "ben"}), "");
  const Disablings first = record();
  actor_ = {"bob", "pts/9"};
  ASSERT_EQ(disable({"cid", "ben"}), "");
  EXPECT_EQ(record(), first);
}

TEST_F(Disabling, AfterSomebodyEnabledTheAccountByOtherMeansIsRecordedAnew) {
  ASSERT_EQ(disable({"cid"}), "");
  setExpiry("cid", "40000");
  samba_.addEntry("cid", "U");
  actor_ = {"bob", ""};
  ASSERT_EQ(disable({"cid"}), "");
  EXPECT_EQ(record().at("cid"),
            (zevo::Disabling{"40000", SambaBefore::kEnabled, "bob", "", 1795213213}));
}

TEST_F(Disabling, KeepsThatSambasEntryWasEnabledWhereOnlyTheExpiryWasTakenBack) {
  ASSERT_EQ(disable({"cid"}), "");
  setExpiry("cid", "40000");
  actor_ = {"bob", ""};
  ASSERT_EQ(disable({"cid"}), "");
  EXPECT_EQ(record().at("cid"),
            (zevo::Disabling{"40000", SambaBefore::kEnabled, "bob", "", 1795213213}));
  ASSERT_EQ(enable({"cid"}).status, Enabling::Status::kDone);
  EXPECT_EQ(expiryOf("cid"), "40000");
  EXPECT_EQ(samba_.flagsOf("cid"), "UX");
}

TEST_F(Disabling, KeepsThatSambasEntryWasEnabledAfterHalfAnUndoing) {
  ASSERT_EQ(disable({"cid"}), "");
  samba_.begin("[ $1 = --list ] || exit 1\n");
  ASSERT_EQ(enable({"cid"}).status, Enabling::Status::kDone);
  samba_.begin("");
  ASSERT_EQ(disable({"cid"}), "");
  EXPECT_EQ(record().at("cid").samba, SambaBefore::kEnabled);
}

TEST_F(Disabling, KeepsTheExpiryWhereOnlySambasEntryWasEnabledSince) {
  ASSERT_EQ(disable({"ben"}), "");
  samba_.addEntry("ben", "U");
  actor_ = {"bob", ""};
  ASSERT_EQ(disable({"ben"}), "");
  EXPECT_EQ(record().at("ben"),
            (zevo::Disabling{"30000", SambaBefore::kEnabled, "alice", "pts/3", 1795213213}));
}

TEST_F(Disabling, IsUndoneWithANoteWhereSambasEntryIsGone) {
  ASSERT_EQ(disable({"cid"}), "");
  samba_.removeEntry("cid");
  ASSERT_EQ(disable({"cid"}), "") << "which does not forget it";
  const Enabling done = enable({"cid"});
  ASSERT_EQ(done.status, Enabling::Status::kDone);
  EXPECT_TRUE(done.accounts.at(0).isComplete);
  EXPECT_THAT(done.accounts.at(0).notes, ElementsAre(kNoSambaEntry));
  EXPECT_EQ(expiryOf("cid"), "");
}

TEST_F(Disabling, OfAnAccountThatIsDisabledAlreadyLeavesNothingToUndo) {
  setExpiry("ben", "1");
  ASSERT_EQ(disable({"ben"}), "");
  EXPECT_THAT(record(), IsEmpty());
  EXPECT_EQ(enable({"ben"}).status, Enabling::Status::kNotDisabled);
  EXPECT_THAT(errorTrail(),
              ElementsAre("\"ben\" was not disabled here, so there is nothing to undo"));
}

TEST_F(Disabling, OfAnExpiredAccountStillReachesSamba) {
  setExpiry("cid", "1");
  ASSERT_EQ(disable({"cid"}), "");
  EXPECT_EQ(samba_.flagsOf("cid"), "UDX");
  EXPECT_EQ(enable({"cid"}).status, Enabling::Status::kDone);
  EXPECT_EQ(expiryOf("cid"), "1") << "it was so before";
  EXPECT_EQ(samba_.flagsOf("cid"), "UX");
}

TEST_F(Disabling, ChangesNothingWhereSambasToolDoesNotWork) {
  for (const char* code : {"exit 1\n", "kill -KILL $$\n", "[ $# = 1 ] || exit 1\n"}) {
    samba_.begin(code);
    EXPECT_EQ(disable({"cid"}), "error");
    EXPECT_THAT(errorTrail(), ElementsAre(HasSubstr("; no account was changed")));
    expectNothingChanged();
  }
}

TEST_F(Disabling, NamesTheAccountWhoseEntryFailsAfterThePointOfNoReturn) {
  samba_.begin("[ $1 = --list ] || exit 1\n");
  EXPECT_EQ(disable({"cid", "ben"}), "cid ");
  EXPECT_THAT(stillLetIn_.at(0).detail, HasSubstr("pdbedit ended with status 1"));
  EXPECT_EQ(expiryOf("cid"), "1");
  EXPECT_EQ(record().at("cid").samba, SambaBefore::kEnabled);
  samba_.begin("");
  EXPECT_EQ(disable({"cid"}), "");
  EXPECT_EQ(samba_.flagsOf("cid"), "UDX");
  ASSERT_EQ(enable({"cid", "ben"}).status, Enabling::Status::kDone);
  expectNothingChanged();
}

TEST_F(Disabling, NeedsNoSamba) {
  std::filesystem::remove(samba_.tool().path);
  EXPECT_EQ(disable({"cid"}), "");
  EXPECT_EQ(record().at("cid").samba, SambaBefore::kNone);
  ASSERT_EQ(enable({"cid"}).status, Enabling::Status::kDone);
  expectNothingChanged();
}

TEST_F(Disabling, ChangesNothingWhereTheRecordIsDamaged) {
  ASSERT_EQ(disable({"cid"}), "");
  folder_.write("state/disabled", "garbage\n");
  EXPECT_EQ(disable({"ben"}), "error");
  EXPECT_EQ(enable({"cid"}).status, Enabling::Status::kFailed);
  EXPECT_EQ(expiryOf("ben"), "30000");
  EXPECT_EQ(expiryOf("cid"), "1");
  EXPECT_FALSE(disabledAccounts(tools()));
}

// Lets `allowed` renames pass; `failing` fail, and those after them pass again.
class RenameFails : public FileOperations {
 public:
  RenameFails(int allowed, int failing) : allowed_(allowed), failing_(failing) {}
  int rename(const char* from, const char* to) override {
    if (allowed_-- > 0 || failing_-- <= 0) return FileOperations::rename(from, to);
    errno = EIO;
    return -1;
  }

 private:
  int allowed_;
  int failing_;
};

TEST_F(Disabling, ChangesNothingWhereTheRecordCannotBeWritten) {
  RenameFails operations(0, 1);
  database_.operations = &operations;
  EXPECT_EQ(disable({"cid"}), "error");
  expectNothingChanged();
}

// The record comes first, so a failure between the two leaves more in the record than was done.
TEST_F(Disabling, ShowsAnAccountOfTheRecordThatIsNotDisabledAsChanged) {
  RenameFails operations(1, 2);
  database_.operations = &operations;
  EXPECT_EQ(disable({"cid"}), "error");
  EXPECT_EQ(shadow(), kShadow);
  database_.operations = &FileOperations::system();
  const auto accounts = disabledAccounts(tools());
  ASSERT_TRUE(accounts);
  ASSERT_EQ(accounts->size(), 1U);
  EXPECT_EQ(accounts->front().state, State::kChanged);
  ASSERT_EQ(enable({"cid"}).status, Enabling::Status::kDone);
  expectNothingChanged();
}

TEST_F(Disabling, TakesTheRecordBackWhereTheShadowFileCannotBeWritten) {
  RenameFails operations(1, 1);
  database_.operations = &operations;
  EXPECT_EQ(disable({"cid"}), "error");
  expectNothingChanged();
}

TEST_F(Disabling, IsRefusedForANameThatTheRecordCannotHold) {
  EXPECT_EQ(disable({"\xff"}), "error");
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_NO_SUCH_USER);
  expectNothingChanged();
}

TEST_F(Disabling, IsListed) {
  ASSERT_EQ(disable({"cid", "ben", "ann"}), "error");
  database_.minAdmins = 0;
  ASSERT_EQ(disable({"cid", "ben", "ann"}), "");
  setExpiry("ann", "40000");
  folder_.write("shadow", shadow().substr(0, shadow().find("cid:")));
  const auto accounts = disabledAccounts(tools());
  ASSERT_TRUE(accounts);
  ASSERT_EQ(accounts->size(), 3U);
  EXPECT_EQ(accounts->at(0).user, "ann");
  EXPECT_EQ(accounts->at(0).state, State::kChanged);
  EXPECT_EQ(accounts->at(0).expiryBefore, "");
  EXPECT_EQ(accounts->at(1).user, "ben");
  EXPECT_EQ(accounts->at(1).state, State::kDisabled);
  EXPECT_EQ(accounts->at(1).expiryBefore, "2052-02-20");
  EXPECT_EQ(accounts->at(1).by, "alice");
  EXPECT_EQ(accounts->at(1).from, "pts/3");
  EXPECT_THAT(accounts->at(1).time, testing::MatchesRegex("2026-11-2[01] ..:..:13"));
  EXPECT_EQ(accounts->at(2).state, State::kGone);
}

TEST_F(Disabling, IsNotUndoneForAnAccountThatWasNotDisabled) {
  ASSERT_EQ(disable({"cid"}), "");
  EXPECT_EQ(enable({"cid", "ann", "no-such"}).status, Enabling::Status::kNotDisabled);
  EXPECT_THAT(errorTrail(),
              ElementsAre("\"ann\" was not disabled here, so there is nothing to undo",
                          "\"no-such\" was not disabled here, so there is nothing to undo"));
  EXPECT_EQ(expiryOf("cid"), "1");
}

TEST_F(Disabling, LeavesAnExpiryThatSomebodyHasSetSince) {
  ASSERT_EQ(disable({"cid"}), "");
  setExpiry("cid", "40000");
  const Enabling done = enable({"cid"});
  ASSERT_EQ(done.status, Enabling::Status::kDone);
  EXPECT_THAT(done.accounts.at(0).notes,
              ElementsAre("its expiry was changed after it was disabled and is kept: "
                          "2079-07-08"));
  EXPECT_EQ(expiryOf("cid"), "40000");
  EXPECT_EQ(samba_.flagsOf("cid"), "UX");
  EXPECT_THAT(record(), IsEmpty());
}

TEST_F(Disabling, LeavesAnAccountExpiredThatWasSoBefore) {
  setExpiry("cid", "18292");
  ASSERT_EQ(disable({"cid"}), "");
  const Enabling done = enable({"cid"});
  ASSERT_EQ(done.status, Enabling::Status::kDone);
  EXPECT_THAT(
      done.accounts.at(0).notes,
      ElementsAre("it had expired before it was disabled, on 2020-01-31, and remains expired"));
  EXPECT_EQ(expiryOf("cid"), "18292");
}

TEST_F(Disabling, OfAnAccountThatIsGoneIsForgotten) {
  ASSERT_EQ(disable({"cid"}), "");
  folder_.write("shadow", shadow().substr(0, shadow().find("cid:")));
  std::filesystem::remove(samba_.tool().path);
  const Enabling done = enable({"cid"});
  ASSERT_EQ(done.status, Enabling::Status::kDone);
  EXPECT_THAT(done.accounts.at(0).notes,
              ElementsAre(kNoSambaEntry, "the local account no longer exists"));
  EXPECT_THAT(record(), IsEmpty());
}

TEST_F(Disabling, IsNotUndoneWhereSambasToolDoesNotWork) {
  ASSERT_EQ(disable({"cid"}), "");
  samba_.begin("exit 1\n");
  EXPECT_EQ(enable({"cid"}).status, Enabling::Status::kFailed);
  EXPECT_EQ(expiryOf("cid"), "1");
  EXPECT_EQ(record().size(), 1U);
}

TEST_F(Disabling, StaysRecordedUntilSambaIsUndoneToo) {
  ASSERT_EQ(disable({"cid"}), "");
  samba_.begin("[ $1 = --list ] || exit 1\n");
  const Enabling half = enable({"cid"});
  ASSERT_EQ(half.status, Enabling::Status::kDone);
  EXPECT_FALSE(half.accounts.at(0).isComplete);
  EXPECT_THAT(half.accounts.at(0).notes, ElementsAre(HasSubstr("Samba still refuses it")));
  EXPECT_EQ(expiryOf("cid"), "");
  samba_.begin("");
  const Enabling whole = enable({"cid"});
  ASSERT_EQ(whole.status, Enabling::Status::kDone);
  EXPECT_THAT(whole.accounts.at(0).notes, IsEmpty());
  expectNothingChanged();
}

}  // namespace
}  // namespace zevo
