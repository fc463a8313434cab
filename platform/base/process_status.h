// The kernel's lines about a process, /proc/PID/status.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zevo {

// The text; nothing if it cannot be read, as when the process has ended.
std::optional<std::string> readProcessStatus(std::int64_t pid, const std::string& proc = "/proc");

// The value of the line "NAME:\tVALUE"; empty if there is none. A process name cannot forge a line,
// since the kernel escapes line breaks.
std::string_view statusValue(std::string_view status, std::string_view name);

}  // namespace zevo
