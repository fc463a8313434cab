#include "sdk/disabling_record.h"

#include <cerrno>
#include <filesystem>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error_trail.h"

#include "platform/base/failing_operations.h"
#include "platform/base/temporary_folder.h"

namespace zevo {
namespace {

using testing_support::FailingOperations;
using testing_support::Operation;

constexpr std::chrono::milliseconds kNoWait{0};

class Record : public testing::Test {
 protected:
  [[nodiscard]] DisablingRecord record() const { return {folder_.file("state"), operations_}; }
  [[nodiscard]] std::string content() const {
    return testing_support::contentOf(folder_.file("state/disabled"));
  }
  void expectDamaged(const std::string& content, const std::string& place) {
    std::filesystem::create_directory(folder_.file("state"));
    folder_.write("state/disabled", content);
    clearErrorTrail();
    EXPECT_FALSE(record().open(kNoWait)) << content;
    ASSERT_EQ(errorTrail().size(), 1U) << content;
    EXPECT_EQ(errorTrail().at(0), "cannot read " + folder_.file("state/disabled") + place +
                                      ": the line is not a record of a disabled account; repair or "
                                      "remove it");
    EXPECT_EQ(this->content(), content);
  }

  testing_support::TemporaryFolder folder_;
  FileOperations& operations_ = FileOperations::system();
  const Disablings both_ = {{"ann", {"", SambaBefore::kEnabled, "admin", "pts/3", 1795213213}},
                            {"b\"n\n\u00e9", {"30000", SambaBefore::kNone, "", "10.20.0.8", 0}}};
};

TEST_F(Record, IsEmptyAtFirst) {
  DisablingRecord fresh = record();
  EXPECT_TRUE(fresh.read());
  EXPECT_TRUE(fresh.disablings().empty());
  EXPECT_FALSE(std::filesystem::exists(folder_.file("state")));
  EXPECT_TRUE(fresh.open(kNoWait));
  EXPECT_TRUE(fresh.disablings().empty());
}

TEST_F(Record, GivesBackWhatWasWritten) {
  DisablingRecord first = record();
  ASSERT_TRUE(first.open(kNoWait));
  ASSERT_TRUE(first.write(both_));
  EXPECT_EQ(first.disablings(), both_);
  DisablingRecord second = record();
  ASSERT_TRUE(second.read());
  EXPECT_EQ(second.disablings(), both_);
}

TEST_F(Record, IsForRootAlone) {
  DisablingRecord written = record();
  ASSERT_TRUE(written.open(kNoWait));
  ASSERT_TRUE(written.write(both_));
  struct stat folder {
  }, file{};
  ASSERT_EQ(::stat(folder_.file("state").c_str(), &folder), 0);
  ASSERT_EQ(::stat(folder_.file("state/disabled").c_str(), &file), 0);
  EXPECT_EQ(folder.st_mode & 07777U, 0700U);
  EXPECT_EQ(file.st_mode & 07777U, 0600U);
}

TEST_F(Record, IsOneProcesssAtATime) {
  DisablingRecord first = record();
  ASSERT_TRUE(first.open(kNoWait));
  EXPECT_FALSE(record().open(kNoWait));
}

TEST_F(Record, StopsAtADamagedLineAndLeavesIt) {
  const std::string line = textOf({{"ann", both_.at("ann")}});
  expectDamaged(line + "garbage\n", ":2");
  expectDamaged("\n", ":1");
  expectDamaged(line + line, ":2");
  expectDamaged(line.substr(0, line.size() - 1), ":1");
  expectDamaged(line.substr(0, 20) + "\n", ":1");
  expectDamaged("[1]\n", ":1");
  expectDamaged(std::string(100000, '[') + "\n", ":1");
  const std::string good =
      R"({"by":"a","expiry":"","from":"b","samba":"none","user":"ann","when":1})";
  for (const auto& [part, wrong] :
       std::map<std::string, std::string>{{R"("when":1)", R"("when":"1")"},
                                          {R"("when":1)", R"("when":1.5)"},
                                          {R"("samba":"none")", R"("samba":"maybe")"},
                                          {R"("user":"ann")", R"("user":"")"},
                                          {R"("expiry":"")", R"("expiry":"1:\n")"},
                                          {R"("by":"a",)", ""},
                                          {R"("by":"a",)", R"("by":"a","more":1,)"}}) {
    std::string bad = good;
    bad.replace(bad.find(part), part.size(), wrong);
    expectDamaged(bad + "\n", ":1");
  }
}

TEST_F(Record, IsNotReadThroughALink) {
  std::filesystem::create_directory(folder_.file("state"));
  std::filesystem::create_symlink(folder_.write("elsewhere", ""), folder_.file("state/disabled"));
  EXPECT_FALSE(record().open(kNoWait));
}

TEST_F(Record, StaysAsItWasWhereItCannotBeWritten) {
  {
    DisablingRecord written = record();
    ASSERT_TRUE(written.open(kNoWait));
    ASSERT_TRUE(written.write(both_));
  }
  for (const Operation operation : {Operation::kWrite, Operation::kFsync, Operation::kRename}) {
    FailingOperations failing(operation, ENOSPC);
    DisablingRecord failed(folder_.file("state"), failing);
    ASSERT_TRUE(failed.open(kNoWait));
    EXPECT_FALSE(failed.write({{"ann", both_.at("ann")}}));
    EXPECT_EQ(failed.disablings(), both_);
    EXPECT_EQ(content(), textOf(both_));
  }
}

}  // namespace
}  // namespace zevo
