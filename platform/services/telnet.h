// Telnet sessions of the telnetd of inetutils and netkit.
#pragma once

#include <cstdint>
#include <string>

#include "services/sources.h"

namespace zevo::connections {

// "pts/3" for the device number of a pseudo-terminal as proc(5) encodes it; empty for others.
std::string pseudoTerminalName(std::int32_t device);

// One record for each telnetd below which somebody has logged in. The user is the owner of the
// first process below telnetd and login; one that is root's by now still counts as the user's who
// logged in, where the kernel knows him (he may have put sudo in the place of his shell). The
// description is that process's terminal.
Result<void> readTelnet(const Sources& sources, std::vector<Connection>& connections);

}  // namespace zevo::connections
