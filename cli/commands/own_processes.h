// Over which processes this program is being used.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace cli {

// The processes above `process`, nearest first, read from the folder `proc`: a connection that one
// of them serves carries the terminal at which the caller sits. What cannot be read ends the list.
std::vector<std::uint32_t> processesAbove(pid_t process, const std::string& proc = "/proc");

}  // namespace cli
