// The list, kept on the screen.
#pragma once

#include "cli/client/client.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

// Shows and refreshes `listing` on the terminal at standard output until "q" or a terminating
// signal. Each read is a separate process, so that it is possible to quit while a read hangs. The
// terminal is restored on every exit path.
ExitCode watch(const Listing& listing, Client& client);

}  // namespace cli
