// Whether the configuration's names stand for something.
#pragma once

#include <string>

#include "zevo/export.h"

namespace zevo {

// Whether what the configuration names, and every host needs, is there: texts in the language and
// the group of administrators. Hosts ask once, after loadConfig. False with *error naming file,
// line, reason and remedy otherwise.
ZEVO_EXPORT bool checkConfig(std::string* error);

}  // namespace zevo
