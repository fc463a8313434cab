// Replaces a whole file.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <sys/types.h>

#include "base/file_failure.h"

namespace zevo {

// The system calls of a replacement: a test lets exactly one of them fail.
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

  // The real system calls.
  static FileOperations& system();
};

struct ReplaceOptions {
  // The mode of the new file, which belongs to the caller.
  mode_t mode = 0600;
  // Gives the new file the owner, group, mode and extended attributes of an existing old one. Only
  // for edits of a file with a trusted owner: anybody who created the file beforehand would own
  // what is written to it. A label whose security module is no longer active may be lost; if any
  // other attribute cannot be kept, the replacement fails. Attributes "trusted.*" are visible, and
  // kept, only for a process with CAP_SYS_ADMIN.
  bool keepsIdentity = false;
  // Removes temporary files that killed writers left beside the target. Only for a caller that
  // holds a lock against other writers.
  bool removeLeftovers = false;
};

// Replaces the content of `target` by the concatenated `pieces`: writes a temporary file beside it,
// synchronises it and renames it, so that readers, or anybody after a crash, see the old file or
// the new one. On failure the old file is unchanged and the temporary file removed. A symbolic link
// `target` is not followed but replaced.
[[nodiscard]] std::optional<FileFailure> replaceFile(
    const std::string& target, std::span<const std::string_view> pieces,
    const ReplaceOptions& options = {}, FileOperations& operations = FileOperations::system());

}  // namespace zevo
