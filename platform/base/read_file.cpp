#include "base/read_file.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file_descriptor.h"

namespace zevo {
namespace {

constexpr std::size_t kSmallest = 4096;  // files of /proc have no size

// One read(2), retried after an interruption.
ssize_t readSome(int descriptor, char* buffer, std::size_t size) {
  ssize_t got = -1;
  do {
    got = ::read(descriptor, buffer, size);
  } while (got < 0 && errno == EINTR);
  return got;
}

}  // namespace

std::optional<FileFailure> readDescriptor(int descriptor, const std::string& path,
                                          std::size_t limit, std::string* content) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return FileFailure{"read", path, errno};
  if (!S_ISREG(status.st_mode)) return FileFailure{"read", path, ENOTSUP};
  const auto size = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
  if (size > limit) return FileFailure{"read", path, EFBIG};
  // One byte more, to detect the end without a larger buffer.
  content->resize(std::max(size + 1, kSmallest));
  for (std::size_t filled = 0;;) {
    const ssize_t got = readSome(descriptor, content->data() + filled, content->size() - filled);
    if (got < 0) return FileFailure{"read", path, errno};
    filled += static_cast<std::size_t>(got);
    if (filled > limit) return FileFailure{"read", path, EFBIG};
    if (got == 0) {
      content->resize(filled);
      return std::nullopt;
    }
    if (filled == content->size()) content->resize(2 * filled);
  }
}

std::optional<FileFailure> readFile(const std::string& path, std::size_t limit,
                                    std::string* content) {
  const FileDescriptor file = openFile(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (!file) return FileFailure{"open", path, errno};
  return readDescriptor(file.get(), path, limit, content);
}

}  // namespace zevo
