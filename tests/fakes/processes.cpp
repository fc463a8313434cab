#include "fakes/processes.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

#include "fakes/allocation.h"
#include "fakes/platform.h"

extern "C" {

int kill(pid_t pid, int number) noexcept {
  const fakes::AllocationPause pause;
  fakes::Platform& platform = fakes::Platform::current("kill");
  return platform.processes.signal(pid, number, platform.ids.text());
}

unsigned sleep(unsigned seconds) {
  const fakes::AllocationPause pause;
  return fakes::Platform::current("sleep").processes.sleep(seconds);
}

int unlink(const char* path) noexcept {
  const fakes::AllocationPause pause;
  fakes::Platform& platform = fakes::Platform::current("unlink");
  return platform.processes.unlink(path, platform.ids.text());
}

}  // extern "C"

namespace fakes {

namespace {

int resultOf(int error) {
  if (error == 0) return 0;
  errno = error;
  return -1;
}

}  // namespace

int Processes::signal(pid_t pid, int number, const std::string& as) {
  const std::string call =
      "kill(" + std::to_string(pid) + ", " + std::to_string(number) + ") as " + as;
  if (!onKill) {
    calls_.unscripted(call);
    return resultOf(EPERM);
  }
  calls_.record(call);
  return resultOf(onKill(pid, number));
}

unsigned Processes::sleep(unsigned seconds) {
  const std::string call = "sleep(" + std::to_string(seconds) + ")";
  if (!onSleep) {
    calls_.unscripted(call);
    return 0;
  }
  calls_.record(call);
  return onSleep(seconds);
}

int Processes::unlink(const char* path, const std::string& as) {
  const std::string call = std::string("unlink(") + path + ") as " + as;
  if (!onUnlink) {
    calls_.unscripted(call);
    return resultOf(EPERM);
  }
  calls_.record(call);
  return resultOf(onUnlink(path));
}

}  // namespace fakes
