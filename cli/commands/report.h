// The command "report".
#pragma once

#include <string>
#include <sys/types.h>

#include "cli/client/client.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

struct Report {
  Listing listing;     // only the filter and the order are used
  std::string file;    // "-": standard output
  mode_t mode = 0600;  // of the file

  bool operator==(const Report&) const = default;
};

// Writes the module's page of the current connections to the file, completely or not at all. The
// file then belongs to the caller, whoever owned an earlier one, since it names the connections of
// all users.
ExitCode writeReport(const Report& request, Client& client);

}  // namespace cli
