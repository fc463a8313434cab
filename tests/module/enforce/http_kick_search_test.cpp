#include <random>
#include <sstream>

#include "enforce/http_kick.h"
#include "enforce/http_kick_index.h"
#include "fakes/temporary_file.h"
#include "module/support.h"

namespace {

using KickRequests = std::list<HttpKickSession>;

struct Login {
  std::string client;
  std::string user;
  std::string id;
};

// As a plain walk over the requests finds them, for each login.
void walk(const std::vector<Login>& logins, KickRequests& requests) {
  for (const Login& login : logins) {
    for (HttpKickSession& request : requests) {
      if (request.user != login.user) continue;
      if (!request.allSessions && request.from != login.client) continue;
      request.ids.push_back(login.id);
      break;
    }
  }
}

std::vector<std::list<std::string>> foundIds(const KickRequests& requests) {
  std::vector<std::list<std::string>> ids;
  for (const HttpKickSession& request : requests) ids.push_back(request.ids);
  return ids;
}

class SearchLogins : public module_test::ModuleTest {
 protected:
  bool read(const std::vector<Login>& logins, KickRequests& requests) {
    std::ostringstream text;
    for (const Login& login : logins)
      text << login.client << '|' << login.user << '|' << login.id << '\n';
    const fakes::TemporaryFile file(text.str());
    ZEVO::RequestContext context = module_test::byAdministrator();
    context.sessionFilePath = file.path();
    ZEVO::APIRequest request(context);
    return ReadHttpKickSessions(&request, requests);
  }
};

const std::vector<std::string> kUsers = {"", "a", "al", "alice", "Alice", "bob"};
const std::vector<std::string> kClients = {"", "1", "10", "10.0.0.1", "alice"};

const std::string& oneOf(const std::vector<std::string>& texts, std::mt19937& engine) {
  return texts[engine() % texts.size()];
}

TEST_F(SearchLogins, FindsWhatAPlainWalkFinds) {
  for (unsigned seed = 1; seed <= 1000; ++seed) {
    std::mt19937 engine(seed);
    std::vector<Login> logins(engine() % 30);
    for (Login& login : logins)
      login = {oneOf(kClients, engine), oneOf(kUsers, engine), std::to_string(engine())};
    KickRequests requests(engine() % 20);
    for (HttpKickSession& request : requests)
      request = {engine() % 5 == 0, oneOf(kUsers, engine), oneOf(kClients, engine), {}};
    KickRequests expected = requests;
    walk(logins, expected);
    ASSERT_TRUE(read(logins, requests));
    ASSERT_EQ(foundIds(requests), foundIds(expected)) << "seed " << seed;
    platform.calls.clear();
  }
}

// A walk over all requests for each look would take far longer than a test program may: 80,000
// million steps from node to node.
TEST_F(SearchLogins, DoesNotWalkOverRequestsThatMatchNothing) {
  KickRequests requests(350000);
  for (int i = 0; i < 50000; ++i)
    requests.push_back({false, "alice", "elsewhere " + std::to_string(i), {}});
  requests.push_back({false, "alice", "1", {}});
  const std::vector<Login> logins(1000, {"1", "alice", "id"});
  EXPECT_TRUE(read(logins, requests));
  EXPECT_EQ(requests.back().ids.size(), logins.size());
  const HttpKickIndex index(requests);
  for (int i = 0; i < 200000; ++i) ASSERT_EQ(index.find("alice", "1"), &requests.back());
}

}  // namespace
