#include "base/trusted_library.h"

#include <cerrno>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "base/file_descriptor.h"
#include "base/file_failure.h"
#include "base/file_owner.h"

namespace zevo {
namespace {

// Why `file` must not be trusted; empty if it may be.
std::string objectionTo(const FileDescriptor& file, const std::string& path, mode_t kind) {
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return "cannot read " + path + ": " + errorText(errno);
  if ((status.st_mode & S_IFMT) != kind) return path + " is not a regular file";
  if (!belongsToUsOrRoot(status)) {
    return path + " belongs to the user " + std::to_string(status.st_uid) +
           " instead of root; run chown root on it, or reinstall it";
  }
  if (canOthersWrite(status)) {
    return path + " can be written by others than its owner; run chmod go-w on it";
  }
  return "";
}

FileDescriptor openTrusted(const std::string& path, std::string* reason) {
  const std::filesystem::path name(path);
  const std::string folderPath = name.has_parent_path() ? name.parent_path().string() : ".";
  const FileDescriptor folder = openFile(folderPath.c_str(), O_RDONLY | O_DIRECTORY);
  FileDescriptor file;
  if (folder) {
    file = openFileAt(folder.get(), name.filename().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  }
  if (!file) {
    const int error = errno;
    *reason = "cannot open " + path + ": " +
              (error == ELOOP ? std::string("it is a symbolic link") : errorText(error));
    return {};
  }
  *reason = objectionTo(folder, folderPath, S_IFDIR);
  if (reason->empty()) *reason = objectionTo(file, path, S_IFREG);
  return reason->empty() ? std::move(file) : FileDescriptor();
}

}  // namespace

void* loadTrustedLibrary(const std::string& path, std::string* reason) {
  FileDescriptor file = openTrusted(path, reason);
  if (!file) return nullptr;
  const std::string name = "/proc/self/fd/" + std::to_string(file.get());
  void* library = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library != nullptr) {
    // The loader treats a second library of the same name as the first one, so the descriptor
    // number must not be reused.
    static_cast<void>(file.release());
    return library;
  }
  *reason = ::dlerror();
  if (const std::size_t at = reason->find(name); at != std::string::npos) {
    reason->replace(at, name.size(), path);
  }
  return nullptr;
}

}  // namespace zevo
