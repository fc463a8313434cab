// The output of a method.
#pragma once

#include <string>
#include <sys/resource.h>

#include "base/file_descriptor.h"

namespace calls {

// During its lifetime, the process's standard output is redirected to memory: a method may use it
// for its answer, and other output cannot damage an answer. SIGXFSZ ends a method that prints
// without limit.
class CapturedOutput {
 public:
  CapturedOutput();
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  // Whether the output is captured; if not, no method may be run.
  explicit operator bool() const { return static_cast<bool>(saved_); }
  // Everything printed so far, including buffered output. Nothing may be printed afterwards.
  std::string text();

 private:
  rlimit limit_{};  // of files, as it was
  zevo::FileDescriptor memory_;
  zevo::FileDescriptor saved_;
};

}  // namespace calls
