// Describes why there is no result.
#pragma once

#include <string>
#include <vector>

#include "cli/client/answer.h"
#include "cli/commands/listing.h"
#include "cli/exit_code.h"

namespace cli {

struct Failure {
  ExitCode exitCode = kExitFailed;
  std::vector<std::string> lines;  // for a person: the first says what failed, the others why
};

// Why `answer`, which is neither kDone nor kOwnOutput, is not a list of connections.
Failure explainListFailure(const Answer& answer, const Listing& listing);

}  // namespace cli
