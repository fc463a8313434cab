#include "zevo/api_response.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/log.h"

void CurrentConnectionKickConnection(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* response) {
  syslog(kLogError, "%s:%d kick_connection is not available in this release.", kLogSource, 500);
  response->SetError(kErrorWorkFailed, Json::Value());
}
