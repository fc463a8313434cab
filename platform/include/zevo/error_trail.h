// Describes why a call of the platform failed, for hosts that report it to a person.
#pragma once

#include <string>
#include <vector>

#include "zevo/error.h"
#include "zevo/export.h"

namespace zevo {

// Causes that failing platform calls of this thread noted since the trail was last cleared, oldest
// first, at most 8; each a sentence without a full stop that says what failed, and the remedy. A
// successful call may leave a note too (an optional part failed), so hosts read the trail only
// after a failed call.
ZEVO_EXPORT std::vector<std::string> errorTrail();
ZEVO_EXPORT void clearErrorTrail();

// Platform code: sets the last error and notes the cause.
ZEVO_EXPORT void noteError(int code, std::string cause, const char* file, int line);

}  // namespace zevo

#define ZEVO_NOTE_ERROR(code, cause) ::zevo::noteError((code), (cause), __FILE__, __LINE__)
