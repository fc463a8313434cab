// Colours and weights on a terminal.
#pragma once

#include <string>
#include <string_view>

namespace cli {

enum class Style { kPlain, kHeader, kCame, kWent, kFaint };

// `text` in the style, or unchanged without `colours`.
std::string styled(std::string_view text, Style style, bool colours);

}  // namespace cli
