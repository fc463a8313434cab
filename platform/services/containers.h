// Services of containers and other namespaces. Their processes stand in this machine's /proc, but
// the accounts that they serve are not this machine's.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "services/sources.h"

namespace zevo::connections {

// The container whose accounts `process` serves, as containerName() tells it, else the number of
// the namespace that is its own; empty where the accounts are this machine's. A process serves
// other accounts where its serverOf() is in another pid or network namespace than this machine's
// services, or in another mount namespace with another accounts file. Nothing that a user may lay
// out is asked.
Result<std::string> containerOf(const Sources& sources, const Process& process);

// Whether that is empty.
Result<bool> servesThisMachine(const Sources& sources, const Process& process);

// The account with the number `uid`, as the service of `process` means it: "unknown" in a
// container, whose numbers are not those of this machine's accounts.
std::string accountOf(const Sources& sources, const Process& process, uid_t uid);

// Writes the user of each record that a container's process serves as "bob@NAME", so that nobody
// takes it for this machine's bob. Records without a process and console logins are this machine's
// own. A record of which this cannot be told is left out, and the caller learns it.
void nameContainers(const Sources& sources, std::vector<Connection>* connections);

}  // namespace zevo::connections
