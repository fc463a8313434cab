// The process of a login's row, which is ended to end the login.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "services/sources.h"
#include "services/utmp.h"

namespace zevo::connections {

// An entry has a terminal and a process, and any user can create an entry (through utempter) for a
// terminal or a process that later belongs to somebody else. So only a process of the entry's own
// user counts.
class LoginProcesses {
 public:
  explicit LoginProcesses(const Sources& sources) : sources_(sources) {}

  // The first that is a process of the entry's user among: who leads the session on its terminal,
  // the session that it names, the session of `maker`, which made it; `maker`; and the first
  // children of `maker`, which may be root's login program. Its owner is the entry's user, and it
  // runs beside this machine's services, in no container. Gone if there is none or no such account.
  Result<const Process*> of(const LoginEntry& entry, const Process& maker);

 private:
  Result<bool> isUsers(const Process& process, const std::string& user);
  Result<bool> readIsUsers(const Process& process, const std::string& user);
  const Result<uid_t>& idOf(const std::string& user);

  const Sources& sources_;
  std::map<std::string, Result<uid_t>> ids_;
  // Many entries may have the same processes.
  std::map<std::pair<pid_t, std::string>, Result<bool>> verdicts_;
};

}  // namespace zevo::connections
