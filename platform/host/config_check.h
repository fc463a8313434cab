// Checks the names in the configuration.
#pragma once

#include <string>

#include "zevo/export.h"

namespace zevo {

// Whether what every host needs exists: texts in the configured language and the group of
// administrators. Hosts call it once, after loadConfig. False, with file, line, reason and remedy
// in *error, otherwise.
ZEVO_EXPORT bool checkConfig(std::string* error);

}  // namespace zevo
