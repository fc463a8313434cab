// Why a reading failed, for tests.
#pragma once

#include <string>

#include "base/result.h"

namespace zevo {

// Empty where it did not.
template <typename T>
std::string causeOf(const Result<T>& reading) {
  return reading ? std::string() : reading.error().sentence;
}

}  // namespace zevo
