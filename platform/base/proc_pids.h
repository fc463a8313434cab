// Whose pids a /proc shows.
#pragma once

#include <optional>
#include <string>

namespace zevo {

// Why the pids under `proc` are not those that kill(2) takes, with the remedy; nothing where they
// are. A process in a pid namespace of its own may see the /proc of another one: there it has
// another pid, and its own pid is another process's.
[[nodiscard]] std::optional<std::string> foreignPids(const std::string& proc = "/proc");

}  // namespace zevo
