// Building input and writing out results in tests of the module.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "zevo/api_request.h"
#include "zevo/api_response.h"

#include "fakes/platform.h"
#include "session/session.h"

namespace module_test {

inline constexpr int kCifs = ZEVO_CURCONN_CIFS;
inline constexpr int kHttp = ZEVO_CURCONN_HTTP;

// What a method answers whose work failed.
inline const fakes::Outcome kWorkFailed = {117, Json::Value()};

Session session(std::uint32_t pid, const std::string& time, const std::string& who,
                const std::string& from, const std::string& descr, const std::string& type);

// "pid|time|who|from|descr|type"
std::string line(const Session& session);
std::vector<std::string> lines(const SessionList& list);

// JSON from its text. The text must be JSON.
Json::Value json(const std::string& text);

// Calls as the host makes them, over a web server whose session file is /run/sessions. `parameters`
// is the text of a JSON object.
ZEVO::RequestContext byAdministrator(const std::string& parameters = "{}");
ZEVO::RequestContext byUser(const std::string& name, const std::string& parameters = "{}");

// A test with a platform double of its own.
class ModuleTest : public ::testing::Test {
 protected:
  fakes::Platform platform;
};

// Runs `handler` for one call. Returns its only outcome; fails the test where it recorded none or
// more than one.
using Handler = void (*)(ZEVO::APIRequest*, ZEVO::APIResponse*);
fakes::Outcome outcomeOf(Handler handler, const ZEVO::RequestContext& context,
                         fakes::Platform& platform);

}  // namespace module_test
