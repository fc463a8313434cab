// Times in readable form.
#pragma once

#include <ctime>
#include <string>

namespace zevo {

// `time` in local time as "2026-11-20 21:26:24", so that text order is time order; empty if it
// cannot be represented.
std::string localTimeText(std::time_t time);

}  // namespace zevo
