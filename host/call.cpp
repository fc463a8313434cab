#include "call.h"

#include <chrono>
#include <syslog.h>

#include <json/writer.h>

#include "zevo/web_login.h"

#include "answer.h"
#include "call_line.h"
#include "connection.h"
#include "cookie.h"
#include "log.h"
#include "parameters.h"
#include "route.h"
#include "same_origin.h"

namespace host {
namespace {

constexpr std::size_t kLongestLogged = 512;

Reply replyOf(const Answer& answer) {
  return {scgiText(answer), answer.status, answer.code};
}

Reply replyOf(Problem problem) {
  return replyOf(problemAnswer(problem));
}

// What a state-changing call was about, for the authorisation log: JSON in ASCII on one line.
std::string textOf(const Json::Value& parameters) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  return Json::writeString(builder, parameters).substr(0, kLongestLogged);
}

struct Parameters {
  Json::Value values;
  bool textual = false;
};

std::variant<Parameters, Problem> parametersOf(const HttpRequest& request) {
  if (request.method == "GET") {
    auto values = request.body.empty() ? queryParameters(request.query) : std::nullopt;
    if (!values) return Problem::kMalformed;
    return Parameters{std::move(*values), true};
  }
  if (!request.query.empty()) return Problem::kMalformed;
  if (!request.body.empty() && !isJsonType(request.contentType)) return Problem::kNotJson;
  auto values = bodyParameters(request.body);
  if (!values) return Problem::kMalformedJson;
  return Parameters{std::move(*values), false};
}

Reply runAs(const Caller& caller, const HttpRequest& request, const Route& route,
            const Service& service) {
  if (caller.user.empty()) return replyOf(Problem::kNotLoggedIn);
  auto parameters = parametersOf(request);
  if (const auto* problem = std::get_if<Problem>(&parameters)) return replyOf(*problem);
  auto& given = std::get<Parameters>(parameters);
  ZEVO::RequestContext context;
  context.loginUserName = caller.user;
  context.isAdmin = caller.isAdmin;
  context.sessionFilePath = service.sessionFile;
  context.textual = given.textual;
  const std::string about = route.changesState ? textOf(given.values) : std::string();
  context.parameters = std::move(given.values);
  Reply reply = runMethod(route.handler, context);
  if (route.changesState) {
    logAuthorisation(LOG_NOTICE, summaryOf(request, &caller) +
                                     resultText(reply.status, reply.code) + " with " + about);
  }
  return reply;
}

Reply logOut(const Caller& caller, const HttpRequest& request, const Service& service) {
  if (caller.loginId.empty()) return replyOf(Problem::kNotFound);
  auto parameters = parametersOf(request);
  if (const auto* problem = std::get_if<Problem>(&parameters)) return replyOf(*problem);
  if (!zevo::removeWebLogin(service.sessionFile, caller.loginId))
    return replyOf(Problem::kWorkFailed);
  logAuthorisation(LOG_INFO, "logout from " + caller.address + ": user " + inQuotes(caller.user));
  Answer answer = successAnswer("null");
  answer.headers.emplace_back("Set-Cookie", cookieTakenBack(request.tls));
  return replyOf(answer);
}

Reply describe() {
  Answer answer;
  answer.headers = {{"Content-Type", "application/json"}};
  answer.body = kDescriptionText;
  return replyOf(answer);
}

Reply answerLogin(HttpRequest& request, Entrance entrance, const Service& service, CallSlot& slot) {
  if (entrance != Entrance::kWeb) return replyOf(Problem::kNotFound);
  if (!request.query.empty()) return replyOf(Problem::kMalformed);
  if (!isJsonType(request.contentType)) return replyOf(Problem::kNotJson);
  if (!service.board.beginLogin(slot, request.remoteAddress.value_or(""), kMostLogins))
    return replyOf(Problem::kBusy);
  return replyOf(logIn(request, service.login));
}

Reply answerCaller(const Caller& caller, const HttpRequest& request, const Route& route,
                   const Service& service) {
  switch (route.endpoint) {
    case Endpoint::kMethod:
      return runAs(caller, request, route, service);
    case Endpoint::kLogout:
      return logOut(caller, request, service);
    case Endpoint::kWhoAmI:
      return replyOf(successAnswer(identityText(caller)));
    default:
      return replyOf(Problem::kNotFound);
  }
}

Reply replyTo(ScgiParser& parser, Entrance entrance, uid_t peer, const Service& service,
              CallSlot& slot) {
  if (parser.state() == ScgiParser::State::kTooLarge) return replyOf(Problem::kTooLarge);
  if (parser.state() != ScgiParser::State::kComplete) return replyOf(Problem::kMalformed);
  auto request = httpRequest(std::move(parser.request()));
  if (!request) return replyOf(Problem::kMalformed);
  return answerCall(*request, entrance, peer, service, slot);
}

}  // namespace

Reply answerCall(HttpRequest& request, Entrance entrance, uid_t peer, const Service& service,
                 CallSlot& slot) {
  slot.setSummary(summaryOf(request, nullptr));
  const Route route = routeOf(request.path, service.modules);
  if (route.endpoint == Endpoint::kNone) return replyOf(Problem::kNotFound);
  if (!route.allows(request.method)) return replyOf(wrongMethodAnswer(route.allowed));
  if (entrance == Entrance::kWeb && request.method == "POST" && !isSameOrigin(request)) {
    return replyOf(Problem::kOtherOrigin);
  }
  if (route.endpoint == Endpoint::kDescription) return describe();
  if (route.endpoint == Endpoint::kLogin) return answerLogin(request, entrance, service, slot);
  const Identity identity = entrance == Entrance::kWeb
                                ? whoAsksOverWeb(request, service.accounts, service.logins)
                                : whoAsksLocally(request, peer, service.accounts);
  if (const auto* problem = std::get_if<Problem>(&identity)) return replyOf(*problem);
  const Caller& caller = std::get<Caller>(identity);
  slot.setSummary(summaryOf(request, &caller));
  return answerCaller(caller, request, route, service);
}

void serveConnection(int connection, Entrance entrance, uid_t peer, const Service& service,
                     CallSlot& slot) {
  const auto began = std::chrono::steady_clock::now();
  const auto spent = [&] { return timeText(std::chrono::steady_clock::now() - began); };
  ScgiParser parser;
  if (!readRequest(connection, kReadLimit, parser)) {
    slot.isAnswering = true;  // nobody is to be answered
    logLine(LOG_INFO, slot.shownSummary() + spent() + ": not sent to its end; dropped");
    return;
  }
  const Reply reply = replyTo(parser, entrance, peer, service, slot);
  slot.isAnswering = true;
  const bool sent =
      sendAnswer(connection, reply.bytes, parser.state() != ScgiParser::State::kComplete);
  logLine(LOG_INFO, slot.shownSummary() + resultText(reply.status, reply.code) + spent() +
                        (sent ? "" : " unsent"));
}

}  // namespace host
