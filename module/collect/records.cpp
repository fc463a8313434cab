#include "collect/records.h"

SessionList sessionsOf(const _tag_ZEVO_CURCONN_* records, int count) {
  SessionList sessions;
  Session scratch;
  for (int i = count - 1; i >= 0; --i) {
    if (scratch.setValue(&records[i])) sessions.push_back(scratch);
  }
  return sessions;
}

void appendCopies(const SessionList& sessions, SessionList& out) {
  SessionList copies(sessions);
  out.splice(out.end(), copies);
}
