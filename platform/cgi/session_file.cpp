#include "zevo/session_file.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "zevo/error_trail.h"

#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "base/file_owner.h"
#include "base/read_file.h"
#include "base/text.h"
#include "cgi/failure.h"
#include "cgi/session_lines.h"
#include "cgi/session_record.h"

namespace zevo {
namespace {

bool refuse(const std::string& path, const std::string& why) {
  ZEVO_NOTE_ERROR(ZEVO_ERR_FILE_OPEN, "cannot use " + printable(path, 4096) + ": " + why);
  return false;
}

// Whether the open file can be trusted: it belongs to us or root, and nobody else can replace it.
bool isOurs(int file, const std::string& path) {
  struct stat status {};
  if (::fstat(file, &status) != 0) return failAtFile({"read", path, errno});
  if (!belongsToUsOrRoot(status)) {
    return refuse(path, "it belongs to another user; remove it");
  }
  if (S_ISDIR(status.st_mode) ? canOthersReplaceIn(status) : canOthersWrite(status)) {
    return refuse(path, "other users can write it; run chmod go-w on it");
  }
  return true;
}

// Opens the directory `name` in `parent`, created with `mode` if it does not exist; `path` is for
// messages.
FileDescriptor openOwnFolder(int parent, const std::string& name, mode_t mode,
                             const std::string& path) {
  const bool made = ::mkdirat(parent, name.c_str(), mode) == 0;
  if (!made && errno != EEXIST) {
    failAtFile({"create", path, errno});
    return {};
  }
  FileDescriptor folder = openFileAt(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!folder) {
    failAtFile({"open", path, errno});
    return {};
  }
  if (!isOurs(folder.get(), path)) return {};
  if (made && ::fchmod(folder.get(), mode) != 0) {  // regardless of the umask
    failAtFile({"set the mode of", path, errno});
    return {};
  }
  return folder;
}

bool makeFile(int folder, const std::string& name, const std::string& path) {
  const FileDescriptor made =
      openFileAt(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, 0600);
  if (made) return true;
  if (errno != EEXIST) return failAtFile({"create", path, errno});
  const FileDescriptor old =
      openFileAt(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
  if (!old) return failAtFile({"open", path, errno});
  struct stat status {};
  if (::fstat(old.get(), &status) != 0) return failAtFile({"read", path, errno});
  if (!S_ISREG(status.st_mode)) return refuse(path, "it is not a regular file; remove it");
  return isOurs(old.get(), path);
}

// The file comes first: nothing is created beside a file that is not ours. Each step uses the
// descriptor of the directory that the previous step has checked, so that nobody can insert a link.
bool createSessionFile(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash + 1 == path.size()) {
    return refuse(path, "give an absolute path of a file");
  }
  const std::string folderPath = slash == 0 ? "/" : path.substr(0, slash);
  const std::string name = path.substr(slash + 1);
  const FileDescriptor folder = openOwnFolder(AT_FDCWD, folderPath, 0755, folderPath);
  if (!folder) return false;
  const std::string times = accessTimeFolderOf(path);
  return makeFile(folder.get(), name, path) &&
         static_cast<bool>(openOwnFolder(folder.get(), accessTimeFolderOf(name), 0700, times));
}

}  // namespace

bool checkSessionFile(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return true;
  std::string content;
  if (const auto failure = readFile(path, kLongestSessionFile, &content)) {
    return failAtFile(*failure);
  }
  std::size_t number = 0;
  for (const std::string_view line : wholeLinesOf(content)) {
    ++number;
    if (parseSessionRecord(line)) continue;
    return refuse(path, "its line " + std::to_string(number) +
                            " is not a login record, so the file may belong to another program; "
                            "give a file that is used for sessions only");
  }
  return true;
}

}  // namespace zevo

extern "C" int ZEVOCgiSessionFileCreate(const char* path) {
  return zevo::createSessionFile(path != nullptr ? path : "") ? 0 : -1;
}
