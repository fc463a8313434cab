#include "calls/route.h"

#include <string>

#include <gtest/gtest.h>

namespace calls {
namespace {

void handler(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* /*response*/) {}

class Routes : public testing::Test {
 protected:
  Routes() {
    static const ApiMethodRow table[] = {{"An.Api", 1, "list", &handler},
                                         {"An.Api", 1, "kick_connection", &handler},
                                         {"An.Api", 12, "erase", &handler},
                                         {nullptr, 0, nullptr, nullptr}};
    std::string error;
    EXPECT_TRUE(modules_.add(table, "test", &error)) << error;
  }
  [[nodiscard]] Endpoint at(const std::string& path) const {
    return routeOf(path, modules_).endpoint;
  }
  Modules modules_;
};

TEST_F(Routes, LeadToTheEndpoints) {
  EXPECT_EQ(at("/api/login"), Endpoint::kLogin);
  EXPECT_EQ(at("/api/logout"), Endpoint::kLogout);
  EXPECT_EQ(at("/api/whoami"), Endpoint::kWhoAmI);
  EXPECT_EQ(at("/api/plan"), Endpoint::kPlan);
  EXPECT_EQ(at("/api/perform"), Endpoint::kPerform);
  EXPECT_EQ(at("/api/enable"), Endpoint::kEnable);
  EXPECT_EQ(at("/api/disabled"), Endpoint::kDisabled);
  EXPECT_EQ(at("/api/openapi.json"), Endpoint::kDescription);
  EXPECT_EQ(at("/api/An.Api/1/list"), Endpoint::kMethod);
  EXPECT_EQ(routeOf("/api/An.Api/1/list", modules_).handler, &handler);
  EXPECT_EQ(at("/api/An.Api/12/erase"), Endpoint::kMethod);
}

TEST_F(Routes, AreExact) {
  for (const char* path : {"",
                           "/",
                           "/api",
                           "/api/",
                           "/api/login/",
                           "/api/Login",
                           "/api//login",
                           "/api/%6Cogin",
                           "/api/./login",
                           "/api/x/../login",
                           "/API/login",
                           "/api/An.Api/1/list/",
                           "/api/An.Api/1/LIST",
                           "/api/An.Api/01/list",
                           "/api/An.Api/+1/list",
                           "/api/An.Api/-1/list",
                           "/api/An.Api/2/list",
                           "/api/An.Api/1.0/list",
                           "/api/An.Api/1",
                           "/api/An.Api/1/",
                           "/api/An.Api//list",
                           "/api/An.Api/1/list%00",
                           "/api/An%2EApi/1/list",
                           "/api/An.Api/1/../1/list",
                           "/api/An.Api/99999999999999999999/list",
                           "/api/Other/1/list"}) {
    EXPECT_EQ(at(path), Endpoint::kNone) << path;
  }
  EXPECT_EQ(at(std::string("/api/login\0", 11)), Endpoint::kNone);
}

TEST_F(Routes, ReadWithGetAndPost) {
  const Route route = routeOf("/api/An.Api/1/list", modules_);
  EXPECT_FALSE(route.changesState);
  EXPECT_TRUE(route.allows("GET"));
  EXPECT_TRUE(route.allows("POST"));
  for (const char* method : {"HEAD", "PUT", "DELETE", "OPTIONS", "get", "", "GET, POST"}) {
    EXPECT_EQ(route.allows(method), std::string(method) == "GET, POST") << method;
  }
}

TEST_F(Routes, ChangeStateWithPostAlone) {
  for (const char* path : {"/api/An.Api/1/kick_connection", "/api/An.Api/12/erase"}) {
    const Route route = routeOf(path, modules_);
    EXPECT_TRUE(route.changesState) << path;
    EXPECT_TRUE(route.allows("POST")) << path;
    EXPECT_FALSE(route.allows("GET")) << path;
  }
  EXPECT_FALSE(routeOf("/api/login", modules_).allows("GET"));
  EXPECT_FALSE(routeOf("/api/perform", modules_).allows("GET"));
  EXPECT_FALSE(routeOf("/api/whoami", modules_).allows("POST"));
}

TEST(Modules, AMethodThatIsServedAlreadyIsRefused) {
  static const ApiMethodRow table[] = {{"A", 1, "list", &handler}, {nullptr, 0, nullptr, nullptr}};
  Modules modules;
  std::string error;
  ASSERT_TRUE(modules.add(table, "first.so", &error));
  EXPECT_FALSE(modules.add(table, "second.so", &error));
  EXPECT_EQ(error, "cannot load the module second.so: another module already serves A list");
}

TEST(Modules, ARowWithoutAHandlerIsRefused) {
  static const ApiMethodRow table[] = {{"A", 1, "list", nullptr}, {nullptr, 0, nullptr, nullptr}};
  Modules modules;
  std::string error;
  EXPECT_FALSE(modules.add(table, "a.so", &error));
}

}  // namespace
}  // namespace calls
