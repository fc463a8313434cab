// Times in ISO 8601.
#pragma once

#include <ctime>
#include <optional>
#include <string_view>

namespace zevo::connections {

// The time of "2026-11-21T03:08:35.673897+00:00": fractions of a second are dropped; the offset
// from UTC is required: "Z", "+01:00" or "+0100". Nothing for any other text.
std::optional<std::time_t> parseIsoTime(std::string_view text);

}  // namespace zevo::connections
