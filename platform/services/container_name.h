// Names of containers.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zevo::connections {

// The container in the text of a /proc/PID/cgroup: the name given by its engine, or the first
// twelve digits of its id, as in the engines' own lists. For nested containers, the innermost.
// Nothing if no path has the form of a known engine, or the name is not at most 64 letters, digits,
// '.', '_' and '-': after a user's name it must be unambiguous.
std::optional<std::string> containerName(std::string_view cgroups);

}  // namespace zevo::connections
