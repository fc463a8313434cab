#include "cgi/access_times.h"

#include <cerrno>
#include <chrono>
#include <sys/stat.h>
#include <unistd.h>

#include "cgi/failure.h"
#include "host/config.h"

namespace zevo {
namespace {

// Whether `error` means that a name, or a part of its path, does not exist; anything else is a
// system failure.
bool isMissing(int error) {
  return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

Currency unknown(const std::string& path, int error) {
  failAtFile({"read", path, error});
  return Currency::kUnknown;
}

template <typename Limit>
std::int64_t secondsOf(Limit limit) {
  return std::chrono::seconds(limit).count();
}

}  // namespace

AccessTimes::AccessTimes(const std::string& sessionFile)
    : path_(accessTimeFolderOf(sessionFile)),
      folder_(openFile(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW)),
      folderError_(folder_ ? 0 : errno),
      now_(::time(nullptr)) {}

Currency AccessTimes::currencyOf(json_object* record) const {
  const std::int64_t end = sessionNumber(record, kEndField, -1);
  if (end >= 0) return now_ < end ? Currency::kCurrent : Currency::kEnded;
  const std::int64_t start = sessionNumber(record, kStartField, -1);
  if (start >= 0 && now_ - start >= secondsOf(config().loginLimit)) return Currency::kEnded;
  return useOf(sessionIdOf(record));
}

Currency AccessTimes::useOf(const char* id) const {
  if (!folder_) return isMissing(folderError_) ? Currency::kEnded : unknown(path_, folderError_);
  struct stat status {};
  if (::fstatat(folder_.get(), id, &status, AT_SYMLINK_NOFOLLOW) != 0) {
    return isMissing(errno) ? Currency::kEnded : unknown(path_ + "/" + id, errno);
  }
  const bool isRecent = status.st_mtime > now_ - secondsOf(config().idleLimit);
  return S_ISREG(status.st_mode) && isRecent ? Currency::kCurrent : Currency::kEnded;
}

std::int64_t AccessTimes::lastUse(const char* id) const {
  constexpr std::int64_t kNanoseconds = 1000L * 1000 * 1000;
  struct stat status {};
  if (!folder_ || ::fstatat(folder_.get(), id, &status, AT_SYMLINK_NOFOLLOW) != 0) return 0;
  return status.st_mtim.tv_sec * kNanoseconds + status.st_mtim.tv_nsec;
}

void AccessTimes::touch(const char* id) const {
  if (folder_) ::utimensat(folder_.get(), id, nullptr, AT_SYMLINK_NOFOLLOW);
}

void AccessTimes::remove(const char* id) const {
  if (folder_) ::unlinkat(folder_.get(), id, 0);
}

}  // namespace zevo
