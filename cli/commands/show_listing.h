// The commands "list" and "mine".
#pragma once

#include "cli/client/client.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

// Asks for `listing` once and writes it to standard output, or says on standard error why not.
ExitCode showListing(const Listing& listing, Client& client);

}  // namespace cli
