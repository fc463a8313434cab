#include "bench/peak_memory.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A value of /proc/self/status in KiB.
double statusKiB(const char* key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind(key, 0) == 0) return std::stod(line.substr(std::strlen(key)));
  }
  return -1;
}

void resetPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

double measure(const std::function<void()>& work) {
  resetPeak();
  const double before = statusKiB("VmRSS:");
  work();
  return (statusKiB("VmHWM:") - before) / 1024;
}

}  // namespace

namespace bench {

double peakGrowthMiB(const std::function<void()>& work) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    const double grown = measure(work);
    const bool written = write(ends[1], &grown, sizeof grown) == static_cast<ssize_t>(sizeof grown);
    _exit(written ? 0 : 1);
  }
  close(ends[1]);
  double grown = -1;
  if (read(ends[0], &grown, sizeof grown) != static_cast<ssize_t>(sizeof grown)) grown = -1;
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return grown;
}

}  // namespace bench
