// The critical section of the session file.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "zevo/cgi.h"

#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "base/text.h"
#include "cgi/failure.h"
#include "cgi/session_record.h"
#include "host/config.h"

namespace zevo {
namespace {

using Clock = std::chrono::steady_clock;

// Ensures that nobody else can open the lock file and hold the lock. Returns the reason of a
// failure, or nothing.
std::string makePrivate(int file, const std::string& path) {
  struct stat status {};
  if (::fstat(file, &status) != 0) return FileFailure{"read", path, errno}.text();
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
    return "the lock file " + printable(path, 4096) + " belongs to another user: remove it";
  }
  if ((status.st_mode & 07777U) != 0600 && ::fchmod(file, 0600) != 0) {
    return FileFailure{"set the mode of", path, errno}.text();
  }
  return {};
}

// Retries until `deadline`; the kernel has no timed wait for a file lock. False with errno set.
bool lockUntil(int file, Clock::time_point deadline) {
  auto pause = std::chrono::microseconds(200);
  constexpr auto kLongestPause = std::chrono::microseconds(10000);
  while (::flock(file, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return false;
    const auto left = deadline - Clock::now();
    if (left <= Clock::duration::zero()) {
      errno = ETIMEDOUT;
      return false;
    }
    std::this_thread::sleep_for(std::min<Clock::duration>(pause, left));
    pause = std::min(pause * 2, kLongestPause);
  }
  return true;
}

int enter(const std::string& lock, int milliseconds) {
  const auto deadline = Clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0));
  FileDescriptor file =
      openFile(lock.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600);
  if (!file) return fail(ZEVO_ERR_FILE_OPEN, FileFailure{"open", lock, errno}.text());
  const std::string refusal = makePrivate(file.get(), lock);
  if (!refusal.empty()) return fail(ZEVO_ERR_FILE_OPEN, refusal);
  if (!lockUntil(file.get(), deadline)) {
    return fail(ZEVO_ERR_SYSTEM, FileFailure{"lock", lock, errno}.text());
  }
  return file.release();
}

}  // namespace
}  // namespace zevo

extern "C" {

void ZevoCgiInit(const char* name, ZEVO_CGI* cgi) {
  const bool isNamed = name != nullptr && *name != '\0';
  const std::string lock = zevo::lockFileOf(isNamed ? name : zevo::config().sessionFile);
  std::memset(cgi, 0, sizeof *cgi);
  // A path that is too long is left empty, and the section cannot be entered.
  if (lock.size() < sizeof cgi->lock) std::memcpy(cgi->lock, lock.data(), lock.size());
}

int ZevoCgiBeginCriticalSection(const char* lock, int milliseconds) {
  return zevo::enter(lock != nullptr ? lock : "", milliseconds);
}

void ZevoCgiEndCriticalSection(int handle) {
  if (handle >= 0) ::close(handle);
}

}  // extern "C"
