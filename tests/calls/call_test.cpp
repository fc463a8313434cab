#include "calls/call.h"

#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/session_file.h"

#include "calls/fake_accounts.h"
#include "platform/base/temporary_folder.h"

namespace calls {
namespace {

using namespace testing_support;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kUsersToken(43, 'u');
const std::string kAdministratorsToken(43, 'a');
constexpr uid_t kUser = 1000;
constexpr uid_t kAdministrator = 1001;
constexpr uid_t kWebServer = 33;
const std::string kTest = "/api/Test/1/";

class Calls : public testing::Test {
 protected:
  Calls() {
    std::string error;
    EXPECT_TRUE(modules_.load(MODULES_FOLDER "/misbehaving", &error)) << error;
    EXPECT_EQ(ZEVOCgiSessionFileCreate(sessionFile_.c_str()), 0);
    accounts_.add({"alice", kUser, false, false});
    accounts_.add({"bob", kAdministrator, false, true});
    accounts_.add({"www-data", kWebServer, false, false});
    accounts_.add({"root", 0, false, true});
    logins_.add(kUsersToken, "alice", kUser);
    logins_.add(kAdministratorsToken, "bob", kAdministrator);
  }

  static HttpRequest get(const std::string& path, const std::string& query = "") {
    HttpRequest request;
    request.method = "GET";
    request.path = path;
    request.query = query;
    return request;
  }
  static HttpRequest post(const std::string& path, const std::string& body = "{}") {
    HttpRequest request;
    request.method = "POST";
    request.path = path;
    request.contentType = "application/json";
    request.body = body;
    return request;
  }
  Reply overWeb(HttpRequest request, const std::string& token = kUsersToken) {
    request.remoteAddress = "10.20.0.2";
    request.host = "nas";
    if (!token.empty()) request.cookie = "currentconn=" + token;
    return answerCall(request, SocketKind::kWeb, kWebServer, service_, scoreboard_.slot(0));
  }
  Reply locally(HttpRequest request, uid_t peer) {
    return answerCall(request, SocketKind::kLocal, peer, service_, scoreboard_.slot(0));
  }

