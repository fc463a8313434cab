#include "collect/web_collector.h"

#include "zevo/login_log.h"

#include "api/log.h"
#include "api/privileged_section.h"
#include "collect/records.h"
#include "session/merge.h"

namespace {

int readLoginLog(const std::string& path, _tag_ZEVO_CURCONN_** records) {
  const PrivilegedSection section(690, 692);
  return ZEVOCgiLoginUserCurrentLog(path.c_str(), records);
}

}  // namespace

bool HttpSessionListGet(ZEVO::APIRequest* request, SessionList& out) {
  const std::string path = request->GetSessionFilePath();
  if (path.empty()) {
    syslog(kLogError, "%s:%d Failed to get session file.", kLogSource, 686);
    return false;
  }
  _tag_ZEVO_CURCONN_* records = nullptr;
  const int count = readLoginLog(path, &records);
  const RecordBlock block(records);
  if (count < 0) {
    syslog(kLogError, "%s:%d Failed to get current log from session file.", kLogSource, 702);
    return false;
  }
  SessionList sessions = sessionsOf(records, count);
  sessions.sort(HttpSessionCmp);
  HttpSessionListMerge(sessions);
  appendCopies(sessions, out);
  return true;
}
