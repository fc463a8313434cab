#include "base/atomic_file.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

#include "base/file_descriptor.h"
#include "base/open_folder.h"

namespace zevo {

ssize_t FileOperations::write(int file, const char* bytes, std::size_t size) {
  return ::write(file, bytes, size);
}
int FileOperations::fsync(int file) {
  return ::fsync(file);
}
int FileOperations::fchown(int file, uid_t owner, gid_t group) {
  return ::fchown(file, owner, group);
}
int FileOperations::fchmod(int file, mode_t mode) {
  return ::fchmod(file, mode);
}
int FileOperations::fsetxattr(int file, const char* name, const void* value, std::size_t size) {
  return ::fsetxattr(file, name, value, size, 0);
}
int FileOperations::rename(const char* from, const char* to) {
  return ::rename(from, to);
}

FileOperations& FileOperations::system() {
  static FileOperations operations;
  return operations;
}

namespace {

// Leftovers are found by this mark, so nobody else may use it.
constexpr std::string_view kMark = ".currentconn-new-";
constexpr std::string_view kRandom = "XXXXXX";

std::string folderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

// Withholds the signal of a write beyond the limit on file sizes that the caller may have: it would
// end the process and leave the temporary file. The write fails instead.
class NoSizeSignal {
 public:
  NoSizeSignal() {
    ::sigemptyset(&signal_);
    ::sigaddset(&signal_, SIGXFSZ);
    ::pthread_sigmask(SIG_BLOCK, &signal_, &before_);
  }
  ~NoSizeSignal() {
    const timespec now{};
    if (::sigismember(&before_, SIGXFSZ) == 0) ::sigtimedwait(&signal_, nullptr, &now);
    ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }
  NoSizeSignal(const NoSizeSignal&) = delete;
  NoSizeSignal& operator=(const NoSizeSignal&) = delete;

 private:
  sigset_t signal_{};
  sigset_t before_{};
};

// A temporary file that is removed by the destructor unless it was renamed.
class Temporary {
 public:
  explicit Temporary(const std::string& target)
      : path_(target + std::string(kMark) + std::string(kRandom)),
        file_(::mkostemp(path_.data(), O_CLOEXEC)) {}
  ~Temporary() {
    if (file_ && !renamed_) ::unlink(path_.c_str());
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] int file() const { return file_.get(); }
  void setRenamed() { renamed_ = true; }

