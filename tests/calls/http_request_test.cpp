#include "calls/http_request.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calls/scgi_text.h"

namespace calls {
namespace {

using namespace testing_support;
using testing::Eq;
using testing::Optional;

std::optional<HttpRequest> requestOf(Headers headers, const std::string& body = "") {
  ScgiParser parser;
  parser.feed(scgiRequest(headers, body));
  EXPECT_EQ(parser.state(), ScgiParser::State::kComplete);
  return httpRequest(std::move(parser.request()));
}

TEST(HttpRequest, HoldsWhatTheWebServerSays) {
  const auto request = requestOf({{"REQUEST_METHOD", "POST"},
                                  {"REQUEST_URI", "/api/x%2f?a=1?b"},
                                  {"CONTENT_TYPE", "application/json"},
                                  {"REMOTE_ADDR", "10.20.0.2"},
                                  {"HTTP_COOKIE", "a=b"},
                                  {"HTTP_HOST", "nas"},
                                  {"HTTP_ORIGIN", "http://nas"},
                                  {"HTTP_SEC_FETCH_SITE", "same-origin"},
                                  {"HTTP_USER_AGENT", "curl/7"},
                                  {"HTTP_CURRENTCONN_BACKGROUND", "1"},
                                  {"HTTPS", "on"}},
                                 "{}");
  ASSERT_TRUE(request);
  EXPECT_EQ(request->method, "POST");
  EXPECT_EQ(request->path, "/api/x%2f");
  EXPECT_EQ(request->query, "a=1?b");
  EXPECT_EQ(request->contentType, "application/json");
  EXPECT_EQ(request->body, "{}");
  EXPECT_THAT(request->remoteAddress, Optional(Eq("10.20.0.2")));
  EXPECT_THAT(request->cookie, Optional(Eq("a=b")));
  EXPECT_EQ(request->host, "nas");
  EXPECT_THAT(request->origin, Optional(Eq("http://nas")));
  EXPECT_THAT(request->fetchSite, Optional(Eq("same-origin")));
  EXPECT_EQ(request->userAgent, "curl/7");
  EXPECT_TRUE(request->background);
  EXPECT_TRUE(request->tls);
}

TEST(HttpRequest, KnowsWhatWasNotSent) {
  const auto request = requestOf({{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/"}});
  ASSERT_TRUE(request);
  EXPECT_FALSE(request->remoteAddress || request->cookie || request->origin || request->fetchSite);
  EXPECT_FALSE(request->background || request->tls);
}

TEST(HttpRequest, NeedsAMethodAndAPath) {
  EXPECT_FALSE(requestOf({{"REQUEST_URI", "/"}}));
  EXPECT_FALSE(requestOf({{"REQUEST_METHOD", "GET"}}));
  EXPECT_FALSE(requestOf({{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "http://nas/"}}));
  EXPECT_FALSE(requestOf({{"REQUEST_METHOD", "OPTIONS"}, {"REQUEST_URI", "*"}}));
}

TEST(HttpRequest, AClientWithoutAnAddressIsNone) {
  for (const char* address : {"", "unix:", "nas", "10.0.0.1:80", "10.0.0", "::g"}) {
    EXPECT_FALSE(
        requestOf({{"REQUEST_METHOD", "GET"}, {"REQUEST_URI", "/"}, {"REMOTE_ADDR", address}}))
        << address;
  }
}

TEST(CanonicalAddress, FoldsWhatMeansTheSame) {
  EXPECT_THAT(canonicalAddress("::ffff:10.20.0.2"), Optional(Eq("10.20.0.2")));
  EXPECT_THAT(canonicalAddress("FD20:0::2"), Optional(Eq("fd20::2")));
  EXPECT_THAT(canonicalAddress("fe80::1%eth0"), Optional(Eq("fe80::1")));
  EXPECT_EQ(canonicalAddress(std::string("10.20.0.2\0x", 11)), std::nullopt);
}

}  // namespace
}  // namespace calls
