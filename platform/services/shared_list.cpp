#include "services/shared_list.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "base/file_descriptor.h"
#include "base/file_owner.h"
#include "base/numbers.h"
#include "base/read_file.h"
#include "services/boot_clock.h"
#include "services/list_text.h"

namespace zevo::connections {
namespace {

constexpr const char* kList = "list";
constexpr const char* kLock = "lock";
constexpr std::size_t kLongestList = 256UL * 1024 * 1024;
constexpr std::chrono::milliseconds kTimeBetweenLooks{3};
constexpr std::chrono::milliseconds kLongestPause{250};

bool isOurs(int file) {
  struct stat status {};
  return ::fstat(file, &status) == 0 && status.st_uid == ::geteuid() &&
         (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

// Whether only we and root can replace a directory in this directory.
bool isWay(int folder) {
  struct stat status {};
  return ::fstat(folder, &status) == 0 && belongsToUsOrRoot(status) && !canOthersReplaceIn(status);
}

// Opens `name` in `folder`, created if it does not exist.
FileDescriptor enter(int folder, const std::string& name, mode_t mode) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;
  FileDescriptor next = openFileAt(folder, name.c_str(), kFlags);
  if (next || errno != ENOENT) return next;
  const bool isNew = ::mkdirat(folder, name.c_str(), mode) == 0;
  if (!isNew && errno != EEXIST) return {};
  next = openFileAt(folder, name.c_str(), kFlags);
  if (isNew && next) ::fchmod(next.get(), mode);  // regardless of the umask
  return next;
}

// The directory at the absolute `path`, if only we can write it. Step by step, since a link further
// up would be followed.
FileDescriptor openOurFolder(const std::string& path) {
  FileDescriptor folder = openFile("/", O_RDONLY | O_DIRECTORY);
  for (std::size_t at = 1; at < path.size();) {
    if (!folder || !isWay(folder.get())) return {};
    const std::size_t end = std::min(path.find('/', at), path.size());
    folder = enter(folder.get(), path.substr(at, end - at), end == path.size() ? 0700 : 0755);
    at = end + 1;
  }
  return folder && isOurs(folder.get()) ? std::move(folder) : FileDescriptor();
}

std::optional<TimedList> load(int folder, std::string_view key, std::chrono::nanoseconds oldest) {
  const FileDescriptor file = openFileAt(folder, kList, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  std::string text;
  if (!file || !isOurs(file.get()) || readDescriptor(file.get(), kList, kLongestList, &text)) {
    return std::nullopt;
  }
  auto list = parseListText(text, key, oldest);
  // A time in the future: from before a restart of the system.
  if (list && list->began > timeSinceBoot()) return std::nullopt;
  return list;
}

// Replaces the whole list. If that fails, the others read for themselves.
void store(int folder, std::string_view text) {
  const std::string name = "new." + std::to_string(::getpid());
  ::unlinkat(folder, name.c_str(), 0);
  const FileDescriptor file =
      openFileAt(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
  if (!file) return;
  const bool isStored =
      writeAll(text, file.get()) && ::renameat(folder, name.c_str(), folder, kList) == 0;
  if (!isStored) ::unlinkat(folder, name.c_str(), 0);
}

// The lock to read for others too.
class ReadersLock {
 public:
  enum class State { kOurs, kTaken, kUnusable };

  // Tries once.
  explicit ReadersLock(int folder)
      : file_(openFileAt(folder, kLock, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK, 0600)) {
    if (!file_ || !isOurs(file_.get())) return;
    const bool isTaken = ::flock(file_.get(), LOCK_EX | LOCK_NB) != 0;
    if (isTaken && errno != EWOULDBLOCK) return;
    state_ = isTaken ? State::kTaken : State::kOurs;
    if (!isTaken) write(std::to_string(timeSinceBoot().count()));
  }
  ~ReadersLock() {
    if (state_ == State::kOurs) write("");
  }
  ReadersLock(const ReadersLock&) = delete;
  ReadersLock& operator=(const ReadersLock&) = delete;

  [[nodiscard]] State state() const { return state_; }
  // When the holder began; nothing if it has not recorded that yet.
  [[nodiscard]] std::optional<std::chrono::nanoseconds> holdersBegin() const {
    std::array<char, 32> text{};
    const ssize_t size = ::pread(file_.get(), text.data(), text.size(), 0);
    std::string_view written(text.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    const auto began = takeNumber<std::int64_t>(written);
    return began ? std::optional(std::chrono::nanoseconds(*began)) : std::nullopt;
  }

 private:
  // If that fails, the others wait until their limit.
  void write(std::string_view text) const {
    [[maybe_unused]] const bool isWritten =
        ::ftruncate(file_.get(), 0) == 0 && ::pwrite(file_.get(), text.data(), text.size(), 0) >= 0;
  }

  FileDescriptor file_;
  State state_ = State::kUnusable;
};

Result<void> readTimed(const ListReader& read, TimedList* list) {
  list->began = timeSinceBoot();
  Result<void> outcome = read(&list->list);
  list->ended = timeSinceBoot();
  return outcome;
}

Result<void> readForAll(int folder, std::string_view key, const ListReader& read, TimedList* list) {
  Result<void> outcome = readTimed(read, list);
  if (outcome) store(folder, listText(key, *list));
  return outcome;
}

// Concurrent calls do not arrive at the same instant: without a pause the first would read only for
// itself, and the others would share the next read.
void awaitOthers(int folder, std::string_view key) {
  const auto last = load(folder, key, std::chrono::nanoseconds(0));
  if (last) std::this_thread::sleep_for(restAfter(*last, timeSinceBoot()));
}

// A kernel link such as "mnt:[4026531841]".
std::string linkText(const std::string& path) {
  std::array<char, 64> target{};
  const ssize_t size = ::readlink(path.c_str(), target.data(), target.size());
  return {target.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))};
}

}  // namespace

std::chrono::nanoseconds restAfter(const TimedList& last, std::chrono::nanoseconds now) {
  const std::chrono::nanoseconds none(0);
  const auto pause =
      std::clamp<std::chrono::nanoseconds>(last.ended - last.began, none, kLongestPause);
  return std::clamp(last.ended + pause - now, none, pause);
}

std::string sharingKey(const Paths& paths) {
  std::string key;
  for (const std::string* path : {&paths.proc, &paths.utmp, &paths.logindSessions, &paths.nfsd,
                                  &paths.rmtab, &paths.smbstatus, &paths.pureFtpwho}) {
    key += *path + "\n";
  }
  for (const char* space : {"mnt", "net", "pid", "time", "user"}) {
    key += linkText(std::string("/proc/self/ns/") + space) + "\n";
  }
  struct stat root {};
  if (::stat("/", &root) == 0) {
    key += std::to_string(root.st_dev) + ":" + std::to_string(root.st_ino) + "\n";
  }
  std::string boot;
  if (!readFile("/proc/sys/kernel/random/boot_id", 64, &boot)) key += boot;
  const char* zone = ::getenv("TZ");
  return key + (zone != nullptr ? zone : "");
}

Result<void> readShared(const Paths& paths, const ListCall& call, const ListReader& read,
                        TimedList* list) {
  const FileDescriptor folder = openOurFolder(paths.sharedList);
  if (!folder) return readTimed(read, list);
  const std::string key = sharingKey(paths);
  const auto takeStored = [&] {
    auto stored = load(folder.get(), key, call.begin - call.acceptedAge);
    if (stored) *list = std::move(*stored);
    return stored.has_value();
  };
  while (!takeStored()) {
    const ReadersLock lock(folder.get());
    if (lock.state() == ReadersLock::State::kOurs) {
      // The previous holder may have stored a list since the last check.
      if (takeStored()) return {};
      awaitOthers(folder.get(), key);
      return readForAll(folder.get(), key, read, list);
    }
    const bool isTaken = lock.state() == ReadersLock::State::kTaken;
    const auto now = timeSinceBoot();
    const auto holders = isTaken ? lock.holdersBegin() : std::nullopt;
    // Its holder hangs, or it is not ours: the next caller creates another.
    if (!isTaken || (holders && now > *holders + call.waitLimit)) {
      ::unlinkat(folder.get(), kLock, 0);
    }
    if (!isTaken || now > call.begin + call.waitLimit) return readTimed(read, list);
    std::this_thread::sleep_for(kTimeBetweenLooks);
  }
  return {};
}

}  // namespace zevo::connections
