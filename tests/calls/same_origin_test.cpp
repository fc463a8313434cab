#include "calls/same_origin.h"

#include <gtest/gtest.h>

namespace calls {
namespace {

struct Sent {
  const char* origin = nullptr;
  const char* fetchSite = nullptr;
  bool tls = false;
  const char* host = "nas:8088";
};

bool accepted(const Sent& sent) {
  HttpRequest request;
  request.host = sent.host;
  request.tls = sent.tls;
  if (sent.origin != nullptr) request.origin = sent.origin;
  if (sent.fetchSite != nullptr) request.fetchSite = sent.fetchSite;
  return isSameOrigin(request);
}

TEST(SameOrigin, APageOfThisServerMayCall) {
  EXPECT_TRUE(accepted({.origin = "http://nas:8088", .fetchSite = "same-origin"}));
  EXPECT_TRUE(accepted({.origin = "http://NAS:8088"}));
  EXPECT_TRUE(accepted({.fetchSite = "same-origin"}));
}

TEST(SameOrigin, AProgramThatIsNoBrowserMayCall) {
  EXPECT_TRUE(accepted({}));
}

TEST(SameOrigin, APageOfAnotherOriginMayNotCall) {
  for (const char* origin : {"http://evil", "http://nas", "http://nas:80880",
                             "http://nas:8088.evil", "http://evil/nas:8088", "null", "", "nas:8088",
                             "file://nas:8088", "http://", "http://nas:8088/"}) {
    EXPECT_FALSE(accepted({.origin = origin})) << origin;
  }
}

TEST(SameOrigin, WhatTheBrowserSaysOfThePageCounts) {
  for (const char* site : {"cross-site", "same-site", "none", "", "SAME-ORIGIN"}) {
    EXPECT_FALSE(accepted({.origin = "http://nas:8088", .fetchSite = site})) << site;
  }
}

TEST(SameOrigin, AnEncryptedServerIsAskedFromAnEncryptedPage) {
  EXPECT_TRUE(accepted({.origin = "https://nas:8088", .tls = true}));
  EXPECT_FALSE(accepted({.origin = "http://nas:8088", .tls = true}));
}

TEST(SameOrigin, WhereTlsEndsInFrontEitherSchemeWillDo) {
  EXPECT_TRUE(accepted({.origin = "https://nas:8088"}));
}

TEST(SameOrigin, AnEmptyHostIsNobodysOrigin) {
  EXPECT_FALSE(accepted({.origin = "http://", .host = ""}));
}

}  // namespace
}  // namespace calls
