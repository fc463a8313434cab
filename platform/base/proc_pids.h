// Checks which pids a /proc shows.
#pragma once

#include <optional>
#include <string>

namespace zevo {

// Why the pids under `proc` are not those of kill(2), with the remedy; nothing if they are. A
// process in its own pid namespace may see the /proc of another one: there it has another pid, and
// its own pid belongs to another process.
[[nodiscard]] std::optional<std::string> foreignPids(const std::string& proc = "/proc");

}  // namespace zevo
