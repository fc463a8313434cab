// Groups of this server.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace zevo {

// The number of the group `name`, from whichever source the server has. None with errno 0 where
// there is no such group, and with the reason in errno where it cannot be looked up.
[[nodiscard]] std::optional<gid_t> groupNumber(const std::string& name);

// What to say of it then: "there is no group "NAME"", or "cannot look up the group "NAME": reason"
// where `error` is not 0; the name made printable.
[[nodiscard]] std::string groupFailure(const std::string& name, int error);

}  // namespace zevo
