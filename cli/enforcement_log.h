// The authorisation log of what was enforced.
#pragma once

#include <map>
#include <string>

#include <json/value.h>

#include "answer.h"

namespace cli {

// Whether calls of `method` change anything for other people.
bool isEnforcing(const std::string& method);

// Who asks, for the log.
struct Asker {
  std::string loginUserName;  // under which the method is called
  std::string sudoUser;       // who became root to do so; empty where nobody did
  std::string terminal;       // at which, as "pts/3"; empty where at none
};

// The asker of this process, whose methods are called as `loginUserName`.
Asker askerOf(const std::string& loginUserName);

// When accounts expired before a call, by name, in days since 1970: what undoing it takes.
using Expiries = std::map<std::string, long>;

// Those of the accounts that a call of `method` with `parameters` changes, as they are now.
Expiries expiriesOf(const std::string& method, const Json::Value& parameters);

// One line on a call: who asked, from where, what, whom, result. Texts of the call are quoted and
// without control characters; a call that names many is cut with a count of the rest.
std::string enforcementLine(const Asker& asker, const std::string& method,
                            const Json::Value& parameters, const Answer& answer,
                            const Expiries& before = {});

// Writes that line to the system's authorisation log.
void logEnforcement(const Asker& asker, const std::string& method, const Json::Value& parameters,
                    const Answer& answer, const Expiries& before = {});

}  // namespace cli
