#include "zevo/web_login.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/login_token.h"

#include "cgi/session_writer.h"
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
                   .started = 1795210000};
    EXPECT_TRUE(addWebLogin(path(), &login));
    return login;
  }
  [[nodiscard]] std::optional<WebLogin> find(const WebLogin& login) const {
    return findWebLogin(path(), login.id);
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
    EXPECT_EQ(findWebLogin(path(), id), std::nullopt) << id;
  }
  EXPECT_EQ(findWebLogin(path() + ".missing", alice.id), std::nullopt);
}

TEST_F(WebLogins, AreGoneOnceTheyWereIdle) {
  const WebLogin alice = add("alice");
  setAge(alice.id, std::chrono::minutes(14));
  EXPECT_TRUE(find(alice));
  setAge(alice.id, std::chrono::minutes(15));
  EXPECT_FALSE(find(alice));
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
  EXPECT_EQ(findWebLogin(path(), tokenHash("alice")), std::nullopt);
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
