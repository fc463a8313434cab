#include "zevo/api_response.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/handler.h"
#include "api/parameters.h"
#include "collect/user_filter.h"
#include "methods/listing.h"
#include "methods/report_page.h"

namespace {

void downloadReport(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  const std::string sortBy = readString(*request, "sort_by", "time");
  const std::string filter = readString(*request, "filter", "");
  const std::string sortDirection = readString(*request, "sort_direction", "DESC");
  if (!request->IsAdmin()) {
    response->SetError(kErrorNotAdministrator, Json::Value());
    return;
  }
  // From here on the page is the answer: if a source fails, the page shows what was collected, and
  // the log has the failure.
  response->SetEnableOutput(false);
  SessionList list;
  collectSessions(request, list);
  if (!filter.empty()) FilterSessionList(filter, list);
  SessionListUidFilter(list);
  list.sort(Session::Compare(sortFieldOf(sortBy), isAscending(sortDirection)));
  printReport(list);
}

}  // namespace

void CurrentConnectionDownload(ZEVO::APIRequest* request, ZEVO::APIResponse* response) {
  runHandler([&] { downloadReport(request, response); });
}
