#include "base/file_failure.h"

#include <array>
#include <cstring>

#include "base/text.h"

namespace zevo {

std::string errorText(int error) {
  std::array<char, 256> buffer{};
  return ::strerror_r(error, buffer.data(), buffer.size());  // GNU's: the text may be elsewhere
}

std::string FileFailure::text() const {
  return std::string("cannot ") + operation + " " + printable(path, 4096) + ": " + errorText(error);
}

}  // namespace zevo
