// Signals as a descriptor to wait for.
#pragma once

#include <csignal>
#include <initializer_list>
#include <optional>

#include "base/file_descriptor.h"

namespace cli {

// During its lifetime, the signals of its set arrive at its descriptor and have no other effect.
// Only one instance per process at a time.
class Signals {
 public:
  explicit Signals(std::initializer_list<int> numbers);
  ~Signals();
  Signals(const Signals&) = delete;
  Signals& operator=(const Signals&) = delete;

  // Readable while a signal is pending; -1 if the system has no descriptor left.
  [[nodiscard]] int descriptor() const { return descriptor_.get(); }

  // The next pending signal; nothing if there is none.
  std::optional<int> take();

 private:
  sigset_t before_ = {};
  zevo::FileDescriptor descriptor_;
};

}  // namespace cli
