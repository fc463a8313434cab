// Locks around changes of accounts.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/file_descriptor.h"

namespace zevo {

// Takes a record lock on all of the file at `path`, which is created with mode 0600 where it is
// missing. Otherwise says why it cannot: after `wait` it names the process that holds the lock, as
// far as the kernel tells, and the remedy. The lock is given back with the descriptor, also when
// the holder dies. It does not cover a child forked while it is held.
//
// On /etc/.pwd.lock it is the lock that lckpwdf(3), and so passwd, usermod and PAM take, without
// that function's alarm signal. It does not cover editors that do not take it.
std::optional<std::string> lockAccounts(const std::string& path, std::chrono::milliseconds wait,
                                        FileDescriptor* lock);

}  // namespace zevo
