// Words of configuration files.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zevo::access {

// The parts of `text` between spaces and line breaks.
std::vector<std::string> wordsOf(std::string_view text);

// The lines of `text` without surrounding spaces.
std::vector<std::string> trimmedLines(std::string_view text);

// `text` without surrounding spaces.
std::string_view trimmed(std::string_view text);

// ASCII letters in lower case.
std::string lowered(std::string_view text);

}  // namespace zevo::access
