#include "host/login_link.h"

#include <set>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/login_token.h"
#include "platform/cgi/session_fixture.h"

namespace zevo {
namespace {

using testing::Eq;
using testing::Optional;
using testing_support::SessionFixture;

TEST(LoginToken, IsNeverTheSame) {
  std::set<std::string> tokens;
  for (int i = 0; i < 1000; ++i) tokens.insert(newLoginToken());
  EXPECT_EQ(tokens.size(), 1000U);
  for (const std::string& token : tokens) EXPECT_TRUE(isLoginToken(token)) << token;
}

TEST(LoginToken, HashIsSha256InBase64Url) {
  EXPECT_EQ(tokenHash(""), "47DEQpj8HBSa-_TImW-5JCeuQeRkm5NMpJWZG3hSuFU");
  EXPECT_EQ(tokenHash("abc"), "ungWv48Bz-pBQUDeXa4iI7ADYaOWF3qctBD_YfIAFa0");
}

TEST(LoginToken, HasItsForm) {
  EXPECT_TRUE(isLoginToken(std::string(43, '-')));
  for (const std::string& text : {std::string(), std::string(42, 'a'), std::string(44, 'a'),
                                  std::string(42, 'a') + "=", std::string(42, 'a') + '\0'}) {
    EXPECT_FALSE(isLoginToken(text));
  }
}

class LoginLink : public SessionFixture {
 protected:
  [[nodiscard]] std::string create(const LinkAccount& account = {"alice", 1000}) const {
    std::string token;
    EXPECT_TRUE(createLoginLink(path(), account, &token));
    return token;
  }
  [[nodiscard]] std::string file(const std::string& token) const {
    return path() + ".login.links/" + tokenHash(token);
  }
  void age(const std::string& token, std::chrono::seconds age) const {
    std::filesystem::last_write_time(file(token),
                                     std::filesystem::file_time_type::clock::now() - age);
  }
};

TEST_F(LoginLink, WorksOnce) {
  const std::string token = create();
  EXPECT_THAT(takeLoginLink(path(), token), Optional(Eq(LinkAccount{"alice", 1000})));
  EXPECT_EQ(takeLoginLink(path(), token), std::nullopt);
}

TEST_F(LoginLink, CarriesTheEndOfAViewLogin) {
  const LinkAccount view = {"alice", 1000, 1795210000, "mark"};
  EXPECT_THAT(takeLoginLink(path(), create(view)), Optional(Eq(view)));
}

TEST_F(LoginLink, WorksForFiveMinutes) {
  const std::string young = create();
  const std::string old = create();
  age(young, std::chrono::seconds(295));
  age(old, std::chrono::seconds(300));
  EXPECT_TRUE(takeLoginLink(path(), young));
  EXPECT_FALSE(takeLoginLink(path(), old));
  EXPECT_FALSE(std::filesystem::exists(file(old)));
}

TEST_F(LoginLink, FromTheFutureDoesNotWork) {
  const std::string token = create();
  age(token, std::chrono::hours(-1));
  EXPECT_FALSE(takeLoginLink(path(), token));
}

TEST_F(LoginLink, KeepsItsTokensHashAlone) {
  const std::string token = create({"alice", 1000, std::nullopt, "mark"});
  EXPECT_TRUE(std::filesystem::exists(file(token)));
  EXPECT_EQ(testing_support::contentOf(file(token)), "1000 0 mark alice");
  struct stat status {};
  ASSERT_EQ(::stat(file(token).c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  ASSERT_EQ(::stat((path() + ".login.links").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0700U);
}

TEST_F(LoginLink, IsNotTakenByAnythingButItsToken) {
  const std::string token = create();
  for (const std::string& other : {tokenHash(token), std::string(), token + "a",
                                   std::string("../sessions"), newLoginToken()}) {
    EXPECT_FALSE(takeLoginLink(path(), other)) << other;
  }
  EXPECT_TRUE(takeLoginLink(path(), token));
}

TEST_F(LoginLink, IsTakenByOneOfManyProcesses) {
  constexpr int kProcesses = 16;
  const std::string token = create();
  for (int i = 0; i < kProcesses; ++i) {
    if (::fork() == 0) ::_exit(takeLoginLink(path(), token) ? 1 : 0);
  }
  int taken = 0;
  for (int i = 0; i < kProcesses; ++i) {
    int status = 0;
    ASSERT_GT(::wait(&status), 0);
    ASSERT_TRUE(WIFEXITED(status));
    taken += WEXITSTATUS(status);
  }
  EXPECT_EQ(taken, 1);
}

}  // namespace
}  // namespace zevo
