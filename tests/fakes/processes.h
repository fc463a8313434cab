// Signals, sleeps and files, as a model: nothing is signalled, nobody waits, nothing is deleted.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

#include "fakes/calls.h"

namespace fakes {

class Processes {
 public:
  explicit Processes(Calls& calls) : calls_(calls) {}

  // The result of kill(): 0, or the error. Unscripted until set.
  std::function<int(pid_t, int)> onKill;
  // The result of sleep(): the seconds left, 0 after the whole sleep. Unscripted until set.
  std::function<unsigned(unsigned)> onSleep;
  // The result of unlink(): 0, or the error. Unscripted until set.
  std::function<int(const std::string&)> onUnlink;

  int signal(pid_t pid, int number, const std::string& as);
  unsigned sleep(unsigned seconds);
  int unlink(const char* path, const std::string& as);

 private:
  Calls& calls_;
};

}  // namespace fakes
