// The text of the configuration.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "host/config.h"

namespace zevo {

// The line of each key in the file; other keys have their defaults.
using ConfigLines = std::map<std::string, unsigned, std::less<>>;

// "PATH:LINE: reason", the path made printable.
std::string atLine(const std::string& path, unsigned line, const std::string& reason);

// Reads `text`, the content of the file at `path`, into *config, replacing its values, and the
// lines of its keys into *lines. On failure returns false, with "PATH:LINE: reason" in *error, and
// changes nothing else.
bool parseConfig(std::string_view text, const std::string& path, Config* config, ConfigLines* lines,
                 std::string* error);

}  // namespace zevo
