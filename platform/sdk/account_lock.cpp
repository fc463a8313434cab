#include "sdk/account_lock.h"

#include <cerrno>
#include <string_view>
#include <thread>

#include "base/account_name.h"
#include "base/file_failure.h"
#include "base/numbers.h"
#include "base/process_status.h"
#include "base/text.h"

namespace zevo {
namespace {

// The name of the real user, the first number in `ids`.
std::string userName(std::string_view ids) {
  const auto uid = parseNumber<uid_t>(ids.substr(0, ids.find('\t')));
  return uid ? accountName(*uid) : "unknown";
}

// The process, its name and its real user: passwd has root's rights, but its user can suspend it.
std::string describe(pid_t pid) {
  std::string process = "process " + std::to_string(pid);
  const auto status = readProcessStatus(pid);
  if (!status) return process;
  return process + " (" + printable(statusValue(*status, "Name")) + " of " +
         userName(statusValue(*status, "Uid")) + ")";
}

// Who holds a lock that conflicts with `wanted`, and the remedy. The kernel reports neither a
// process of another pid namespace nor the holder of an open file's lock.
std::string heldBy(int file, struct flock wanted) {
  const bool isTold = ::fcntl(file, F_GETLK, &wanted) == 0 && wanted.l_type != F_UNLCK;
  if (!isTold || wanted.l_pid <= 0) return "another process holds it; try again";
  return describe(wanted.l_pid) + " holds it; end that process and try again";
}

}  // namespace

std::optional<std::string> lockAccounts(const std::string& path, std::chrono::milliseconds wait,
                                        FileDescriptor* lock) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + wait;
  *lock = openFile(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0600);
  if (!*lock) return FileFailure{"open", path, errno}.text();
  struct flock whole {};
  whole.l_type = F_WRLCK;
  whole.l_whence = SEEK_SET;
  // An open file's lock conflicts with the process lock of lckpwdf(3) and, unlike that, also with
  // other locks of this process.
  while (::fcntl(lock->get(), F_OFD_SETLK, &whole) != 0) {
    if (errno == EINTR) continue;
    if (errno != EAGAIN && errno != EACCES) return FileFailure{"lock", path, errno}.text();
    if (Clock::now() >= deadline) {
      return "cannot lock " + printable(path, 4096) + ": " + heldBy(lock->get(), whole);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return std::nullopt;
}

}  // namespace zevo
