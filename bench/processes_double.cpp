#include "bench/processes_double.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/types.h>
#include <utility>

#include <climits>

namespace {

constexpr const char* kProc = "/proc/";

std::string processes;
std::size_t sent = 0;  // signals

}  // namespace

extern "C" {

int __wrap_kill(pid_t pid, int number);
unsigned __wrap_sleep(unsigned seconds);
int __wrap_VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size, int flags);
int __real_VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size, int flags);

int __wrap_kill(pid_t /*pid*/, int number) {
  if (number == 0) {
    errno = ESRCH;
    return -1;
  }
  ++sent;
  return 0;
}

unsigned __wrap_sleep(unsigned /*seconds*/) {
  return 0;
}

int __wrap_VLIBCFileGetLine(const char* path, const char* key, char* buffer, int size, int flags) {
  // A path that is too long names nothing in any directory: it is not worth a copy.
  if (std::strncmp(path, kProc, std::strlen(kProc)) != 0 || std::strlen(path) > PATH_MAX)
    return __real_VLIBCFileGetLine(path, key, buffer, size, flags);
  const std::string there = processes + "/" + (path + std::strlen(kProc));
  return __real_VLIBCFileGetLine(there.c_str(), key, buffer, size, flags);
}

}  // extern "C"

namespace bench {

void makeProcesses(const std::string& folder, std::uint32_t first, std::size_t count) {
  processes = folder;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string process = folder + "/" + std::to_string(first + i);
    std::filesystem::create_directories(process);
    std::ofstream(process + "/status") << "Name:\tsmbd\nUmask:\t0022\nState:\tS (sleeping)\n";
  }
}

std::size_t takeSignals() {
  return std::exchange(sent, 0);
}

}  // namespace bench
