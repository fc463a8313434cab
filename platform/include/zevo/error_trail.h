// Why a call of the platform failed, in words, for hosts that tell a person.
#pragma once

#include <string>
#include <vector>

#include "zevo/error.h"
#include "zevo/export.h"

namespace zevo {

// Causes that failing platform calls of this thread noted since the trail was last cleared, oldest
// first, at most 8; each a sentence without a full stop that names the thing and the remedy. A call
// that succeeds may leave a note too (a part that it could do without failed), so a host reads the
// trail only after a call that failed.
ZEVO_EXPORT std::vector<std::string> errorTrail();
ZEVO_EXPORT void clearErrorTrail();

// Platform code: sets the last error and notes the cause.
ZEVO_EXPORT void noteError(int code, std::string cause, const char* file, int line);

}  // namespace zevo

#define ZEVO_NOTE_ERROR(code, cause) ::zevo::noteError((code), (cause), __FILE__, __LINE__)
