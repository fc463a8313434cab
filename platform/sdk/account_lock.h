// The lock of the account files.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "base/file_descriptor.h"
#include "base/file_failure.h"

namespace zevo {

// Takes the lock that lckpwdf(3) takes (a record lock on all of /etc/.pwd.lock), as passwd, usermod
// and PAM do, so none of them writes the files meanwhile; without that function's alarm signal and
// with a wait of our own. It is given back with the descriptor, also when the holder dies. It does
// not cover editors that do not take it, nor a child forked while it is held.
std::optional<FileFailure> lockAccounts(const std::string& path, std::chrono::milliseconds wait,
                                        FileDescriptor* lock);

}  // namespace zevo
