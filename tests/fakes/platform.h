// The platform double: linked instead of the platform's libraries and of the system calls that
// would change the machine. A test creates one, scripts what it expects and reads the recorded
// calls; anything that is not scripted fails the test and does nothing.
#pragma once

#include <vector>

#include "fakes/account_write.h"
#include "fakes/accounts.h"
#include "fakes/blocks.h"
#include "fakes/calls.h"
#include "fakes/clock.h"
#include "fakes/connection_source.h"
#include "fakes/ids.h"
#include "fakes/keyed_files.h"
#include "fakes/last_error.h"
#include "fakes/outcomes.h"
#include "fakes/processes.h"
#include "fakes/refusals.h"
#include "fakes/session_records.h"
#include "fakes/system_log.h"
#include "fakes/upper_casing.h"

namespace fakes {

class Platform {
 public:
  Platform();
  ~Platform();
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;

  // The double of the running test. Ends the program where there is none: `function` must never
  // reach the machine.
  static Platform& current(const char* function);
  // The same, or null.
  static Platform* find();

  Calls calls;
  Blocks blocks{calls};
  SystemLog systemLog{calls};
  Ids ids{calls};
  ConnectionSource services{calls, ids, blocks};
  ConnectionSource logins{calls, ids, blocks};
  Accounts accounts{calls, blocks};
  UpperCasing upperCasing{calls};
  Clock clock{calls};
  Processes processes{calls};
  Refusals refusals;
  LastError lastError{calls};
  KeyedFiles keyedFiles{calls, ids, refusals};
  SessionRecords sessionRecords{calls, ids, refusals};
  AccountWrite accountWrite{calls, ids, blocks, refusals, lastError};
  std::vector<Outcome> outcomes;  // of all responses, in order
};

}  // namespace fakes
