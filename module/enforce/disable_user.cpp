#include "zevo/api_response.h"

#include "api/api_table.h"
#include "api/errors.h"
#include "api/log.h"

void CurrentConnectionDisableUser(ZEVO::APIRequest* /*request*/, ZEVO::APIResponse* response) {
  syslog(kLogError, "%s:%d disable_user is not available in this release.", kLogSource, 510);
  response->SetError(kErrorWorkFailed, Json::Value());
}
