// What a method prints.
#pragma once

#include <string>
#include <sys/resource.h>

#include "base/file_descriptor.h"

namespace calls {

// While it lives, standard output of the process goes to memory of its own: a method may use it for
// its answer, and whatever else it prints can damage none. A method that prints without end is
// ended by SIGXFSZ.
class CapturedOutput {
 public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  // Whether the output is captured; where it is not, nothing may be run.
  explicit operator bool() const { return static_cast<bool>(saved_); }
  // All that was printed so far, buffered output included. Nothing is to be printed afterwards.
  std::string text();

 private:
  rlimit limit_{};  // of files, as it was
  zevo::FileDescriptor memory_;
  zevo::FileDescriptor saved_;
};

}  // namespace calls
