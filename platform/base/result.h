// The result of our own functions that may fail.
#pragma once

#include <string>
#include <tl/expected.hpp>
#include <utility>

namespace zevo {

struct Error {
  int code = 0;          // of the API, or an errno; 0 if not needed
  std::string sentence;  // what failed, and the remedy; without a full stop
};

template <typename T>
using Result = tl::expected<T, Error>;

[[nodiscard]] inline tl::unexpected<Error> failure(std::string sentence, int code = 0) {
  return tl::unexpected<Error>(Error{code, std::move(sentence)});
}

}  // namespace zevo
