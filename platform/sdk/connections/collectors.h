// The collectors, one for each service; each lies in the file of its name.
#pragma once

#include "sdk/connections/sources.h"

namespace zevo::connections {}  // namespace zevo::connections
