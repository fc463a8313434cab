// Reads a file into memory.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "base/file_failure.h"

namespace zevo {

// Replaces *content by the whole file at `path`, or returns the failure; EFBIG if it is longer than
// `limit` bytes. Works for files of /proc, whose size is reported as 0. Only regular files are read
// (ENOTSUP otherwise), so that nobody can make the reader wait on a pipe.
[[nodiscard]] std::optional<FileFailure> readFile(const std::string& path, std::size_t limit,
                                                  std::string* content);

// The same for an open regular file, from its current position; `path` is for the message.
[[nodiscard]] std::optional<FileFailure> readDescriptor(int descriptor, const std::string& path,
                                                        std::size_t limit, std::string* content);

}  // namespace zevo
