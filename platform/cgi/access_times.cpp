#include "cgi/access_times.h"

#include <sys/stat.h>
#include <unistd.h>

#include "zevo/config.h"

#include "cgi/session_record.h"

namespace zevo {

AccessTimes::AccessTimes(const std::string& sessionFile)
    : folder_(
          openFile(accessTimeFolderOf(sessionFile).c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW)),
      oldest_(::time(nullptr) - std::chrono::seconds(config().idleLimit).count()) {}

bool AccessTimes::isCurrent(const char* id) const {
  struct stat status {};
  return folder_ && ::fstatat(folder_.get(), id, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISREG(status.st_mode) && status.st_mtime > oldest_;
}

void AccessTimes::touch(const char* id) const {
  if (folder_) ::utimensat(folder_.get(), id, nullptr, AT_SYMLINK_NOFOLLOW);
}

void AccessTimes::remove(const char* id) const {
  if (folder_) ::unlinkat(folder_.get(), id, 0);
}

}  // namespace zevo
