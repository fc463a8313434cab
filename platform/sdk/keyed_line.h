// Lines that begin with a key, in files that are replaced completely.
#pragma once

#include <string>
#include <string_view>

#include "base/atomic_file.h"

namespace zevo {

// The first line of `content` that begins with `key`, with its line feed, if any; empty if there is
// none. `key` is not empty.
std::string_view lineWithKey(std::string_view content, std::string_view key);

// VLIBCFileSetLine without a value, using `operations`.
int deleteLine(const std::string& path, std::string_view key, FileOperations& operations);

}  // namespace zevo
