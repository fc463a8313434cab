// A list as bytes for another process.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "services/shared_list.h"

namespace zevo::connections {

std::string listText(std::string_view key, const TimedList& list);

// Nothing if the bytes are not the complete result of listText for `key` and a list that began at
// `oldest` or later.
std::optional<TimedList> parseListText(std::string_view text, std::string_view key,
                                       std::chrono::nanoseconds oldest);

}  // namespace zevo::connections
