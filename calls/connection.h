// One connection of an SCGI client, seen from the child that serves it.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "calls/scgi.h"

namespace calls {

inline constexpr std::chrono::seconds kReadLimit{10};

// Reads one request within `limit` from now, however slowly its bytes arrive. None if the client
// disconnected or was too slow: then nobody waits for an answer. Otherwise the state shows whether
// `parser` has a request.
std::optional<ScgiParser::State> readRequest(int connection, std::chrono::milliseconds limit,
                                             ScgiParser& parser);

// Sends all of `bytes` and closes the sending side. If `drain` is set, further data from the client
// is read and discarded for a while, since the kernel would otherwise reset the connection before
// the answer is read. False if the client disconnected.
bool sendAnswer(int connection, std::string_view bytes, bool drain);

}  // namespace calls
