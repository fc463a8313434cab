#include "zevo/api_response.h"
#include "zevo/unicode.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/handler.h"
#include "api/log.h"
#include "api/parameters.h"
#include "collect/user_filter.h"
#include "methods/listing.h"

namespace {

struct OwnListParameters {
  std::string sortBy;
  std::string loginName;
  std::string sortDirection;
  Page page;
};

OwnListParameters readOwnListParameters(ZEVO::APIRequest& request) {
  OwnListParameters parameters;
  parameters.sortBy = readString(request, "sort_by", "time");
  parameters.loginName = request.GetLoginUserName();
  parameters.sortDirection = readString(request, "sort_direction", "DESC");
  parameters.page.start = readInt(request, "start", 0);
  parameters.page.limit = readInt(request, "limit", -1);
  return parameters;
}

// Removes the sessions of other users. False, with the list unchanged, if the name cannot be
// upper-cased.
bool keepOwnSessions(const std::string& loginName, SessionList& list) {
  char upperName[kUpperCaseBufferSize] = {};
  if (VLIBCUnicodeUTF8StrUpper(loginName.c_str(), upperName, kUpperCaseBufferSize) == -1) {
    syslog(kLogError, "%s:%d VLIBCUnicodeUTF8StrUpper failed, str=%s.", kLogSource, 820,
           loginName.c_str());
    return false;
  }
  list.remove_if([&](const Session& session) { return !session.withUserQuery(upperName); });
  return true;
}

void listOwnSessions(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  const OwnListParameters parameters = readOwnListParameters(*request);
  set_demo_mode();
  SessionList list;
  bool complete = collectSessions(request, list);
  // Without a login name the list is not filtered: hosts never call a handler with an empty one.
  if (!parameters.loginName.empty())
    complete = keepOwnSessions(parameters.loginName, list) && complete;
  SessionListUidFilter(list);
  list.sort(
      Session::Compare(sortFieldOf(parameters.sortBy), isAscending(parameters.sortDirection)));
  const Json::Value result = listingResult(list, parameters.page);
  if (complete) {
    response->SetSuccess(result);
  } else {
    response->SetError(kErrorWorkFailed, Json::Value());
  }
}

}  // namespace

void CurrentConnectionEnumByUser(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  runHandler([&] { listOwnSessions(request, response); });
}
