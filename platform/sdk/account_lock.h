// Locks around changes of accounts.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/file_descriptor.h"

namespace zevo {

// Takes a record lock on the whole file at `path`, which is created with mode 0600 if it does not
// exist. On failure, returns the reason: after `wait`, the process that holds the lock, if the
// kernel reports it, and the remedy. The lock is released with the descriptor, also when the holder
// ends. It does not cover a child forked while it is held.
//
// On /etc/.pwd.lock it is the lock of lckpwdf(3), used by passwd, usermod and PAM, but without that
// function's alarm signal. It does not cover editors that do not take it.
std::optional<std::string> lockAccounts(const std::string& path, std::chrono::milliseconds wait,
                                        FileDescriptor* lock);

}  // namespace zevo
