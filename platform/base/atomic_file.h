// Replacing a file as a whole.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "base/file_failure.h"

namespace zevo {

// The system calls that a replacement makes: a test lets exactly one of them fail.
class FileOperations {
 public:
  FileOperations() = default;
  virtual ~FileOperations() = default;
  FileOperations(const FileOperations&) = delete;
  FileOperations& operator=(const FileOperations&) = delete;

  virtual ssize_t write(int file, const char* bytes, std::size_t size);
  virtual int fsync(int file);
  virtual int fchown(int file, uid_t owner, gid_t group);
  virtual int fchmod(int file, mode_t mode);
  virtual int fsetxattr(int file, const char* name, const void* value, std::size_t size);
  virtual int rename(const char* from, const char* to);

  // Those of the system.
  static FileOperations& system();
};

struct ReplaceOptions {
  // Of the new file, which belongs to the caller.
  mode_t mode = 0600;
  // Gives the new file owner, group, mode and extended attributes of the old one, where there is
  // one. Only for an edit of a file whose owner is to be trusted: whoever lays a file under the
  // name beforehand would own what is written there. A label that the kernel gives to no file by
  // now, since its security module is not active, may be lost; any other attribute that cannot be
  // kept fails the replacement. Attributes "trusted.*" can be seen, and kept, by a process with
  // CAP_SYS_ADMIN alone.
  bool keepsIdentity = false;
  // Removes temporaries that writers killed in the middle left beside the target. Only for a caller
  // that holds a lock against other writers.
  bool removeLeftovers = false;
};

// Makes `pieces`, one after the other, the content of `target`: a temporary file beside it is
// written, made durable and renamed over it, so a reader or a crash sees the old file or the new
// one. On failure the old file is unchanged and the temporary gone. `target` is no symbolic link's
// name to follow: a link is replaced.
[[nodiscard]] std::optional<FileFailure> replaceFile(
    const std::string& target, std::span<const std::string_view> pieces,
    const ReplaceOptions& options = {}, FileOperations& operations = FileOperations::system());

}  // namespace zevo
