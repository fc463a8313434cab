// The exit status of the program.
#pragma once

namespace cli {

enum ExitCode {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,  // the command line or the configuration is invalid
  kExitNotAdministrator = 3,
  kExitTooFewAdministrators = 4,
};

}  // namespace cli
