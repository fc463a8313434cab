#include <algorithm>

#include "zevo/api_response.h"
#include "zevo/error.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/handler.h"
#include "api/log.h"
#include "api/parameters.h"
#include "collect/service_collector.h"
#include "enforce/disable_accounts.h"
#include "enforce/http_kick.h"
#include "enforce/kill_sessions.h"
#include "enforce/request_values.h"

namespace {

enum DisableUserLine : int { kTooFewLine = 560, kBusyLine = 566 };

using UserNames = std::list<std::string>;

// The users to disable, sorted, each once, without the caller's own account and without directory
// accounts.
UserNames requestedNames(const Json::Value& elements, const std::string& loginName) {
  UserNames names;
  for (const Json::Value& element : elements) {
    const std::string name = textOf(element);
    if (name == loginName || name.find_first_of("\\@") != std::string::npos) continue;
    names.push_back(name);
  }
  names.sort();
  names.unique();
  return names;
}

int errorOfAccountWrite() {
  if (VLIBCErrGet() == ZEVO_ERR_TOO_FEW_ADMINISTRATORS) {
    syslog(kLogError, "%s:%d Not enough valid admin", kLogSource, kTooFewLine);
    return kErrorTooFewAdministrators;
  }
  syslog(kLogError, "%s:%d error error_system_busy", kLogSource, kBusyLine);
  return kErrorWorkFailed;
}

bool endServiceSessionsOf(const UserNames& names) {
  SessionList current;
  const bool collected = SDKSessionListGet(current);
  SessionList sessions;
  for (const Session& session : current) {
    if (std::binary_search(names.begin(), names.end(), session.who)) sessions.push_back(session);
  }
  EndServiceSessions(sessions);
  return collected;
}

bool endLoginsOf(const UserNames& names, ZEVO::APIRequest* request) {
  std::list<HttpKickSession> logins;
  for (const std::string& name : names) logins.push_back({true, name, "", {}});
  const bool read = ReadHttpKickSessions(request, logins);
  const bool removed = RemoveHttpKickSessions(request, logins);
  return read && removed;
}

void disableUser(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  const std::string loginName = request->GetLoginUserName();
  // Demo mode does not stop the operation: the outcome recorded below replaces this success.
  if (request->IsDemoMode()) response->SetSuccess(Json::Value());
  if (!request->IsAdmin()) {
    response->SetError(kErrorNotAdministrator, Json::Value());
    return;
  }
  const UserNames names = requestedNames(readArray(*request, "users"), loginName);
  if (!DisableUserAccounts(names)) {
    response->SetError(errorOfAccountWrite(), Json::Value());
    return;
  }
  const bool services = endServiceSessionsOf(names);
  const bool logins = endLoginsOf(names, request);
  if (services && logins) {
    response->SetSuccess(Json::Value());
  } else {
    response->SetError(kErrorWorkFailed, Json::Value());
  }
}

}  // namespace

void CurrentConnectionDisableUser(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  runHandler([&] { disableUser(request, response); });
}
