// Connections as the command line shows them.
#pragma once

#include "calls/enforce/connection.h"

namespace cli {

using calls::enforce::Connection;
using calls::enforce::Page;
using calls::enforce::parsePage;

}  // namespace cli
