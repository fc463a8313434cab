// The command "report".
#pragma once

#include <string>
#include <sys/types.h>

#include "cli/client/client.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

struct Report {
  Listing listing;     // of which the filter and the order count
  std::string file;    // "-": standard output
  mode_t mode = 0600;  // of the file

  bool operator==(const Report&) const = default;
};

// Has the module write its page of the current connections and puts it into the file: the whole
// page, or the file stays as it was. The file belongs to the caller, whoever laid one there before:
// it names everybody's connections.
ExitCode writeReport(const Report& request, Client& client);

}  // namespace cli
