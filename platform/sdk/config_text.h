// The configuration's text.
#pragma once

#include <string>
#include <string_view>

#include "zevo/config.h"

namespace zevo {

// Reads `text`, the content of the file at `path`, into *config, over what it holds. Returns false
// with "cannot read PATH:LINE: reason" in *error where that is not possible.
bool parseConfig(std::string_view text, const std::string& path, Config* config,
                 std::string* error);

}  // namespace zevo
