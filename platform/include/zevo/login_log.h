// The logins to the page in the session file.
#pragma once

#include "zevo/connections.h"
#include "zevo/export.h"

extern "C" {

// Reads the current logins from the session file at `sessionFilePath`, one record of type
// ZEVO_CURCONN_HTTP each: `pid` is the number of the login, `time` its start, `from` the client's
// address, `descr` the browser's short name. A login is current while its access time is younger
// than the configured idle limit and its start younger than the login limit, a view login until its
// date; hidden logins are left out, since they cannot be ended. Stores the address of a newly
// allocated array in *records, or null, and returns the number of records; a negative number, with
// the last error set, if the file or an access time cannot be read, or a line of it is not a
// record. The caller releases *records with one free() in any case. Takes no lock: writers replace
// the whole file.
ZEVO_EXPORT int ZEVOCgiLoginUserCurrentLog(const char* sessionFilePath,
                                           _tag_ZEVO_CURCONN_** records);

}  // extern "C"
