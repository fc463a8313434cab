// How the readings of a process end: with a value, gone, or failed. What is gone and what could not
// be read are told apart, since the first is nobody's connection and the second may be somebody's.
#pragma once

#include <cerrno>

#include "base/result.h"

namespace zevo::connections {

// The process ended: there is nothing left to show. Every other error means that the process may be
// there but cannot be read: the list would lack it.
[[nodiscard]] inline tl::unexpected<Error> gone() {
  return failure("gone", ESRCH);
}

template <typename T>
[[nodiscard]] bool isGone(const Result<T>& reading) {
  return !reading && reading.error().code == ESRCH;
}

template <typename T>
[[nodiscard]] bool hasFailed(const Result<T>& reading) {
  return !reading && !isGone(reading);
}

// The error of the first of several readings that has one; one of them has.
template <typename First, typename... Others>
[[nodiscard]] tl::unexpected<Error> errorOf(const Result<First>& first,
                                            const Result<Others>&... others) {
  if constexpr (sizeof...(others) > 0) {
    if (first) return errorOf(others...);
  }
  return tl::unexpected(first.error());
}

// How a whole source ends that has nothing to show of `reading`.
template <typename T>
[[nodiscard]] Result<void> failureOf(const Result<T>& reading) {
  if (hasFailed(reading)) return errorOf(reading);
  return {};
}

// Takes in how a part of a source ended. The first failure is the one that is told; what could be
// read of the source is there all the same.
template <typename T>
void addPart(Result<void>& source, const Result<T>& part) {
  if (source) source = failureOf(part);
}

}  // namespace zevo::connections