 private:
  std::string path_;
  FileDescriptor file_;
  bool renamed_ = false;
};

// Attributes that name the content (hashes, signatures) would be wrong on another one.
bool describesContent(std::string_view attribute) {
  return attribute == "security.ima" || attribute == "security.evm";
}

// Attributes that the kernel's security modules set on each new file.
bool isLabel(std::string_view attribute) {
  return attribute == "security.selinux" || attribute.starts_with("security.SMACK64");
}

std::optional<std::string> attributeOf(int file, const char* name) {
  std::string value(64UL * 1024, '\0');  // XATTR_SIZE_MAX
  const ssize_t size = ::fgetxattr(file, name, value.data(), value.size());
  if (size < 0) return std::nullopt;
  value.resize(static_cast<std::size_t>(size));
  return value;
}

bool copyAttribute(FileOperations& operations, int from, int to, const char* name) {
  const auto value = attributeOf(from, name);
  if (!value) return errno == ENODATA;
  if (attributeOf(to, name) == value) return true;
  if (operations.fsetxattr(to, name, value->data(), value->size()) == 0) return true;
  const int error = errno;
  // Without its module nothing labels files, and setting a label needs rights that a confined
  // process lacks. A label that differs was set by the module and must not remain.
  const bool isInactive = (error == EPERM || error == ENOTSUP) && !attributeOf(to, name);
  errno = error;
  return isInactive && isLabel(name);
}

std::optional<FileFailure> copyAttributes(FileOperations& operations, int from, int to,
                                          const std::string& target) {
  std::vector<char> names(64UL * 1024);  // XATTR_LIST_MAX
  const ssize_t size = ::flistxattr(from, names.data(), names.size());
  if (size < 0 && errno != ENOTSUP) return FileFailure{"read the attributes of", target, errno};
  if (size < 0) return std::nullopt;
  std::string_view rest(names.data(), static_cast<std::size_t>(size));
  while (!rest.empty()) {
    const std::string_view name = rest.substr(0, rest.find('\0'));
    if (!describesContent(name) && !copyAttribute(operations, from, to, name.data())) {
      const int error = errno;
      return FileFailure{"keep the attribute", std::string(name) + " of " + target, error};
    }
    rest.remove_prefix(name.size() + 1);
  }
  return std::nullopt;
}

std::optional<FileFailure> makeNew(FileOperations& operations, const Temporary& made, mode_t mode) {
  if (operations.fchmod(made.file(), mode) == 0) return std::nullopt;
  return FileFailure{"set the mode of", made.path(), errno};
}

std::optional<FileFailure> makeLike(FileOperations& operations, const FileDescriptor& old,
                                    const std::string& target, const Temporary& made) {
  struct stat status {};
  if (::fstat(old.get(), &status) != 0) return FileFailure{"read", target, errno};
  // The owner first: changing the owner clears bits of the mode.
  if (operations.fchown(made.file(), status.st_uid, status.st_gid) != 0) {
    return FileFailure{"set the owner of", made.path(), errno};
  }
  auto failure = makeNew(operations, made, status.st_mode & 07777U);
  if (failure) return failure;
  return copyAttributes(operations, old.get(), made.file(), target);
}

bool isLeftover(std::string_view entry, std::string_view targetName) {
  return entry.size() == targetName.size() + kMark.size() + kRandom.size() &&
         entry.starts_with(targetName) && entry.substr(targetName.size()).starts_with(kMark);
}

void removeLeftoversOf(const std::string& target) {
  const OpenFolder folder(::opendir(folderOf(target).c_str()));
  if (!folder) return;
  const std::string name = target.substr(target.rfind('/') + 1);
  while (const dirent* entry = ::readdir(folder.get())) {
    if (isLeftover(entry->d_name, name)) ::unlinkat(::dirfd(folder.get()), entry->d_name, 0);
  }
}

}  // namespace

std::optional<FileFailure> replaceFile(const std::string& target,
                                       std::span<const std::string_view> pieces,
                                       const ReplaceOptions& options, FileOperations& operations) {
  const FileDescriptor folder = openFile(folderOf(target).c_str(), O_RDONLY | O_DIRECTORY);
  if (!folder) return FileFailure{"open", folderOf(target), errno};
  FileDescriptor old;
  if (options.keepsIdentity) {
    old = openFile(target.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
    if (!old && errno != ENOENT && errno != ELOOP) return FileFailure{"open", target, errno};
  }
  if (options.removeLeftovers) removeLeftoversOf(target);

  const NoSizeSignal noSizeSignal;
  Temporary temporary(target);
  const auto failed = [&](const char* operation) {
    return FileFailure{operation, temporary.path(), errno};
  };
  if (temporary.file() < 0) return failed("create");
  auto refused = old ? makeLike(operations, old, target, temporary)
                     : makeNew(operations, temporary, options.mode);
  if (refused) return refused;
  const auto write = [&](const char* data, std::size_t size) {
    return operations.write(temporary.file(), data, size);
  };
  for (const std::string_view piece : pieces) {
    if (!writeAll(piece, write)) return failed("write");
  }
  if (operations.fsync(temporary.file()) != 0) return failed("write");
  if (operations.rename(temporary.path().c_str(), target.c_str()) != 0) return failed("rename");
  temporary.setRenamed();
  // The new file is in place. This only determines whether a crash now could bring the old one
  // back, so a directory that cannot be synchronised is not a failure.
  static_cast<void>(operations.fsync(folder.get()));
  return std::nullopt;
}

}  // namespace zevo
