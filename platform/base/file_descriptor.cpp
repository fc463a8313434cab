#include "base/file_descriptor.h"

#include <cerrno>
#include <unistd.h>

namespace zevo {

void FileDescriptor::reset(int descriptor) {
  const int old = std::exchange(descriptor_, descriptor);
  if (old < 0) return;
  const int saved = errno;
  ::close(old);  // Linux frees the number in any case, so a second try could close another one
  errno = saved;
}

FileDescriptor openFileAt(int folder, const char* path, int flags, mode_t mode) {
  int descriptor = -1;
  do {
    descriptor = ::openat(folder, path, flags | O_CLOEXEC, mode);
  } while (descriptor < 0 && errno == EINTR);
  return FileDescriptor(descriptor);
}

FileDescriptor openFile(const char* path, int flags, mode_t mode) {
  return openFileAt(AT_FDCWD, path, flags, mode);
}

bool writeAll(std::string_view bytes, int file) {
  return writeAll(bytes,
                  [file](const char* data, std::size_t size) { return ::write(file, data, size); });
}

}  // namespace zevo
