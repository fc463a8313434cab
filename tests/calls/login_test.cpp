#include "calls/login.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/reader.h>

#include "calls/fake_accounts.h"
#include "host/config.h"
#include "host/login_token.h"
#include "platform/base/temporary_folder.h"

namespace calls {
namespace {

using namespace testing_support;
using testing::Ge;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

Json::Value json(const std::string& text) {
  Json::Value value;
  EXPECT_TRUE(Json::Reader().parse(text, value)) << text;
  return value;
}

zevo::LinkAccount linkOf(const std::string& name, uid_t uid,
                         std::optional<std::time_t> viewUntil = std::nullopt) {
  return {name, uid, viewUntil, "mark of " + name};
}

class Logging : public testing::Test {
 protected:
  ~Logging() override {
    std::string error;
    zevo::loadConfig("/nonexistent", false, &error);
  }
  void allowRootsPassword() {
    std::string error;
    const std::string path = folder_.write("c.toml", "root_password_login = true\n");
    ASSERT_TRUE(zevo::loadConfig(path, true, &error)) << error;
  }

  Logging() {
    accounts_.add({"alice", 1000, false, false});
    accounts_.add({"bob", 1001, true, true});
    accounts_.add({"root", 0, false, true});
    request_.remoteAddress = "10.20.0.2";
    request_.userAgent = "curl/7.88.1";
  }

  Answer post(const std::string& body) {
    request_.body = body;
    testing::internal::CaptureStderr();
    Answer answer = logIn(request_, tools_);
    log_ = testing::internal::GetCapturedStderr();
    return answer;
  }
  Answer postName(const std::string& name, const std::string& password = "right") {
    return post(R"({"name":")" + name + R"(","password":")" + password + "\"}");
  }
  void expectRefusal(const Answer& answer) {
    EXPECT_EQ(answer.status, 401);
    EXPECT_EQ(answer.body, problemAnswer(Problem::kWrongLogin).body);
    EXPECT_EQ(answer.headers, problemAnswer(Problem::kWrongLogin).headers);
    EXPECT_TRUE(added_.empty());
    EXPECT_THAT(waited_, SizeIs(1));
  }

  zevo::testing_support::TemporaryFolder folder_;
  FakeAccounts accounts_;
  HttpRequest request_;
  std::vector<std::string> asked_;  // names that PAM was asked for
  std::string settled_;             // the account that PAM gives in place of the name
  std::vector<zevo::WebLogin> added_;
  std::vector<std::chrono::milliseconds> waited_;
  std::vector<std::string> refused_;
  std::vector<std::string> letIn_;
  std::optional<zevo::LinkAccount> link_;
  std::string log_;
  LoginTools tools_{accounts_,
                    [this](const std::string& name, const Secret& password, const std::string&) {
                      asked_.push_back(name);
                      const bool right = password.text() == "right" && accounts_.byName(name);
                      const std::string account = settled_.empty() ? name : settled_;
                      return right ? PamResult{true, account, ""} : PamResult{false, "", "wrong"};
                    },
                    [this](const std::string&) { return std::exchange(link_, std::nullopt); },
                    [this](zevo::WebLogin* login) {
                      added_.push_back(*login);
                      return true;
                    },
                    [this](std::chrono::milliseconds time) { waited_.push_back(time); },
                    [this](const std::string& address) { refused_.push_back(address); },
                    [this](const std::string& address) { letIn_.push_back(address); }};
};

TEST_F(Logging, InRecordsTheLoginUnderTheHashOfItsToken) {
  const Answer answer = postName("alice");
  EXPECT_EQ(answer.status, 200);
  ASSERT_THAT(added_, SizeIs(1));
  EXPECT_EQ(added_[0].user, "alice");
  EXPECT_EQ(added_[0].uid, 1000U);
  EXPECT_EQ(added_[0].address, "10.20.0.2");
  EXPECT_EQ(added_[0].browser, "curl");
  EXPECT_EQ(added_[0].passwordMark, "mark of alice");
  EXPECT_EQ(letIn_, std::vector<std::string>{"10.20.0.2"});
  ASSERT_THAT(answer.headers, SizeIs(2));
  const std::string cookie = answer.headers[1].second;
  EXPECT_EQ(answer.headers[1].first, "Set-Cookie");
  EXPECT_EQ(zevo::tokenHash(cookie.substr(12, 43)), added_[0].id);
  EXPECT_EQ(cookie.substr(55), "; Path=/api/; HttpOnly; SameSite=Strict");
  EXPECT_THAT(log_, HasSubstr("login from 10.20.0.2: user \"alice\"\n"));
}

TEST_F(Logging, InSaysWhoIsLoggedIn) {
  EXPECT_EQ(json(postName("alice").body),
            json(R"({"data":{"user":"alice","isAdmin":false,"via":"web","address":"10.20.0.2",
                     "idleMinutes":15}})"));
}

