// An open file descriptor, closed by its destructor.
#pragma once

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <string_view>
#include <sys/types.h>
#include <utility>

namespace zevo {

// Move-only. Owns a close-on-exec descriptor, or none (-1).
class FileDescriptor {
 public:
  FileDescriptor() = default;
  // Takes ownership of `descriptor`, which must be close-on-exec; -1 is none.
  explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
  ~FileDescriptor() { reset(); }
  FileDescriptor(FileDescriptor&& other) noexcept : descriptor_(other.release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;

  [[nodiscard]] int get() const { return descriptor_; }
  explicit operator bool() const { return descriptor_ >= 0; }
  // Releases the descriptor: the caller closes it.
  [[nodiscard]] int release() { return std::exchange(descriptor_, -1); }
  // Closes the current descriptor, without changing errno, and owns `descriptor` instead.
  void reset(int descriptor = -1);

 private:
  int descriptor_ = -1;
};

// open(2) and openat(2) with O_CLOEXEC, retried after an interruption. None, with errno set, on
// failure.
[[nodiscard]] FileDescriptor openFile(const char* path, int flags, mode_t mode = 0);
[[nodiscard]] FileDescriptor openFileAt(int folder, const char* path, int flags, mode_t mode = 0);

// Writes all of `bytes` by `write(data, size)`, which does as write(2), again after an
// interruption. False, with errno set, on failure.
template <typename Write>
[[nodiscard]] bool writeAll(std::string_view bytes, Write write) {
  while (!bytes.empty()) {
    const ssize_t written = write(bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written == 0) errno = ENOSPC;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}
// The same by write(2) to `file`.
[[nodiscard]] bool writeAll(std::string_view bytes, int file);

}  // namespace zevo
