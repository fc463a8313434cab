#include "module/support.h"

#include <sstream>

#include <json/reader.h>

namespace module_test {

Session session(std::uint32_t pid, const std::string& time, const std::string& who,
                const std::string& from, const std::string& descr, const std::string& type) {
  Session made;
  made.pid = pid;
  made.time = time;
  made.who = who;
  made.from = from;
  made.descr = descr;
  made.type = type;
  return made;
}

std::string line(const Session& session) {
  return std::to_string(session.pid) + "|" + session.time + "|" + session.who + "|" + session.from +
         "|" + session.descr + "|" + session.type;
}

std::vector<std::string> lines(const SessionList& list) {
  std::vector<std::string> lines;
  for (const Session& session : list) lines.push_back(line(session));
  return lines;
}

Json::Value json(const std::string& text) {
  Json::Value value;
  std::istringstream stream(text);
  std::string errors;
  EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &errors)) << errors;
  return value;
}

ZEVO::RequestContext byAdministrator(const std::string& parameters) {
  ZEVO::RequestContext context;
  context.loginUserName = "boss";
  context.isAdmin = true;
  context.sessionFilePath = "/run/sessions";
  context.parameters = json(parameters);
  return context;
}

ZEVO::RequestContext byUser(const std::string& name, const std::string& parameters) {
  ZEVO::RequestContext context = byAdministrator(parameters);
  context.loginUserName = name;
  context.isAdmin = false;
  return context;
}

fakes::Outcome outcomeOf(Handler handler, const ZEVO::RequestContext& context,
                         fakes::Platform& platform) {
  ZEVO::APIRequest request(context);
  ZEVO::APIResponse response;
  const std::size_t before = platform.outcomes.size();
  handler(&request, &response);
  EXPECT_EQ(platform.outcomes.size(), before + 1) << "outcomes recorded";
  return platform.outcomes.empty() ? fakes::Outcome{-1, {}} : platform.outcomes.back();
}

}  // namespace module_test
