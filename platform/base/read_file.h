// Reading a file into memory.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "base/file_failure.h"

namespace zevo {

// Replaces *content by all of the file at `path`, or says why that is not possible; EFBIG where it
// is longer than `limit` bytes. Works for files of /proc, whose size reads as 0. Only regular files
// are read (ENOTSUP otherwise), so nobody can make the reader wait on a pipe.
[[nodiscard]] std::optional<FileFailure> readFile(const std::string& path, std::size_t limit,
                                                  std::string* content);

// The same for an open regular file, from its current position; `path` is for the message.
[[nodiscard]] std::optional<FileFailure> readDescriptor(int descriptor, const std::string& path,
                                                        std::size_t limit, std::string* content);

}  // namespace zevo
