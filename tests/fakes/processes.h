// Signals, naps and files, as a model: nothing is signalled, nobody waits, nothing is deleted.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>

#include "fakes/calls.h"

namespace fakes {

class Processes {
 public:
  explicit Processes(Calls& calls) : calls_(calls) {}

  // What kill() answers: 0, or the error that it fails with. Unscripted until set.
  std::function<int(pid_t, int)> onKill;
  // What sleep() answers: the seconds left, 0 after the whole sleep. Unscripted until set.
  std::function<unsigned(unsigned)> onSleep;
  // What unlink() answers: 0, or the error that it fails with. Unscripted until set.
  std::function<int(const std::string&)> onUnlink;

  int signal(pid_t pid, int number, const std::string& as);
  unsigned sleep(unsigned seconds);
  int unlink(const char* path, const std::string& as);

 private:
  Calls& calls_;
};

}  // namespace fakes
