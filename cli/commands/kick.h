// The command "kick".
#pragma once

#include <json/value.h>

#include "cli/client/client.h"
#include "cli/commands/selection.h"
#include "cli/exit_code.h"

namespace cli {

struct Kick {
  Json::Value selection;     // as checkSelection gives it
  bool isConfirmed = false;  // do not ask
  bool isDryRun = false;     // only show

  bool operator==(const Kick&) const = default;
};

// Shows the plan for the selection of `request`, asks, performs it and reports the result for each
// connection.
ExitCode kick(const Kick& request, Client& client);

}  // namespace cli
