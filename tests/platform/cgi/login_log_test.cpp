#include "zevo/login_log.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <stdlib.h>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error.h"
#include "zevo/error_trail.h"

#include "platform/cgi/failing_open.h"
#include "platform/cgi/session_fixture.h"

namespace zevo {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing_support::SessionFixture;

struct Row {
  int pid;
  std::string time, from, user, descr;
  int type;
  bool operator==(const Row&) const = default;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.pid << "|" << row.time << "|" << row.from << "|" << row.user << "|" << row.descr
       << "|" << row.type;
}

class LoginLog : public SessionFixture {
 protected:
  LoginLog() { ::setenv("TZ", "UTC", 1); }

  std::vector<Row> read() {
    _tag_ZEVO_CURCONN_* records = nullptr;
    clearErrorTrail();
    VLIBCErrSetEx(ZEVO_ERR_NONE, "", 0);
    count_ = ZEVOCgiLoginUserCurrentLog(path().c_str(), &records);
    std::vector<Row> rows;
    for (int i = 0; i < count_; ++i) {
      const _tag_ZEVO_CURCONN_& r = records[i];
      rows.push_back({r.pid, r.time, r.from, r.user, r.descr, r.type});
    }
    EXPECT_EQ(records == nullptr, rows.empty());
    ::free(records);
    return rows;
  }

  void expectFailure(int line) {
    EXPECT_THAT(read(), IsEmpty());
    EXPECT_EQ(count_, -1);
    EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_BAD_TEXT);
    EXPECT_THAT(errorTrail(), ElementsAre("cannot read " + path() + ":" + std::to_string(line) +
                                          ": the line is not a login record"));
  }

  // A login that began ten minutes ago.
  [[nodiscard]] Login recent(const std::string& id, const std::string& user = "alice") const {
    return login(id, user, start_);
  }
  static std::string text(std::time_t time) {
    std::array<char, 32> text{};
    struct tm parts {};
    ::gmtime_r(&time, &parts);
    return {text.data(), ::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts)};
  }

  int count_ = -9;
  const std::time_t start_ = std::time(nullptr) - 600;
  const Row alice_ = {1, text(start_), "10.20.0.2", "alice", "Firefox", 9};
  const std::string bobsLine_ = R"("idB":{"1":"10.20.0.3","2":"bob","3":5})";
};

TEST_F(LoginLog, IsEmptyWhereNobodyIsLoggedIn) {
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_EQ(count_, 0);
}

TEST_F(LoginLog, HoldsTheCurrentLogins) {
  ASSERT_EQ(appendLogin(path(), recent("idA"), 1000), 1);
  ASSERT_EQ(appendLogin(path(), recent("idB", "bob"), 1000), 2);
  Row bob = alice_;
  bob.pid = 2;
  bob.user = "bob";
  EXPECT_THAT(read(), ElementsAre(alice_, bob));
}

TEST_F(LoginLog, GivesLocalTime) {
  ::setenv("TZ", "UTC-2", 1);
  appendLogin(path(), recent("idA"), 1000);
  EXPECT_EQ(read().at(0).time, text(start_ + 7200));
}

TEST_F(LoginLog, LeavesOutLoginsThatAreIdleTooLong) {
  appendLogin(path(), recent("idA"), 1000);
  setAge("idA", std::chrono::minutes(14));
  EXPECT_THAT(read(), ElementsAre(alice_));
  setAge("idA", std::chrono::minutes(15));
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_EQ(count_, 0);
}

TEST_F(LoginLog, LeavesOutLoginsWithoutAnAccessTime) {
  appendLogin(path(), recent("idA"), 1000);
  std::filesystem::remove(accessFile("idA"));
  EXPECT_THAT(read(), IsEmpty());
  std::filesystem::create_symlink(path(), accessFile("idA"));
  EXPECT_THAT(read(), IsEmpty());
  std::filesystem::remove_all(path() + ".access.time");
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_EQ(count_, 0);
}

TEST_F(LoginLog, LeavesOutLoginsPastTheirGreatestAge) {
  appendLogin(path(), login("idA", "alice", std::time(nullptr) - 12 * 3600), 1000);
  appendLogin(path(), login("idB", "bob", std::time(nullptr) - 12 * 3600 + 60), 1000);
  EXPECT_EQ(read().at(0).user, "bob");
  EXPECT_EQ(count_, 1);
}

