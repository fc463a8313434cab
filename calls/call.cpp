#include "calls/call.h"

#include <chrono>
#include <sys/socket.h>
#include <syslog.h>

#include "zevo/error_trail.h"
#include "zevo/session_file.h"

#include "base/text.h"
#include "calls/account_calls.h"
#include "calls/answer.h"
#include "calls/call_log.h"
#include "calls/client_network.h"
#include "calls/connection.h"
#include "calls/cookie.h"
#include "calls/enforce/enforcement.h"
#include "calls/log.h"
#include "calls/parameters.h"
#include "calls/route.h"
#include "calls/same_origin.h"
#include "host/disabled_accounts.h"
#include "host/list_age.h"
#include "host/web_login.h"

namespace calls {
namespace {

constexpr int kFailed = 500;
constexpr std::chrono::seconds kListAgeOfRefreshes{2};  // the page asks again a few seconds later
constexpr std::size_t kLongestCause = 512;

Reply replyOf(Problem problem) {
  return replyOf(problemAnswer(problem));
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

// Who makes the change, for the record of disabled accounts.
void setActor(const Caller& caller) {
  if (caller.via == SocketKind::kWeb) return zevo::setActor({caller.user, caller.address});
  const std::string place = caller.terminal.empty() ? "local" : caller.terminal;
  zevo::setActor({caller.sudoUser.empty() ? "root" : caller.sudoUser, place});
}

// Somebody may have removed it while the daemon ran.
bool hasSessionFile(const Service& service) {
  return ZEVOCgiSessionFileCreate(service.sessionFile.c_str()) == 0;
}

// A call that changes something.
template <typename Run>
Reply change(const Caller& caller, const HttpRequest& request, const Json::Value& parameters,
             Run run) {
  setActor(caller);
  return runLogged(summaryOf(request, &caller), parameters, caller.isAdmin, run);
}

Reply enable(const Caller& caller, const HttpRequest& request) {
  auto parameters = parametersOf(request);
  if (const auto* problem = std::get_if<Problem>(&parameters)) return replyOf(*problem);
  const Json::Value& values = std::get<Parameters>(parameters).values;
  return change(caller, request, values, [&] {
    return replyOf(caller.isAdmin ? enableAccounts(values)
                                  : problemAnswer(Problem::kNotAdministrator));
  });
}

enforce::Request enforceRequest(const Caller& caller, const HttpRequest& request,
                                const Service& service) {
  return {caller, service.modules, service.sessionFile,
          [&](std::string_view method) { return summaryOf(request, &caller, method); }};
}

Reply plan(const Caller& caller, const HttpRequest& request, const Service& service) {
  auto parameters = parametersOf(request);
  if (const auto* problem = std::get_if<Problem>(&parameters)) return replyOf(*problem);
  if (!caller.isAdmin) return replyOf(Problem::kNotAdministrator);
  if (!hasSessionFile(service))
    return replyOf(problemAnswer(Problem::kWorkFailed, zevo::errorTrail()));
  const Json::Value& values = std::get<Parameters>(parameters).values;
  return replyOf(enforce::plan(enforceRequest(caller, request, service), values));
}

Reply perform(const Caller& caller, const HttpRequest& request, const Service& service) {
  auto parameters = parametersOf(request);
  if (const auto* problem = std::get_if<Problem>(&parameters)) return replyOf(*problem);
  const Json::Value& values = std::get<Parameters>(parameters).values;
  return change(caller, request, values, [&] {
    if (!caller.isAdmin) return replyOf(Problem::kNotAdministrator);
    if (!hasSessionFile(service))
      return replyOf(problemAnswer(Problem::kWorkFailed, zevo::errorTrail()));
    return replyOf(enforce::perform(enforceRequest(caller, request, service), values));
  });
}

Reply listDisabled(const Caller& caller, const HttpRequest& request) {
  if (!request.query.empty() || !request.body.empty()) return replyOf(Problem::kMalformed);
  return replyOf(caller.isAdmin ? disabledAccounts() : problemAnswer(Problem::kNotAdministrator));
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
  context.parameters = std::move(given.values);
  if (!hasSessionFile(service)) {
    return replyOf(problemAnswer(Problem::kWorkFailed,
                                 caller.isAdmin ? zevo::errorTrail() : std::vector<std::string>()));
  }
  if (!route.changesState) {
    if (request.background) zevo::acceptListAge(kListAgeOfRefreshes);
    return runMethod(route.handler, std::move(context));
  }
  return change(caller, request, context.parameters,
                [&] { return runMethod(route.handler, std::move(context)); });
}

Reply logOut(const Caller& caller, const HttpRequest& request, const Service& service) {
  if (caller.loginId.empty()) return replyOf(Problem::kNotFound);
  auto parameters = parametersOf(request);
  if (const auto* problem = std::get_if<Problem>(&parameters)) return replyOf(*problem);
  if (!zevo::removeWebLogin(service.sessionFile, caller.loginId))
    return replyOf(Problem::kWorkFailed);
  logAuthorisation(LOG_INFO,
                   "logout from " + *request.remoteAddress + ": user " + inQuotes(caller.user));
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

Reply answerLogin(HttpRequest& request, SocketKind socketKind, const Service& service,
                  CallSlot& slot) {
  if (socketKind != SocketKind::kWeb) return replyOf(Problem::kNotFound);
  if (!request.query.empty()) return replyOf(Problem::kMalformed);
  if (!isJsonType(request.contentType)) return replyOf(Problem::kNotJson);
  const std::string client = clientOf(request.remoteAddress.value_or(""));
  if (!service.board.beginLogin(slot, client, kLoginPlaces)) return replyOf(Problem::kBusy);
  return replyOf(logIn(request, service.login));
}

Reply answerCaller(const Caller& caller, const HttpRequest& request, const Route& route,
                   const Service& service) {
  if (caller.viewUntil && !route.isForView) return replyOf(Problem::kViewOnly);
  switch (route.endpoint) {
    case Endpoint::kMethod:
      return runAs(caller, request, route, service);
    case Endpoint::kLogout:
      return logOut(caller, request, service);
    case Endpoint::kPlan:
      return plan(caller, request, service);
    case Endpoint::kPerform:
      return perform(caller, request, service);
    case Endpoint::kEnable:
      return enable(caller, request);
    case Endpoint::kDisabled:
      return listDisabled(caller, request);
    case Endpoint::kWhoAmI:
      return replyOf(successAnswer(identityText(caller)));
    default:
      return replyOf(Problem::kNotFound);
  }
}

// The process at the other end of the connection; 0 if unknown.
pid_t processOf(int connection) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 ? peer.pid : 0;
}

Reply replyTo(ScgiParser& parser, SocketKind socketKind, uid_t peer, const Service& service,
              CallSlot& slot, pid_t process) {
  if (parser.state() == ScgiParser::State::kTooLarge) return replyOf(Problem::kTooLarge);
  if (parser.state() != ScgiParser::State::kComplete) return replyOf(Problem::kMalformed);
  auto request = httpRequest(std::move(parser.request()));
  if (!request) return replyOf(Problem::kMalformed);
  return answerCall(*request, socketKind, peer, service, slot, process);
}

}  // namespace

Reply answerCall(HttpRequest& request, SocketKind socketKind, uid_t peer, const Service& service,
                 CallSlot& slot, pid_t process) {
  slot.setSummary(summaryOf(request, nullptr));
  const Route route = routeOf(request.path, service.modules);
  if (route.endpoint == Endpoint::kNone) return replyOf(Problem::kNotFound);
  if (!route.allows(request.method)) return replyOf(wrongMethodAnswer(route.allowed));
  if (socketKind == SocketKind::kWeb && request.method == "POST" && !isSameOrigin(request)) {
    return replyOf(Problem::kOtherOrigin);
  }
  if (route.endpoint == Endpoint::kDescription) return describe();
  if (route.endpoint == Endpoint::kLogin) return answerLogin(request, socketKind, service, slot);
  Identity identity = socketKind == SocketKind::kWeb
                          ? whoAsksOverWeb(request, service.accounts, service.logins)
                          : whoAsksLocally(request, peer, service.accounts);
  if (const auto* problem = std::get_if<Problem>(&identity)) return replyOf(*problem);
  Caller& caller = std::get<Caller>(identity);
  caller.process = process;
  slot.setSummary(summaryOf(request, &caller));
  return answerCaller(caller, request, route, service);
}

void serveConnection(int connection, SocketKind socketKind, uid_t peer, const Service& service,
                     CallSlot& slot) {
  const auto began = std::chrono::steady_clock::now();
  const auto spent = [&] { return timeText(std::chrono::steady_clock::now() - began); };
  ScgiParser parser;
  if (!readRequest(connection, kReadLimit, parser)) {
    slot.isAnswering = true;  // there is nobody to answer
    logLine(LOG_DEBUG, slot.shownSummary() + spent() + ": the request was incomplete; dropped");
    return;
  }
  zevo::clearErrorTrail();
  const Reply reply = replyTo(parser, socketKind, peer, service, slot, processOf(connection));
  if (slot.isAnswering.exchange(true)) return;  // it took too long, and the daemon has answered
  const bool sent =
      sendAnswer(connection, reply.bytes, parser.state() != ScgiParser::State::kComplete);
  std::string line = slot.shownSummary() + resultText(reply.status, reply.code) + spent();
  if (!sent) line += " unsent";
  if (reply.status == kFailed) {
    // A failure in another process of this call is not in the trail of this one.
    for (const std::string& cause : reply.causes.empty() ? zevo::errorTrail() : reply.causes)
      line += ": " + zevo::printable(cause, kLongestCause);
  }
  logLine(reply.status == kFailed ? LOG_ERR : LOG_DEBUG, line);
}

}  // namespace calls
