// The list, kept on the screen.
#pragma once

#include "cli/client/client.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

// Shows `listing` on the terminal that standard output is, again and again, until it is told to
// end: by "q", or by a signal that ends programs. Each read is a process of its own, so a read that
// hangs or crashes keeps nobody from leaving. The terminal is given back on every way out.
ExitCode watch(const Listing& listing, Client& client);

}  // namespace cli
