#include "calls/cookie.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace calls {
namespace {

using testing::Eq;
using testing::Optional;

const std::string kToken(43, 'a');

TEST(Cookie, IsFoundAmongOthers) {
  EXPECT_THAT(cookieToken("a=b; currentconn=" + kToken + "; c=d", false), Optional(Eq(kToken)));
  EXPECT_THAT(cookieToken("currentconn=" + kToken, false), Optional(Eq(kToken)));
  EXPECT_THAT(cookieToken("__Host-currentconn=" + kToken, true), Optional(Eq(kToken)));
}

TEST(Cookie, OfPlainHttpIsNoneBehindTls) {
  EXPECT_EQ(cookieToken("currentconn=" + kToken, true), std::nullopt);
  EXPECT_EQ(cookieToken("__Host-currentconn=" + kToken, false), std::nullopt);
}

TEST(Cookie, ThatStandsTwiceIsNone) {
  const std::string one = "currentconn=" + kToken;
  EXPECT_EQ(cookieToken(one + "; " + one, false), std::nullopt);
  EXPECT_EQ(cookieToken("currentconn=x; " + one, false), std::nullopt);
}

TEST(Cookie, ThatIsNoTokenIsNone) {
  for (const std::string& value :
       {std::string(), std::string(42, 'a'), std::string(44, 'a'), std::string(42, 'a') + "/",
        std::string(42, 'a') + "=", std::string(42, 'a') + " ", "\"" + kToken + "\"",
        std::string(42, 'a') + "\xC3"}) {
    EXPECT_EQ(cookieToken("currentconn=" + value, false), std::nullopt) << value;
  }
  EXPECT_EQ(cookieToken("xcurrentconn=" + kToken + "; Currentconn=" + kToken, false), std::nullopt);
}

TEST(Cookie, IsFoundAmongThousands) {
  std::string header;
  for (int i = 0; i < 3000; ++i) header += "c" + std::to_string(i) + "=1; ";
  EXPECT_THAT(cookieToken(header + "currentconn=" + kToken, false), Optional(Eq(kToken)));
}

TEST(Cookie, IsKeptFromScriptsAndOtherSites) {
  EXPECT_EQ(cookieOf("T", false), "currentconn=T; Path=/api/; HttpOnly; SameSite=Strict");
  EXPECT_EQ(cookieOf("T", false, 60),
            "currentconn=T; Path=/api/; HttpOnly; SameSite=Strict; Max-Age=60");
  EXPECT_EQ(cookieOf("T", true), "__Host-currentconn=T; Path=/; HttpOnly; SameSite=Strict; Secure");
}

TEST(Cookie, IsTakenBackUnderTheSameAttributes) {
  EXPECT_EQ(cookieTakenBack(true),
            "__Host-currentconn=; Path=/; HttpOnly; SameSite=Strict; Secure; Max-Age=0");
}

}  // namespace
}  // namespace calls
