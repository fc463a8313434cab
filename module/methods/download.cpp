#include "zevo/api_response.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/log.h"

void CurrentConnectionDownload(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* response) {
  syslog(kLogError, "%s:%d download is not available in this release.", kLogSource, 400);
  response->SetError(kErrorWorkFailed, Json::Value());
}
