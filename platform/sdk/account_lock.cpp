#include "sdk/account_lock.h"

#include <cerrno>
#include <thread>

namespace zevo {

std::optional<FileFailure> lockAccounts(const std::string& path, std::chrono::milliseconds wait,
                                        FileDescriptor* lock) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + wait;
  *lock = openFile(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600);
  if (!*lock) return FileFailure{"open", path, errno};
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  // The lock of an open file conflicts with the process's lock that lckpwdf(3) takes, and unlike it
  // also with another of our own.
  while (::fcntl(lock->get(), F_OFD_SETLK, &whole) != 0) {
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EACCES) return FileFailure{"lock", path, errno};
    if (Clock::now() >= deadline) return FileFailure{"lock", path, ETIMEDOUT};
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return std::nullopt;
}

}  // namespace zevo
