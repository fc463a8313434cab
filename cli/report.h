// The command "report".
#pragma once

#include <string>

#include "backend.h"
#include "exit_code.h"
#include "listing.h"

namespace cli {

struct Report {
  Listing listing;   // of which the filter and the order count
  std::string file;  // "-": standard output

  bool operator==(const Report&) const = default;
};

// Has the module write its page of the current connections and puts it into the file: the whole
// page, or the file stays as it was.
ExitCode writeReport(const Report& request, Backend& backend);

}  // namespace cli