TEST_F(Logging, InBehindTlsGivesTheCookieThatStaysThere) {
  request_.tls = true;
  EXPECT_THAT(postName("alice").headers[1].second, testing::StartsWith("__Host-currentconn="));
}

TEST_F(Logging, InIsRefusedTheSameWayWhateverTheReason) {
  expectRefusal(postName("alice", "wrong"));
  EXPECT_THAT(log_, HasSubstr("login refused from 10.20.0.2: user \"alice\": wrong\n"));
  waited_.clear();
  expectRefusal(postName("mallory"));
  waited_.clear();
  expectRefusal(postName("bob"));
  EXPECT_THAT(log_, HasSubstr("disabled or has expired"));
  waited_.clear();
  expectRefusal(postName(""));
}

TEST_F(Logging, InAsksForAnUnknownNameToo) {
  postName("mallory");
  EXPECT_EQ(asked_, std::vector<std::string>{"mallory"});
}

TEST_F(Logging, InIsAnsweredLateWhereItIsRefused) {
  postName("alice", "wrong");
  EXPECT_GT(waited_.at(0), std::chrono::milliseconds(1500));
  EXPECT_LE(waited_.at(0), kRefusalDelay);
  EXPECT_EQ(refused_, std::vector<std::string>{"10.20.0.2"});
}

TEST_F(Logging, InIsRefusedToAccountsThatAreLockedOrHaveNoLoginShell) {
  accounts_.add({.name = "alice", .uid = 1000, .isLocked = true});
  expectRefusal(postName("alice"));
  EXPECT_THAT(log_, HasSubstr("user \"alice\": the account is locked\n"));
  waited_.clear();
  accounts_.add({.name = "alice", .uid = 1000, .hasLoginShell = false});
  link_ = linkOf("alice", 1000);
  expectRefusal(post(R"({"token":"T"})"));
  EXPECT_THAT(log_, HasSubstr("user \"alice\": the account has no login shell\n"));
}

TEST_F(Logging, InIsRefusedWhereThePasswordWasChangedWhilePamTookTheOldOne) {
  tools_.checkPassword = [this](const std::string& name, const Secret&, const std::string&) {
    accounts_.add({.name = name, .uid = 1000, .passwordMark = "another one"});
    return PamResult{true, name, ""};
  };
  expectRefusal(postName("alice"));
  EXPECT_THAT(log_, HasSubstr("user \"alice\": the password was changed in the meantime\n"));
}

TEST_F(Logging, InWithRootsPasswordIsRefusedUnlessItIsAllowed) {
  for (const char* name : {"root", "admin"}) {
    waited_.clear();
    expectRefusal(postName(name));
    EXPECT_THAT(log_, HasSubstr("root logs in by a link"));
  }
  EXPECT_TRUE(asked_.empty()) << "nobody tries root's password";
}

TEST_F(Logging, InAsAnAccountThatPamTurnsIntoRootIsRefusedToo) {
  settled_ = "root";
  expectRefusal(postName("alice"));
}

TEST_F(Logging, InWithRootsPasswordNeedsAnAccountThatIsInUse) {
  allowRootsPassword();
  accounts_.add({.name = "root", .uid = 0, .isLocked = true});
  expectRefusal(postName("root"));
  waited_.clear();
  accounts_.add({.name = "root", .uid = 0, .hasLoginShell = false});
  expectRefusal(postName("root"));
}

TEST_F(Logging, InAsRootIsAdmin) {
  allowRootsPassword();
  for (const char* name : {"root", "admin"}) {
    added_.clear();
    EXPECT_EQ(postName(name).status, 200);
    ASSERT_THAT(added_, SizeIs(1));
    EXPECT_EQ(added_[0].user, "admin");
    EXPECT_EQ(added_[0].uid, 0U);
    EXPECT_EQ(asked_.back(), "root");
  }
}

