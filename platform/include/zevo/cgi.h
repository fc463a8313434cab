// Editing the session file: the cross-process critical section and the records of its lines.
#pragma once

#include <climits>

#include "zevo/export.h"

struct json_object;

// The context of a CGI program; `lock` is the path of the lock file of the session file.
struct ZEVO_CGI {
  char lock[PATH_MAX];
};

extern "C" {

// Fills `cgi`; `name` is the path of a session file, empty for that of the configuration.
ZEVO_EXPORT void ZevoCgiInit(const char* name, ZEVO_CGI* cgi);

// Enters the critical section of `lock`, waiting `milliseconds` at most. Returns a handle (0 or
// more) for ZevoCgiEndCriticalSection; -1 with the last error set if the section was not entered in
// time or the lock file cannot be opened. The section is released when its holder ends. Never
// nested: a second entry by the holder waits for itself. It does not cover readers and writers that
// do not enter it, other machines that share the file system, or a child forked inside the section,
// which also holds it until it runs another program or ends.
ZEVO_EXPORT int ZevoCgiBeginCriticalSection(const char* lock, int milliseconds);
ZEVO_EXPORT void ZevoCgiEndCriticalSection(int handle);

// Parses `line` as a record. 1 on success; 0 if it is not a JSON record. A record that *record
// still has from the previous line is released first (start with null), so the caller releases only
// the last one, with json_object_put.
ZEVO_EXPORT int ZevoCgiJsonRecordInit(json_object** record, const char* line);

// The three texts of a record: client address, user, session id. They belong to the record. 1 on
// success; 0 if one is missing. The last two arguments are reserved and 0.
ZEVO_EXPORT int ZevoCgiJsonRecordParse(json_object* record, const char** client, const char** user,
                                       const char** sessionId, int reserved1, int reserved2);

// Number of the field that holds a JSON object text of flags, "hide" among them.
inline constexpr int kZevoCgiFlagsField = 16;

// Copies the text of field `field` into `buffer` of `size` bytes. 1 if it was copied; 0 if the
// record has no such field or it does not fit.
ZEVO_EXPORT int ZevoCgiJsonRecordGet(json_object* record, int field, char* buffer, int size);

}  // extern "C"
