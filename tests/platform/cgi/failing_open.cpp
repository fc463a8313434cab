// Stands in for openat(2), which opens everything here, of the program that it is linked into.
#include "platform/cgi/failing_open.h"

#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace zevo::failing_open {
namespace {

std::string failingPath;
int failure = 0;

}  // namespace

void fail(const std::string& path, int error) {
  failingPath = path;
  failure = error;
}

bool takesTurn(const char* path) {
  if (failure == 0 || failingPath != path) return false;
  errno = failure;
  failure = 0;
  return true;
}

}  // namespace zevo::failing_open

extern "C" int openat(int folder, const char* path, int flags, ...) {
  va_list more;
  va_start(more, flags);
  const auto mode = static_cast<mode_t>((flags & O_CREAT) != 0 ? va_arg(more, unsigned) : 0U);
  va_end(more);
  if (zevo::failing_open::takesTurn(path)) return -1;
  return static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
}