TEST_F(Logging, InAsRootIsRefusedWhereAnAccountHasItsAlias) {
  allowRootsPassword();
  accounts_.add({"admin", 1002, false, false});
  expectRefusal(postName("root"));
  waited_.clear();
  EXPECT_EQ(postName("admin").status, 200);
  EXPECT_EQ(added_.at(0).uid, 1002U);
}

TEST_F(Logging, InWithALinkNeedsNoPassword) {
  accounts_.add({.name = "root", .uid = 0, .isLocked = true, .hasLoginShell = false});
  link_ = linkOf("root", 0);
  const Answer answer = post(R"({"token":"T"})");
  EXPECT_EQ(json(answer.body)["data"]["user"], "admin");
  EXPECT_EQ(added_.at(0).uid, 0U);
  EXPECT_TRUE(asked_.empty());
}

TEST_F(Logging, InWithALinkToViewEndsOnItsDate) {
  const std::time_t end = std::time(nullptr) + 86400;
  link_ = linkOf("root", 0, end);
  const Answer answer = post(R"({"token":"T"})");
  EXPECT_EQ(json(answer.body)["data"]["viewUntil"].asInt64(), end);
  EXPECT_EQ(added_.at(0).viewUntil, end);
  EXPECT_EQ(added_.at(0).browser, "curl (view only)");
  EXPECT_THAT(answer.headers[1].second, testing::MatchesRegex(".*; Max-Age=86(400|39[0-9])"));
  added_.clear();
  link_ = linkOf("root", 0, std::time(nullptr));
  expectRefusal(post(R"({"token":"T"})"));
}

TEST_F(Logging, InWithALinkThatIsNoneIsRefused) {
  expectRefusal(post(R"({"token":"T"})"));
  waited_.clear();
  link_ = linkOf("alice", 4711);
  expectRefusal(post(R"({"token":"T"})"));
  waited_.clear();
  link_ = linkOf("bob", 1001);
  expectRefusal(post(R"({"token":"T"})"));
}

TEST_F(Logging, InWithALinkIsRefusedOnceThePasswordWasChanged) {
  accounts_.add({.name = "alice", .uid = 1000, .passwordMark = "of another password"});
  link_ = linkOf("alice", 1000);
  expectRefusal(post(R"({"token":"T"})"));
  EXPECT_THAT(log_, HasSubstr("the password was changed after the link was made"));
}

TEST_F(Logging, InNeedsANameAndAPasswordOrAToken) {
  for (const char* body :
       {"", "{}", "[]", R"({"name":"alice"})", R"({"password":"right"})",
        R"({"name":["alice"],"password":"right"})", R"({"name":"alice","password":null})",
        R"({"name":"alice","password":"right","more":1})", R"({"token":1})",
        R"({"name":"a\u0000b","password":"right"})",
        R"({"name":"alice","password":"ri\u0000ght"})"}) {
    EXPECT_EQ(post(body).status, 400) << body;
  }
  EXPECT_EQ(postName(std::string(256, 'a')).status, 400);
  EXPECT_EQ(postName("alice", std::string(512, 'a')).status, 400);
  EXPECT_TRUE(asked_.empty());
}

TEST_F(Logging, InLeavesNoPasswordInTheRequest) {
  postName("alice", "right");
  EXPECT_TRUE(request_.body.empty());
  EXPECT_EQ(std::string(request_.body.data(), request_.body.capacity()).find("right"),
            std::string::npos);
}

TEST_F(Logging, InIsOneLineOfTheLogWhateverTheName) {
  postName(R"(a\nlogin from 6.6.6.6: user \"root\")", "x");
  EXPECT_EQ(std::count(log_.begin(), log_.end(), '\n'), 1);
  EXPECT_THAT(log_, HasSubstr("refused from 10.20.0.2: user \"a\xEF\xBF\xBDlogin from 6.6.6.6: "
                              "user \\\"root\\\"\": wrong\n"));
}

TEST_F(Logging, InNeedsAClientsAddress) {
  request_.remoteAddress.reset();
  EXPECT_EQ(postName("alice").status, 400);
  EXPECT_TRUE(asked_.empty());
}

}  // namespace
}  // namespace calls
