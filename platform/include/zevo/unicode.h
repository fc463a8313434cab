// Text in UTF-8.
#pragma once

#include "zevo/export.h"

extern "C" {

// Upper-cases the NUL-terminated UTF-8 text `source` into `destination`, which holds `size` bytes,
// with Unicode's full case mapping in the root locale: the result does not depend on the server's
// language. Characters without an upper-case form are unchanged. Returns the length of the result
// in bytes without its NUL. Returns -1, with the last error set and an empty destination, if the
// result and its NUL do not fit or `source` is not valid UTF-8.
ZEVO_EXPORT int VLIBCUnicodeUTF8StrUpper(const char* source, char* destination, int size);

}  // extern "C"
