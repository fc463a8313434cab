// Groups of this server.
#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace zevo {

// The id of the group `name`, from any source of the name service. None, with errno 0 if there is
// no such group, or with the reason in errno if the look-up failed.
[[nodiscard]] std::optional<gid_t> groupNumber(const std::string& name);

// The message for it: "there is no group "NAME"", or "cannot look up the group "NAME": reason" if
// `error` is not 0; the name is made printable.
[[nodiscard]] std::string groupFailure(const std::string& name, int error);

}  // namespace zevo
