#include "host/web_login.h"

#include <cerrno>
#include <ctime>
#include <string>
#include <sys/stat.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/error_trail.h"

#include "base/file_failure.h"
#include "cgi/session_writer.h"
#include "host/login_token.h"
#include "platform/cgi/failing_open.h"
#include "platform/cgi/session_fixture.h"

namespace zevo {
namespace {

using testing::Eq;
using testing::HasSubstr;
using testing::Not;
using testing::Optional;
using testing_support::SessionFixture;

class WebLogins : public SessionFixture {
 protected:
  // A login of `user` whose id is the hash of its name.
  [[nodiscard]] WebLogin add(const std::string& user, uid_t uid = 1000) const {
    WebLogin login{.id = tokenHash(user),
                   .user = user,
                   .uid = uid,
                   .address = "10.20.0.2",
                   .browser = "Firefox",
                   .started = std::time(nullptr),
                   .passwordMark = "mark"};
    EXPECT_TRUE(addWebLogin(path(), &login));
    return login;
  }
  static WebLogin loginOfAlice(const std::string& token) {
    return {.id = tokenHash(token),
            .user = "alice",
            .uid = 1000,
            .address = "10.20.0.2",
            .started = std::time(nullptr),
            .passwordMark = "mark"};
  }
  [[nodiscard]] std::optional<WebLogin> find(const WebLogin& login) const {
    return findId(login.id);
  }
  [[nodiscard]] std::optional<WebLogin> findId(const std::string& id) const {
    WebLogin found;
    const LoginSearch search = findWebLogin(path(), id, &found);
    EXPECT_NE(search, LoginSearch::kFailed);
    return search == LoginSearch::kFound ? std::optional(found) : std::nullopt;
  }
  [[nodiscard]] LoginSearch searchFor(const WebLogin& login) const {
    WebLogin found;
    return findWebLogin(path(), login.id, &found);
  }
  // Gives the login of the file another start.
  void start(const WebLogin& login, std::time_t start) const {
    std::string text = content();
    const std::size_t field = text.find(R"("4":)", text.find(login.id)) + 4;
    write(text.replace(field, text.find(',', field) - field, std::to_string(start)));
  }
};

TEST_F(WebLogins, AreFoundAsTheyWereAdded) {
  const WebLogin alice = add("alice");
  const WebLogin root = add("admin", 0);
  EXPECT_THAT(find(alice), Optional(Eq(alice)));
  EXPECT_THAT(find(root), Optional(Eq(root)));
  EXPECT_EQ(alice.number, 1);
  EXPECT_EQ(root.number, 2);
}

TEST_F(WebLogins, AreNotFoundByAnotherId) {
  const WebLogin alice = add("alice");
  for (const std::string& id : {tokenHash("bob"), std::string(), alice.id.substr(1),
                                alice.id + "\":", std::string("../sessions")}) {
    EXPECT_EQ(findId(id), std::nullopt) << id;
  }
  std::filesystem::remove(path());
  EXPECT_EQ(find(alice), std::nullopt);
}

TEST_F(WebLogins, AreGoneOnceTheyWereIdle) {
  const WebLogin alice = add("alice");
  setAge(alice.id, std::chrono::minutes(14));
  EXPECT_TRUE(find(alice));
  setAge(alice.id, std::chrono::minutes(15));
  EXPECT_FALSE(find(alice));
}

TEST_F(WebLogins, AreGoneHoweverUsedOncePastTheirGreatestAge) {
  const WebLogin alice = add("alice");
  start(alice, alice.started - 12 * 3600 + 60);
  EXPECT_TRUE(find(alice));
  start(alice, alice.started - 12 * 3600);
  EXPECT_FALSE(find(alice));
  static_cast<void>(add("bob"));
  EXPECT_THAT(content(), Not(HasSubstr("alice")));
}

TEST_F(WebLogins, ToViewStayUntilTheirDateHoweverIdle) {
  WebLogin view{.id = tokenHash("view"),
                .user = "alice",
                .uid = 1000,
                .address = "10.20.0.2",
                .started = 1,
                .passwordMark = "mark",
                .viewUntil = std::time(nullptr) + 3600};
  ASSERT_TRUE(addWebLogin(path(), &view));
  setAge(view.id, std::chrono::hours(1000));
  static_cast<void>(add("bob"));
  EXPECT_THAT(find(view), Optional(Eq(view)));
  std::filesystem::remove(accessFile(view.id));
  EXPECT_THAT(find(view), Optional(Eq(view)));
  std::string text = content();
  const std::string end = std::to_string(*view.viewUntil);
  write(text.replace(text.find(end), end.size(), std::to_string(std::time(nullptr))));
  EXPECT_FALSE(find(view));
  write(text.replace(text.find(R"("8":)"), 4, R"("8":-)"));
  EXPECT_FALSE(find(view)) << "an end that is none makes no login with all rights of it";
}

TEST_F(WebLogins, DoNotEndWhereTheirAccessTimesCannotBeRead) {
  const WebLogin alice = add("alice");
  failing_open::fail(path() + ".access.time", ENFILE);
  EXPECT_EQ(searchFor(alice), LoginSearch::kFailed);
  EXPECT_EQ(searchFor(alice), LoginSearch::kFound);
  const std::string before = content();
  for (const int error : {ENFILE, ENOMEM, EIO}) {
    failing_open::fail(path() + ".access.time", error);
    clearErrorTrail();
    WebLogin bob{.id = tokenHash("bob"), .user = "bob", .address = "10.20.0.3"};
    EXPECT_FALSE(addWebLogin(path(), &bob));
    EXPECT_THAT(errorTrail(), testing::ElementsAre("cannot read " + path() +
                                                   ".access.time: " + errorText(error)));
    EXPECT_EQ(content(), before);
    EXPECT_TRUE(std::filesystem::exists(accessFile(alice.id)));
  }
}

TEST_F(WebLogins, AreNotKnownWhereTheFileIsNoFile) {
  const WebLogin alice = add("alice");
  std::filesystem::remove(path());
  std::filesystem::create_directory(path());
  EXPECT_EQ(searchFor(alice), LoginSearch::kFailed);
  std::filesystem::remove(path());
  ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
  clearErrorTrail();
  EXPECT_EQ(searchFor(alice), LoginSearch::kFailed);
  EXPECT_THAT(errorTrail(),
              testing::ElementsAre("cannot read " + path() + ": Operation not supported"));
}

TEST_F(WebLogins, StayCurrentWhileTheyAreUsed) {
  const WebLogin alice = add("alice");
  setAge(alice.id, std::chrono::minutes(14));
  touchWebLogin(path(), alice.id);
  EXPECT_LT(std::filesystem::file_time_type::clock::now() -
                std::filesystem::last_write_time(accessFile(alice.id)),
            std::chrono::minutes(1));
}

TEST_F(WebLogins, ThatWereRemovedAreNotBroughtBackByAUse) {
  const WebLogin alice = add("alice");
  ASSERT_TRUE(removeWebLogin(path(), alice.id));
  touchWebLogin(path(), alice.id);
  EXPECT_FALSE(std::filesystem::exists(accessFile(alice.id)));
  EXPECT_FALSE(find(alice));
}

TEST_F(WebLogins, AreRemovedOneByOne) {
  const WebLogin alice = add("alice");
  const WebLogin bob = add("bob");
  EXPECT_TRUE(removeWebLogin(path(), alice.id));
  EXPECT_FALSE(find(alice));
  EXPECT_TRUE(find(bob));
  EXPECT_TRUE(removeWebLogin(path(), alice.id)) << "there is nothing left to remove";
}

TEST_F(WebLogins, ThatWereIdleGoAtTheNextLogin) {
  const WebLogin idle = add("alice");
  const WebLogin used = add("bob");
  setAge(idle.id, std::chrono::minutes(16));
  folder_.write("run/sessions.access.time/" + tokenHash("nobody"), "");
  static_cast<void>(add("carol"));
  EXPECT_THAT(content(), Not(HasSubstr("alice")));
  EXPECT_FALSE(std::filesystem::exists(accessFile(idle.id)));
  EXPECT_FALSE(std::filesystem::exists(accessFile(tokenHash("nobody"))));
  EXPECT_TRUE(find(used));
}

TEST_F(WebLogins, OfOneAccountAreSoManyAndTheLongestUnusedEndsForTheNext) {
  const WebLogin bob = add("bob");
  setAge(bob.id, std::chrono::minutes(14));
  WebLogin view = loginOfAlice("view");
  view.viewUntil = std::time(nullptr) + 3600;
  ASSERT_TRUE(addWebLogin(path(), &view));
  std::vector<WebLogin> logins;
  for (int i = 0; i < kMostLogins; ++i) {
    logins.push_back(loginOfAlice(std::to_string(i)));
    ASSERT_TRUE(addWebLogin(path(), &logins.back()));
    setAge(logins.back().id, std::chrono::seconds(i == 5 ? 500 : 300));
  }
  for (const WebLogin& login : logins) EXPECT_TRUE(find(login));
  WebLogin next = loginOfAlice("next");
  ASSERT_TRUE(addWebLogin(path(), &next));
  EXPECT_FALSE(find(logins[5])) << "the longest unused";
  logins[5] = next;
  for (const WebLogin& login : logins) EXPECT_TRUE(find(login));
  EXPECT_TRUE(find(bob)) << "another account's";
  EXPECT_TRUE(find(view)) << "a view login ends on its date";
}

TEST_F(WebLogins, KeepTheFileOfARefusedLogin) {
  static_cast<void>(add("alice"));
  const std::string before = content();
  WebLogin again;
  again.id = tokenHash("alice");
  again.user = "bob";
  EXPECT_FALSE(addWebLogin(path(), &again));
  EXPECT_EQ(content(), before);
}

TEST_F(WebLogins, WithoutTheirAccountsNumberAreNone) {
  ASSERT_GT(appendLogin(path(), login(tokenHash("alice")), 1000), 0);
  EXPECT_EQ(findId(tokenHash("alice")), std::nullopt);
}

TEST_F(WebLogins, KeyIsMadeOnceForTheirOwnerAlone) {
  const auto key = loginKey(path());
  ASSERT_TRUE(key);
  EXPECT_TRUE(isLoginToken(*key));
  EXPECT_EQ(loginKey(path()), key);
  struct stat status {};
  ASSERT_EQ(::stat((path() + ".key").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(WebLogins, KeyIsMadeAnewWhereItIsNoneOrOthersCouldHaveReadIt) {
  const std::string file = path() + ".key";
  const auto first = loginKey(path());
  ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
  const auto second = loginKey(path());
  EXPECT_NE(second, first);
  folder_.write("run/sessions.key", "short");
  const auto third = loginKey(path());
  EXPECT_NE(third, second);
  EXPECT_EQ(loginKey(path()), third);
}

TEST_F(WebLogins, KeyThatCannotBeReadIsNotReplaced) {
  const auto key = loginKey(path());
  failing_open::fail(path() + ".key", ENFILE);
  EXPECT_EQ(loginKey(path()), std::nullopt);
  EXPECT_EQ(loginKey(path()), key);
}

TEST(KeyedHash, IsHmacSha256) {
  // The second test case of RFC 4231.
  EXPECT_EQ(keyedHash("Jefe", "what do ya want for nothing?"),
            "W9zBRr9gdU5qBCQmCJV1x1oAPwidJzmDnexYuWTsOEM");
}

TEST(BrowserName, IsShort) {
  EXPECT_EQ(browserName("Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0"),
            "Firefox");
  EXPECT_EQ(browserName("Mozilla/5.0 (X11) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/126.0 "
                        "Safari/537.36 Edg/126.0"),
            "Edge");
  EXPECT_EQ(browserName("Mozilla/5.0 (X11) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/126.0 "
                        "Safari/537.36"),
            "Chrome");
  EXPECT_EQ(browserName("curl/7.88.1"), "curl");
  EXPECT_EQ(browserName(""), "");
  EXPECT_EQ(browserName("\x1B[31m" + std::string(5000, 'x')).size(), 40U);
}

}  // namespace
}  // namespace zevo
