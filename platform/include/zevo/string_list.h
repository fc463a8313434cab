// A growable list of strings.
#pragma once

#include "zevo/export.h"

struct VLIBCSzList {
  int size;        // bytes of its buffer
  int nItem;       // number of strings
  char** pszItem;  // the strings; owned by the list
};

extern "C" {

// An empty list with an initial buffer of `size` bytes; null with the last error set on failure.
ZEVO_EXPORT VLIBCSzList* VLIBCSzListAlloc(int size);
// Appends a copy of `text`; *list may move. Returns the string's index; negative with the last
// error set on failure, the list unchanged.
ZEVO_EXPORT int VLIBCSzListPush(VLIBCSzList** list, const char* text);
// Null is allowed.
ZEVO_EXPORT void VLIBCSzListFree(VLIBCSzList* list);

}  // extern "C"