TEST_F(LoginLog, HoldsViewLoginsUntilTheirDate) {
  Login view = login("idA");
  view.viewUntil = std::time(nullptr) + 60;
  appendLogin(path(), view, 1000);
  std::filesystem::remove(accessFile("idA"));
  view = login("idB", "bob");
  view.viewUntil = std::time(nullptr);
  appendLogin(path(), view, 1000);
  EXPECT_EQ(read().at(0).user, "alice");
  EXPECT_EQ(count_, 1);
}

TEST_F(LoginLog, FailsWhereAnAccessTimeCannotBeRead) {
  appendLogin(path(), recent("idA"), 1000);
  failing_open::fail(path() + ".access.time", ENFILE);
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_EQ(count_, -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
  EXPECT_THAT(errorTrail(),
              ElementsAre("cannot read " + path() + ".access.time: Too many open files in system"));
}

TEST_F(LoginLog, LeavesOutHiddenLogins) {
  Login hidden = recent("idA");
  hidden.isHidden = true;
  appendLogin(path(), hidden, 1000);
  EXPECT_THAT(read(), IsEmpty());
  write(R"("idA":{"1":"10.20.0.2","2":"alice","3":1,"4":)" + std::to_string(start_) +
        R"(,"5":"Firefox","16":{"hide":false}})"
        "\n");
  EXPECT_THAT(read(), ElementsAre(alice_));
}

TEST_F(LoginLog, NeedsNoStartAndNoBrowser) {
  write(bobsLine_ + "\n");
  ASSERT_TRUE(touchAccessTime(path(), "idB"));
  EXPECT_THAT(read(), ElementsAre(Row{5, "", "10.20.0.3", "bob", "", 9}));
}

TEST_F(LoginLog, TakesDosLineBreaksAndALastLineWithoutOne) {
  ASSERT_TRUE(touchAccessTime(path(), "idB"));
  write(bobsLine_ + "\r\n");
  EXPECT_THAT(read(), testing::SizeIs(1));
  write(bobsLine_);
  EXPECT_THAT(read(), testing::SizeIs(1));
}

TEST_F(LoginLog, FailsWithTheLineThatIsNoRecord) {
  write(bobsLine_ + "\nnonsense\n" + bobsLine_ + "\n");
  expectFailure(2);
  write(bobsLine_ + "\n\n");
  expectFailure(2);
  write(bobsLine_ + std::string("\0\n", 2));
  expectFailure(1);
  write(bobsLine_ + std::string(700, ' ') + "\n");
  expectFailure(1);
  write(bobsLine_.substr(0, 20));
  expectFailure(1);
}

TEST_F(LoginLog, FailsForARecordWithoutWhatALoginNeeds) {
  for (const char* fields :
       {R"({"2":"bob","3":5})", R"({"1":"c","3":5})", R"({"1":"c","2":"bob"})",
        R"({"1":"c","2":"bob","3":0})", R"({"1":"c","2":"bob","3":2147483648})",
        R"({"1":"c","2":"bob","3":"5"})", R"({"1":"c","2":"bob","3":1.5})"}) {
    write(std::string("\"idB\":") + fields + "\n");
    expectFailure(1);
  }
}

TEST_F(LoginLog, MakesTextsPrintable) {
  write(R"("idB":{"1":"10.20.0.3\n","2":"b\u001b[2Jb","3":5,"4":-1,"5":"a\u202eb"})"
        "\n");
  ASSERT_TRUE(touchAccessTime(path(), "idB"));
  EXPECT_THAT(read(), ElementsAre(Row{5, "", "10.20.0.3\uFFFD", "b\uFFFD[2Jb", "a\uFFFDb", 9}));
}

TEST_F(LoginLog, FailsWithoutTheFile) {
  std::filesystem::remove(path());
  EXPECT_THAT(read(), IsEmpty());
  EXPECT_EQ(count_, -1);
  EXPECT_EQ(VLIBCErrGet(), ZEVO_ERR_FILE_OPEN);
  EXPECT_THAT(errorTrail(), ElementsAre("cannot open " + path() + ": No such file or directory"));
}

TEST_F(LoginLog, FailsWithoutAPath) {
  _tag_ZEVO_CURCONN_* records = nullptr;
  EXPECT_EQ(ZEVOCgiLoginUserCurrentLog("", &records), -1);
  EXPECT_EQ(ZEVOCgiLoginUserCurrentLog(nullptr, &records), -1);
}

}  // namespace
}  // namespace zevo
