// Times as a person reads them.
#pragma once

#include <ctime>
#include <string>

namespace zevo {

// `time` in local time as "2026-11-20 21:26:24", so that the order of texts is that of times; empty
// where it has no such form.
std::string localTimeText(std::time_t time);

}  // namespace zevo
