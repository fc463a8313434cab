#include "calls/scgi.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calls/scgi_text.h"

namespace calls {
namespace {

using namespace testing_support;
using State = ScgiParser::State;
using testing::IsNull;
using testing::Pointee;

State stateAfter(const std::string& bytes) {
  ScgiParser parser;
  return parser.feed(bytes);
}

// The state after a request whose header block is exactly `headers`.
State stateOf(const Headers& headers, const std::string& body = "") {
  return stateAfter(netstring(headerBlock(headers)) + body);
}

TEST(Scgi, ARequestWithABodyIsRead) {
  ScgiParser parser;
  ASSERT_EQ(parser.feed(scgiRequest({{"REQUEST_METHOD", "POST"}}, "{\"a\":1}")), State::kComplete);
  EXPECT_EQ(parser.request().body, "{\"a\":1}");
  EXPECT_THAT(parser.request().header("REQUEST_METHOD"), Pointee(std::string("POST")));
  EXPECT_THAT(parser.request().header("REQUEST_URI"), IsNull());
}

TEST(Scgi, ARequestIsReadByteByByte) {
  ScgiParser parser;
  const std::string bytes = scgiRequest({{"REQUEST_URI", "/api"}}, "body");
  for (std::size_t i = 0; i + 1 < bytes.size(); ++i) {
    ASSERT_EQ(parser.feed(bytes.substr(i, 1)), State::kNeedMore) << "byte " << i;
  }
  EXPECT_EQ(parser.feed(bytes.substr(bytes.size() - 1)), State::kComplete);
  EXPECT_EQ(parser.request().body, "body");
}

TEST(Scgi, AnEmptyBodyNeedsNoByte) {
  EXPECT_EQ(stateAfter(scgiRequest({})), State::kComplete);
}

TEST(Scgi, ALengthThatIsTooShortIsMalformed) {
  const std::string block = headerBlock({{"CONTENT_LENGTH", "0"}, {"SCGI", "1"}});
  EXPECT_EQ(stateAfter(std::to_string(block.size() - 1) + ":" + block + ","), State::kMalformed);
}

TEST(Scgi, ALengthThatIsTooLongWaitsForTheRest) {
  const std::string block = headerBlock({{"CONTENT_LENGTH", "0"}, {"SCGI", "1"}});
  EXPECT_EQ(stateAfter(std::to_string(block.size() + 2) + ":" + block + ","), State::kNeedMore);
}

TEST(Scgi, ABodyLengthThatIsTooShortIsMalformed) {
  EXPECT_EQ(stateOf({{"CONTENT_LENGTH", "3"}, {"SCGI", "1"}}, "four"), State::kMalformed);
}

TEST(Scgi, ABodyLengthThatIsTooLongWaitsForTheRest) {
  EXPECT_EQ(stateOf({{"CONTENT_LENGTH", "5"}, {"SCGI", "1"}}, "four"), State::kNeedMore);
}

TEST(Scgi, BytesBehindARequestAreMalformed) {
  EXPECT_EQ(stateAfter(scgiRequest({}) + "x"), State::kMalformed);
  ScgiParser parser;
  parser.feed(scgiRequest({}));
  EXPECT_EQ(parser.feed("x"), State::kComplete) << "a complete request takes nothing more";
}

TEST(Scgi, LengthsAreDigitsAlone) {
  for (const char* bytes : {"x", ":", "-1:", "+1:", " 1:", "01:", "0x1:", "0:,", "1e3:", "\n"}) {
    EXPECT_EQ(stateAfter(bytes), State::kMalformed) << bytes;
  }
  for (const char* length : {"", "-1", "+1", " 1", "01", "1 ", "1,1", "9999999999", "0x10"}) {
    EXPECT_EQ(stateOf({{"CONTENT_LENGTH", length}, {"SCGI", "1"}}), State::kMalformed) << length;
  }
}

TEST(Scgi, ALengthWithoutAnEndIsMalformed) {
  EXPECT_EQ(stateAfter(std::string(10, '1')), State::kMalformed);
}

TEST(Scgi, AnnouncingMoreThanTheLimitsIsTooLarge) {
  EXPECT_EQ(stateAfter(std::to_string(kLongestHeaders + 1) + ":"), State::kTooLarge);
  EXPECT_EQ(stateAfter(std::to_string(kLongestHeaders) + ":"), State::kNeedMore);
  const auto withBody = [](std::size_t size) {
    return stateOf({{"CONTENT_LENGTH", std::to_string(size)}, {"SCGI", "1"}});
  };
  EXPECT_EQ(withBody(100UL * 1024 * 1024), State::kTooLarge);
  EXPECT_EQ(withBody(kLongestBody + 1), State::kTooLarge);
  EXPECT_EQ(withBody(kLongestBody), State::kNeedMore);
}

TEST(Scgi, TakesLittleForALogin) {
  const auto login = [](const std::string& target, std::size_t length) {
    return stateAfter(netstring(headerBlock(
        {{"CONTENT_LENGTH", std::to_string(length)}, {"SCGI", "1"}, {"REQUEST_URI", target}})));
  };
  EXPECT_EQ(login("/api/login", kLongestLoginBody), State::kNeedMore);
  EXPECT_EQ(login("/api/login", kLongestLoginBody + 1), State::kTooLarge);
  EXPECT_EQ(login("/api/login?x", kLongestLoginBody + 1), State::kTooLarge);
  EXPECT_EQ(login("/api/logins", kLongestLoginBody + 1), State::kNeedMore);
}

TEST(Scgi, HeadersMustEndInAComma) {
  const std::string block = headerBlock({{"CONTENT_LENGTH", "0"}, {"SCGI", "1"}});
  EXPECT_EQ(stateAfter(std::to_string(block.size()) + ":" + block + ";"), State::kMalformed);
}

TEST(Scgi, ContentLengthComesFirstAndTheVersionIsOne) {
  EXPECT_EQ(stateOf({{"SCGI", "1"}, {"CONTENT_LENGTH", "0"}}), State::kMalformed);
  EXPECT_EQ(stateOf({{"CONTENT_LENGTH", "0"}}), State::kMalformed);
  EXPECT_EQ(stateOf({{"CONTENT_LENGTH", "0"}, {"SCGI", "2"}}), State::kMalformed);
}

TEST(Scgi, AHeaderWithoutAValueIsMalformed) {
  const std::string block = headerBlock({{"CONTENT_LENGTH", "0"}, {"SCGI", "1"}});
  EXPECT_EQ(stateAfter(netstring(block + std::string("NAME\0", 5))), State::kMalformed);
  EXPECT_EQ(stateAfter(netstring(block + "NAME")), State::kMalformed);
  EXPECT_EQ(stateAfter(netstring(block + std::string("\0v\0", 3))), State::kMalformed);
}

TEST(Scgi, ANameThatTheServerSetsMayNotStandTwice) {
  const Headers once = {{"CONTENT_LENGTH", "0"}, {"SCGI", "1"}, {"REMOTE_ADDR", "10.0.0.1"}};
  for (const char* name : {"REMOTE_ADDR", "SCGI", "CONTENT_LENGTH", "PATH_INFO"}) {
    Headers twice = once;
    twice.insert(twice.end(), {{"PATH_INFO", "x"}, {name, "1"}});
    EXPECT_EQ(stateOf(twice), State::kMalformed) << name;
  }
}

TEST(Scgi, AClientsHeaderThatIsReadMayNotStandTwice) {
  for (const char* name : {"HTTP_COOKIE", "HTTP_ORIGIN", "HTTP_HOST", "HTTP_SEC_FETCH_SITE"}) {
    EXPECT_EQ(stateAfter(scgiRequest({{name, "a"}, {name, "b"}})), State::kMalformed) << name;
  }
}

TEST(Scgi, AClientsHeaderThatNobodyReadsMayStandTwice) {
  ScgiParser parser;
  parser.feed(scgiRequest({{"HTTP_X_FOO", "a"}, {"HTTP_X_FOO", "b"}}));
  ASSERT_EQ(parser.state(), State::kComplete);
  EXPECT_THAT(parser.request().header("HTTP_X_FOO"), Pointee(std::string("a")));
}

}  // namespace
}  // namespace calls
