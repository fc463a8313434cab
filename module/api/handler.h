// What every handler of the table runs in.
#pragma once

#include <new>

#include <json/value.h>

// Does the work of a handler and lets std::bad_alloc out alone. jsoncpp says with an error of its
// own that memory ran out; its other errors stand for a value that is asked for what it is not,
// which no handler does.
template <typename Work>
void runHandler(const Work& work) {
  try {
    work();
  } catch (const Json::Exception&) {
    throw std::bad_alloc();
  }
}
