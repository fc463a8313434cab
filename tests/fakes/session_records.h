// The critical section of the session file and the records of its lines.
#pragma once

#include <string>

#include "fakes/calls.h"
#include "fakes/ids.h"
#include "fakes/refusals.h"

struct json_object;

namespace fakes {

// A line is "client|user|id|flags", the last for field 16 and only if it is there; a line without
// two bars is not a record, one with two lacks a text. Records not released fail the test.
class SessionRecords {
 public:
  SessionRecords(Calls& calls, Ids& ids, Refusals& refusals)
      : calls_(calls), ids_(ids), refusals_(refusals) {}
  ~SessionRecords();
  SessionRecords(const SessionRecords&) = delete;
  SessionRecords& operator=(const SessionRecords&) = delete;

  int enter(const char* lock, int milliseconds);
  void leave(int handle);

  int init(json_object** record, const char* line);
  int parse(json_object* record, const char** client, const char** user, const char** sessionId,
            int reserved1, int reserved2);
  int get(json_object* record, int field, char* buffer, int size);
  // A record is gone.
  void released();

 private:
  Calls& calls_;
  Ids& ids_;
  Refusals& refusals_;
  bool inside_ = false;
  int records_ = 0;
};

}  // namespace fakes