  zevo::testing_support::TemporaryFolder folder_;
  const std::string sessionFile_ = folder_.file("run/sessions");
  Modules modules_;
  Scoreboard scoreboard_{32};
  FakeAccounts accounts_;
  FakeLogins logins_;
  LoginTools login_{accounts_,
                    [](const std::string& name, const Secret&, const std::string&) {
                      return PamResult{true, name, ""};
                    },
                    [](const std::string&) { return std::nullopt; },
                    [](zevo::WebLogin*) { return true; },
                    [](std::chrono::milliseconds) {},
                    [](const std::string&) {},
                    [](const std::string&) {}};
  Service service_{modules_, scoreboard_, accounts_, logins_, login_, sessionFile_};
};

TEST_F(Calls, OverTheWebRunAsTheLoginsAccount) {
  EXPECT_THAT(overWeb(get(kTest + "list")).bytes,
              HasSubstr("\"isAdmin\":false,\"number\":-1,\"sessionFile\":\"" + sessionFile_ +
                        "\",\"text\":\"none\",\"user\":\"alice\""));
  EXPECT_THAT(overWeb(get(kTest + "list"), kAdministratorsToken).bytes,
              HasSubstr("\"isAdmin\":true"));
}

TEST_F(Calls, OverTheLocalSocketRunAsTheProcesssAccount) {
  EXPECT_THAT(locally(post(kTest + "list"), kUser).bytes, HasSubstr("\"user\":\"alice\""));
  EXPECT_THAT(locally(post(kTest + "list"), 0).bytes,
              testing::AllOf(HasSubstr("\"isAdmin\":true"), HasSubstr("\"user\":\"admin\"")));
}

TEST_F(Calls, WithAQueryHaveTextsAndWithABodyHaveTypes) {
  EXPECT_THAT(overWeb(get(kTest + "list", "value=445")).bytes, HasSubstr("\"text\":\"445\""));
  EXPECT_THAT(overWeb(post(kTest + "list", R"({"value":445})")).bytes,
              HasSubstr("\"text\":\"none\""));
}

TEST_F(Calls, ThatChangeStateTakeNoGet) {
  const Reply reply = overWeb(get(kTest + "echo"));
  EXPECT_EQ(reply.status, 405);
  EXPECT_THAT(reply.bytes, HasSubstr("\r\nAllow: POST\r\n"));
}

TEST_F(Calls, ToNowhereAreNotFound) {
  EXPECT_EQ(overWeb(get("/api/Test/1/nothing")).status, 404);
  EXPECT_EQ(overWeb(get("/api/Test/1/../1/list")).status, 404);
  EXPECT_EQ(overWeb(get("/")).status, 404);
}

TEST_F(Calls, ThatAreMalformedAreToldSo) {
  EXPECT_EQ(overWeb(get(kTest + "list", "a=%")).status, 400);
  HttpRequest bodied = get(kTest + "list");
  bodied.body = "{}";
  EXPECT_EQ(overWeb(bodied).status, 400);
  EXPECT_EQ(overWeb(post(kTest + "echo", "{")).status, 400);
  HttpRequest both = post(kTest + "echo");
  both.query = "a=1";
  EXPECT_EQ(overWeb(both).status, 400);
}

TEST_F(Calls, WithABodyThatIsNoJsonAreRefused) {
  HttpRequest form = post(kTest + "echo", "a=1");
  form.contentType = "application/x-www-form-urlencoded";
  EXPECT_EQ(overWeb(form).status, 415);
  form.path = "/api/login";
  EXPECT_EQ(overWeb(form, "").status, 415);
  HttpRequest empty = post(kTest + "echo", "");
  empty.contentType = "";
  EXPECT_EQ(overWeb(empty).status, 200);
}

TEST_F(Calls, FromAPageOfAnotherOriginAreRefused) {
  for (const std::string& path :
       {kTest + "echo", kTest + "list", std::string("/api/login"), std::string("/api/logout")}) {
    HttpRequest request = post(path);
    request.origin = "http://evil";
    EXPECT_EQ(overWeb(request).status, 403) << path;
    request.origin = "http://nas";
    EXPECT_NE(overWeb(request).status, 403) << path;
    request.fetchSite = "cross-site";
    EXPECT_EQ(overWeb(request).status, 403) << path;
  }
}

TEST_F(Calls, AboveTheNumberOfLoginsAreRejected) {
  for (std::size_t i = 1; i <= kLoginPlaces.ofStrangers; ++i) {
    ASSERT_TRUE(
        scoreboard_.beginLogin(scoreboard_.slot(i), "10.0.0." + std::to_string(i), kLoginPlaces));
  }
  EXPECT_EQ(overWeb(post("/api/login", R"({"name":"alice","password":"x"})"), "").status, 503);
  scoreboard_.slot(1).clear();
  EXPECT_EQ(overWeb(post("/api/login", R"({"name":"alice","password":"x"})"), "").status, 200);
}

TEST_F(Calls, OfAViewLoginListAndDoNothingElse) {
  logins_.all[zevo::tokenHash(kAdministratorsToken)].viewUntil = std::time(nullptr) + 60;
  EXPECT_EQ(overWeb(get(kTest + "list"), kAdministratorsToken).status, 200);
  EXPECT_EQ(overWeb(get("/api/whoami"), kAdministratorsToken).status, 200);
  for (const std::string& path :
       {kTest + "echo", std::string("/api/enable"), std::string("/api/logout")}) {
    const Reply reply = overWeb(post(path), kAdministratorsToken);
    EXPECT_EQ(reply.status, 403) << path;
    EXPECT_THAT(reply.bytes, testing::HasSubstr("This login is view-only."));
  }
  EXPECT_EQ(overWeb(get("/api/disabled"), kAdministratorsToken).status, 403);
}

TEST_F(Calls, DescribeTheApiToAnybody) {
  std::ifstream file(DESCRIPTION_FILE);
  std::ostringstream text;
  text << file.rdbuf();
  EXPECT_THAT(overWeb(get("/api/openapi.json"), "").bytes, EndsWith("\r\n\r\n" + text.str()));
}

TEST_F(Calls, LeaveTheirSummaryForTheLog) {
  overWeb(get(kTest + "list"));
  EXPECT_EQ(scoreboard_.slot(0).shownSummary(), "method=\"list\" user=\"alice\" from=10.20.0.2");
  locally(post(kTest + "list"), 0);
  EXPECT_EQ(scoreboard_.slot(0).shownSummary(), "method=\"list\" user=\"admin\" from=local");
  overWeb(get("/api/x\" user=\"root"));
  EXPECT_EQ(scoreboard_.slot(0).shownSummary(),
            "method=\"x\\\" user=\\\"root\" user=- from=10.20.0.2");
}

TEST_F(Calls, ThatChangeStateStandInTheAuthorisationLogBeforeAndAfter) {
  testing::internal::CaptureStderr();
  overWeb(post(kTest + "echo", R"({"users":["carol"]})"), kAdministratorsToken);
  const std::string log = testing::internal::GetCapturedStderr();
  const std::size_t before =
      log.find("method=\"echo\" user=\"bob\" from=10.20.0.2 begins with {\"users\":[\"carol\"]}\n");
  const std::size_t after =
      log.find("method=\"echo\" user=\"bob\" from=10.20.0.2 status=200 code=0\n");
  ASSERT_NE(before, std::string::npos) << log;
  ASSERT_NE(after, std::string::npos) << log;
  EXPECT_LT(before, after);
}

TEST_F(Calls, OfRootsCommandLineNameWhoBecameRootAndWhere) {
  HttpRequest request = post(kTest + "echo", R"({"users":["carol"]})");
  request.rootsWord = {.asUser = "", .sudoUser = "al\nice", .terminal = "pts/3"};
  testing::internal::CaptureStderr();
  locally(request, 0);
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("method=\"echo\" user=\"admin\" sudo=\"al\uFFFDice\" from=local "
                        "terminal=\"pts/3\" begins with {\"users\":[\"carol\"]}\n"));
  EXPECT_EQ(locally(request, kAdministrator).status, 400);
  EXPECT_EQ(overWeb(request, kAdministratorsToken).status, 400);
}

TEST_F(Calls, CannotPushANameOutOfTheAuthorisationLog) {
  const std::string body = R"({"a":")" + std::string(10000, 'x') + R"(","users":["carol"]})";
  testing::internal::CaptureStderr();
  overWeb(post(kTest + "echo", body), kAdministratorsToken);
  const std::string log = testing::internal::GetCapturedStderr();
  EXPECT_THAT(log, HasSubstr(" begins with {\"a\":\"xxx"));
  EXPECT_THAT(log, HasSubstr(" continues with xxx"));
  EXPECT_THAT(log, HasSubstr("xxx\",\"users\":[\"carol\"]}\n"));
  testing::internal::CaptureStderr();
  overWeb(post(kTest + "echo", body), kUsersToken);
  const std::string refused = testing::internal::GetCapturedStderr();
  EXPECT_THAT(refused, HasSubstr(" begins with {\"a\":\"xxx"));
  EXPECT_THAT(refused, testing::Not(HasSubstr(" continues with ")));
}

TEST_F(Calls, FindASessionFileThoughSomebodyRemovedIt) {
  std::filesystem::remove_all(folder_.file("run"));
  EXPECT_EQ(locally(post(kTest + "list"), 0).status, 200);
  EXPECT_TRUE(std::filesystem::exists(sessionFile_));
  std::filesystem::remove(sessionFile_);
  std::filesystem::create_directory(sessionFile_);
  EXPECT_EQ(locally(post(kTest + "list"), 0).status, 500);
}

// Every kind of caller.
struct Asker {
  const char* name;
  SocketKind socketKind;
  uid_t peer;
  std::string cookie;  // token; empty: none
  bool addressed;      // the call carries a client's address
};

TEST_F(Calls, AreForThoseWhoMayMakeThem) {
  logins_.add(std::string(43, 'd'), "dora", 1003);
  accounts_.add({"dora", 1003, true, true});
  const std::vector<Asker> askers = {
      {"nobody", SocketKind::kWeb, kWebServer, "", true},
      {"user", SocketKind::kWeb, kWebServer, kUsersToken, true},
      {"administrator", SocketKind::kWeb, kWebServer, kAdministratorsToken, true},
      {"foreign token", SocketKind::kWeb, kWebServer, std::string(43, 'f'), true},
      {"session id", SocketKind::kWeb, kWebServer, zevo::tokenHash(kAdministratorsToken), true},
      {"disabled account", SocketKind::kWeb, kWebServer, std::string(43, 'd'), true},
      {"root at the web socket", SocketKind::kWeb, 0, "", true},
      {"no address", SocketKind::kWeb, 0, kAdministratorsToken, false},
      {"root", SocketKind::kLocal, 0, "", false},
      {"local user", SocketKind::kLocal, kUser, "", false},
      {"local administrator", SocketKind::kLocal, kAdministrator, "", false},
      {"local web server", SocketKind::kLocal, kWebServer, "", false},
      {"local disabled account", SocketKind::kLocal, 1003, "", false},
      {"local stranger", SocketKind::kLocal, 4711, "", false},
      {"local cookie", SocketKind::kLocal, 0, kAdministratorsToken, false},
      {"local address", SocketKind::kLocal, 0, "", true}};
  const std::map<std::string, std::string> expected = {{"nobody", "nobody"},
                                                       {"user", "alice"},
                                                       {"administrator", "bob administrator"},
                                                       {"foreign token", "nobody"},
                                                       {"session id", "nobody"},
                                                       {"disabled account", "nobody"},
                                                       {"root at the web socket", "nobody"},
                                                       {"no address", "malformed"},
                                                       {"root", "admin administrator"},
                                                       {"local user", "alice"},
                                                       {"local administrator", "bob"},
                                                       {"local web server", "www-data"},
                                                       {"local disabled account", "nobody"},
                                                       {"local stranger", "nobody"},
                                                       {"local cookie", "nobody"},
                                                       {"local address", "nobody"}};
  std::map<std::string, std::string> seen;
  for (const Asker& asker : askers) {
    HttpRequest request = get("/api/whoami");
    if (!asker.cookie.empty()) request.cookie = "currentconn=" + asker.cookie;
    if (asker.addressed) request.remoteAddress = "10.20.0.2";
    const Reply reply =
        answerCall(request, asker.socketKind, asker.peer, service_, scoreboard_.slot(0));
    const std::size_t user = reply.bytes.find("\"user\":\"");
    if (reply.status == 200) {
      seen[asker.name] = reply.bytes.substr(user + 8, reply.bytes.find('"', user + 8) - user - 8);
      if (reply.bytes.find("\"isAdmin\":true") != std::string::npos) {
        seen[asker.name] += " administrator";
      }
    } else {
      seen[asker.name] = reply.status == 401 ? "nobody" : "malformed";
    }
  }
  EXPECT_EQ(seen, expected);
}

TEST_F(Calls, LogOutTakeTheCookieBack) {
  const Reply reply = overWeb(post("/api/logout"));
  EXPECT_EQ(reply.status, 200);
  EXPECT_THAT(reply.bytes, HasSubstr("\r\nSet-Cookie: currentconn=; "));
  EXPECT_EQ(overWeb(post("/api/logout"), "").status, 401);
  EXPECT_EQ(locally(post("/api/logout"), kUser).status, 404);
}

TEST_F(Calls, LogInAreForTheWebAlone) {
  EXPECT_EQ(locally(post("/api/login", R"({"name":"bob","password":"x"})"), kUser).status, 404);
}

}  // namespace
}  // namespace calls
