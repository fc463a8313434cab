// A whole list of connections, for commands that act on it.
#pragma once

#include <optional>
#include <string>

#include "cli/client/client.h"
#include "cli/client/connection.h"
#include "cli/commands/failure.h"

namespace cli {

// Asks "list" for everything that matches `filter` (empty: everything). Nothing, with `*failure`
// set, where that fails.
std::optional<Page> readList(Client& client, const std::string& filter, Failure* failure);

}  // namespace cli
