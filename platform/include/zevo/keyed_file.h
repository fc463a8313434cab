// Text files whose lines begin with a key.
#pragma once

#include "zevo/export.h"

extern "C" {

// Reads the first line of `path` that begins with `key` into `buffer` of `size` bytes,
// NUL-terminated, without its line break, truncated if it does not fit. Returns the length of the
// line in the buffer (above 0), 0 if no line begins with the key, -1 with the last error set if the
// file cannot be read. `flags` is 2: the key may be followed by anything.
ZEVO_EXPORT int VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size,
                                 int flags);

// Deletes the first line of `path` that begins with `key`; `value` is null and `flags` 0. The new
// content is written to a file beside it, synchronised and renamed, with the old file's owner and
// mode, so that readers, or anybody after a crash, see the old file or the new one. Returns the
// number of deleted lines (0 if none has the key: nothing is written), -1 with the last error set
// on failure, with the old file unchanged. Takes no lock: callers hold the critical section.
ZEVO_EXPORT int VLIBCFileSetLine(const char* path, const char* key, const char* value, int flags);

}  // extern "C"
