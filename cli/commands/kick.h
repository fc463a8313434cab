// The command "kick".
#pragma once

#include <string>

#include "cli/client/client.h"
#include "cli/commands/selection.h"
#include "cli/exit_code.h"

namespace cli {

struct Kick {
  Selection selection;
  bool isConfirmed = false;  // do not ask
  bool isDryRun = false;     // only show

  bool operator==(const Kick&) const = default;
};

// Shows what `request` selects of a fresh list, asks, ends it, and reports from another fresh list
// what ended and what is still there.
ExitCode kick(const Kick& request, Client& client);

}  // namespace cli
