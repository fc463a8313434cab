// What the program says by its exit status.
#pragma once

namespace cli {

enum ExitCode {
  kExitDone = 0,
  kExitFailed = 1,
  kExitUsage = 2,  // the command line or the configuration makes no sense
  kExitNotAdministrator = 3,
  kExitTooFewAdministrators = 4,
};

}  // namespace cli
