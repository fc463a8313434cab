#include "zevo/api_response.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/handler.h"
#include "api/parameters.h"
#include "collect/user_filter.h"
#include "methods/listing.h"

namespace {

struct ListParameters {
  std::string sortBy;
  std::string filter;
  std::string sortDirection;
  Page page;
};

ListParameters readParameters(ZEVO::APIRequest& request) {
  ListParameters parameters;
  parameters.sortBy = readString(request, "sort_by", "time");
  parameters.filter = readString(request, "filter", "");
  parameters.sortDirection = readString(request, "sort_direction", "DESC");
  parameters.page.limit = readInt(request, "limit", -1);
  parameters.page.start = readInt(request, request.HasParam("start") ? "start" : "offset", 0);
  return parameters;
}

void listSessions(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  const ListParameters parameters = readParameters(*request);
  set_demo_mode();
  if (!request->IsAdmin()) {
    response->SetError(kErrorNotAdministrator, Json::Value());
    return;
  }
  SessionList list;
  bool complete = collectSessions(request, list);
  if (!parameters.filter.empty()) complete = FilterSessionList(parameters.filter, list) && complete;
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

void CurrentConnectionEnum(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  runHandler([&] { listSessions(request, response); });
}
