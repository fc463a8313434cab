#include <algorithm>

#include "zevo/api_response.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/handler.h"
#include "api/parameters.h"
#include "collect/service_collector.h"
#include "collect/user_filter.h"
#include "enforce/http_kick.h"
#include "enforce/kill_sessions.h"
#include "enforce/request_values.h"

namespace {

// Elements that do not identify a connection completely are dropped silently.
SessionList requestedSessions(const Json::Value& elements) {
  SessionList sessions;
  for (const Json::Value& element : elements) {
    const std::string from = textMember(element, "from");
    const std::string who = textMember(element, "who");
    const std::string type = textMember(element, "type");
    Session session;
    if (session.setValue(numberMember(element, "pid"), type, who, from))
      sessions.push_back(session);
  }
  return sessions;
}

// Clients are not trusted: only connections that the registry currently lists are ended.
bool keepCurrentSessions(SessionList& requested) {
  if (requested.empty()) return true;
  SessionList current;
  const bool collected = SDKSessionListGet(current);
  requested.remove_if([&](const Session& session) {
    return std::none_of(current.begin(), current.end(),
                        [&](const Session& other) { return other.is_equal(session); });
  });
  return collected;
}

std::list<HttpKickSession> requestedLogins(const Json::Value& elements) {
  std::list<HttpKickSession> logins;
  for (const Json::Value& element : elements) {
    HttpKickSession login;
    login.from = textMember(element, "from");
    login.user = textMember(element, "who");
    logins.push_back(login);
  }
  return logins;
}

void kickConnection(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  // Demo mode does not stop the operation: the outcome recorded below replaces this success.
  if (request->IsDemoMode()) response->SetSuccess(Json::Value());
  if (!request->IsAdmin()) {
    response->SetError(kErrorNotAdministrator, Json::Value());
    return;
  }
  const Json::Value serviceConnections = readArray(*request, "service_conn");
  const Json::Value httpConnections = readArray(*request, "http_conn");
  SessionList sessions = requestedSessions(serviceConnections);
  bool complete = keepCurrentSessions(sessions);
  complete = SessionListUidFilter(sessions) && complete;
  EndServiceSessions(sessions);
  std::list<HttpKickSession> logins = requestedLogins(httpConnections);
  complete = ReadHttpKickSessions(request, logins) && complete;
  complete = RemoveHttpKickSessions(request, logins) && complete;
  if (complete) {
    response->SetSuccess(Json::Value());
  } else {
    response->SetError(kErrorWorkFailed, Json::Value());
  }
}

}  // namespace

void CurrentConnectionKickConnection(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  runHandler([&] { kickConnection(request, response); });
}
