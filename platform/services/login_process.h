// The process that a login's row names, and that is ended when its user is to go.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "services/sources.h"
#include "services/utmp.h"

namespace zevo::connections {

// An entry tells of a terminal and of a process, and any user can have an entry made (by utempter)
// for a terminal or a process that somebody else takes over later. So only a process of the
// entry's own user stands for a login.
class LoginProcesses {
 public:
  explicit LoginProcesses(const Sources& sources) : sources_(sources) {}

  // The first that is a process of the entry's user among: who leads the session on its terminal,
  // the session that it names, the session of `maker`, which made it; `maker`; and the first
  // children of `maker`, which may be root's login program. Its owner is the entry's user, and it
  // runs beside this machine's services, in no container. Gone where there is none or no such
  // account.
  Result<const Process*> of(const LoginEntry& entry, const Process& maker);

 private:
  Result<bool> isUsers(const Process& process, const std::string& user);
  Result<bool> readIsUsers(const Process& process, const std::string& user);
  const Result<uid_t>& idOf(const std::string& user);

  const Sources& sources_;
  std::map<std::string, Result<uid_t>> ids_;
  // Many entries may lead to the same processes.
  std::map<std::pair<pid_t, std::string>, Result<bool>> verdicts_;
};

}  // namespace zevo::connections
