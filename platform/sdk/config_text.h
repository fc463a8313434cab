// The configuration's text.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "host/config.h"

namespace zevo {

// The line of each key that a file sets; the others have their defaults.
using ConfigLines = std::map<std::string, unsigned, std::less<>>;

// "PATH:LINE: reason", the path made printable.
std::string atLine(const std::string& path, unsigned line, const std::string& reason);

// Reads `text`, the content of the file at `path`, into *config, over what it holds, and the places
// of its keys into *lines. Returns false with "PATH:LINE: reason" in *error, and changes nothing
// else, where that is not possible.
bool parseConfig(std::string_view text, const std::string& path, Config* config, ConfigLines* lines,
                 std::string* error);

}  // namespace zevo
