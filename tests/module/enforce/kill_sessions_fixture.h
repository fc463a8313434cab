// What tests of ending processes share.
#pragma once

#include "enforce/kill_sessions.h"
#include "module/support.h"

namespace module_test {

inline Session of(std::uint32_t pid, const std::string& type) {
  return session(pid, "t", "alice", "f", "d", type);
}

class KillSessions : public ModuleTest {
 protected:
  KillSessions() {
    platform.processes.onKill = [](pid_t, int) { return 0; };
  }

  // The status file of process `pid` names it `name`.
  void addProcess(std::uint32_t pid, const std::string& name) {
    platform.keyedFiles.add("/proc/" + std::to_string(pid) + "/status", "Name:\t" + name);
  }

  std::vector<std::string> kills() { return platform.calls.of({"kill"}); }

  // Whether a process of this name is signalled for a session of this type.
  bool isSignalled(const std::string& type, const std::string& name) {
    addProcess(900, name);
    platform.calls.clear();
    SessionList list = {of(900, type)};
    KillServiceSessions(list, 15);
    return !kills().empty();
  }
};

}  // namespace module_test
