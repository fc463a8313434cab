#include "collect/service_collector.h"

#include "api/log.h"
#include "api/privileged_section.h"
#include "collect/records.h"
#include "session/merge.h"

namespace {

int readRegistry(_tag_ZEVO_CURCONN_** records) {
  const PrivilegedSection section(608, 610);
  return ZEVOCurConnGet(records);
}

}  // namespace

bool SDKSessionListGet(SessionList& out) {
  _tag_ZEVO_CURCONN_* records = nullptr;
  const int count = readRegistry(&records);
  const RecordBlock block(records);
  if (count < 0) {
    syslog(kLogError, "%s:%d Failed to get current log.", kLogSource, 620);
    return false;
  }
  SessionList sessions = sessionsOf(records, count);
  sessions.sort(SDKSessionCmp);
  SDKSessionListMerge(sessions);
  appendCopies(sessions, out);
  return true;
}
