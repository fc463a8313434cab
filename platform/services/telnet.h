// Telnet sessions of the telnetd of inetutils and netkit.
#pragma once

#include <cstdint>
#include <string>

#include "services/sources.h"

namespace zevo::connections {

// "pts/3" for the device number of a pseudo-terminal as proc(5) encodes it; empty for others.
std::string pseudoTerminalName(std::int32_t device);

// One record per telnetd below which somebody has logged in. The user is the owner of the first
// process below telnetd and login; if that is now root, the user who logged in, if the kernel
// recorded the login (the shell may have been replaced by sudo). The description is that process's
// terminal.
Result<void> readTelnet(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
