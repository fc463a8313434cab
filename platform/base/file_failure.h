// Why an operation on a file failed.
#pragma once

#include <string>

namespace zevo {

struct FileFailure {
  const char* operation;  // a literal that goes between "cannot" and the path: "read", "rename"
  std::string path;
  int error;  // errno

  // "cannot read /etc/shadow: Permission denied"; the path made printable.
  [[nodiscard]] std::string text() const;
};

// The system's text for `error`, an errno.
[[nodiscard]] std::string errorText(int error);

}  // namespace zevo
