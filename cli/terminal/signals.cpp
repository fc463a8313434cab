#include "cli/terminal/signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace cli {

Signals::Signals(std::initializer_list<int> numbers) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : numbers) sigaddset(&set, number);
  descriptor_.reset(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
  // Without the descriptor the signals keep their actions, since nobody would read them.
  if (descriptor_) {
    sigprocmask(SIG_BLOCK, &set, &before_);
  } else {
    sigprocmask(SIG_BLOCK, nullptr, &before_);
  }
}

Signals::~Signals() {
  sigprocmask(SIG_SETMASK, &before_, nullptr);
}

std::optional<int> Signals::take() {
  signalfd_siginfo info = {};
  if (read(descriptor_.get(), &info, sizeof info) != sizeof info) return {};
  return static_cast<int>(info.ssi_signo);
}

}  // namespace cli
