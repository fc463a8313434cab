// Opening one path fails, as it does for a system that has run out of something.
#pragma once

#include <string>

namespace zevo::failing_open {

// The next openat(2) of `path` fails with `error`.
void fail(const std::string& path, int error);

}  // namespace zevo::failing_open
