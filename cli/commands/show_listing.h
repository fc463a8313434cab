// The commands "list" and "mine".
#pragma once

#include "cli/client/client.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

// Requests `listing` once and writes it to standard output, or the reason of a failure to standard
// error.
ExitCode showListing(const Listing& listing, Client& client);

}  // namespace cli
