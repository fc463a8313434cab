// The wrapper of every handler.
#pragma once

#include <new>

#include <json/value.h>

// Does the work of a handler and throws only std::bad_alloc. jsoncpp reports with its own error
// that memory ran out; its other errors mean that a value is used as a wrong type, which no handler
// does.
template <typename Work>
void runHandler(const Work& work) {
  try {
    work();
  } catch (const Json::Exception&) {
    throw std::bad_alloc();
  }
}
