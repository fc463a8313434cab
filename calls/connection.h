// One connection of an SCGI client, seen from the child that serves it.
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "calls/scgi.h"

namespace calls {

inline constexpr std::chrono::seconds kReadLimit{10};

// Reads one request within `limit` of now, however slowly its bytes come. None where the client
// went away or was too slow: then nobody waits for an answer. Otherwise the state tells whether
// `parser` holds a request.
std::optional<ScgiParser::State> readRequest(int connection, std::chrono::milliseconds limit,
                                             ScgiParser& parser);

// Sends all of `bytes` and says that nothing more will come. Where `drain` is set, what the client
// still sends is read and dropped for a while, since the kernel would otherwise turn the answer
// into a broken connection. False where the client went away.
bool sendAnswer(int connection, std::string_view bytes, bool drain);

}  // namespace calls
