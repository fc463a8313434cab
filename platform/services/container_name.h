// Names of containers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zevo::connections {

// The container that the text of a /proc/PID/cgroup tells: the name that its engine gave it, or the
// first twelve digits of its id, as the engines' own lists show it. With containers in containers,
// the innermost. Nothing where no path is of a known engine's form, or the name is not at most 64
// letters, digits, '.', '_' and '-': behind a user's name it must not read as anything else.
std::optional<std::string> containerName(std::string_view cgroups);

}  // namespace zevo::connections
