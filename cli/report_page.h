// The page in what the method "download" prints.
#pragma once

#include <optional>
#include <string_view>

namespace cli {

// The page in `output` without the header lines before it; nothing where the headers are not there,
// or the page is cut short.
std::optional<std::string_view> pageIn(std::string_view output);

}  // namespace cli
