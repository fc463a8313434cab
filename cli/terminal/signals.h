// Signals as something to wait for.
#pragma once

#include <csignal>
#include <initializer_list>
#include <optional>

#include "base/file_descriptor.h"

namespace cli {

// While it lives, the signals of its set arrive at its descriptor and do nothing else. One at a
// time in a process.
class Signals {
 public:
  explicit Signals(std::initializer_list<int> numbers);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // Readable while one waits to be taken; -1 where the system has no descriptor left.
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

  // The next that arrived; nothing where none waits.
  std::optional<int> take();

 private:
  sigset_t before_ = {};
  zevo::FileDescriptor descriptor_;
};

}  // namespace cli
