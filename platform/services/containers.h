// Services in containers and other namespaces. Their processes are in this machine's /proc, but
// they serve other accounts than this machine's.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "services/sources.h"

namespace zevo::connections {

// The container whose accounts `process` serves, by containerName(), otherwise the number of its
// own namespace; empty if the accounts are this machine's. A process serves other accounts if its
// serverOf() is in another pid or network namespace than this machine's services, or in another
// mount namespace with a different accounts file. Uses nothing that a user can control.
Result<std::string> containerOf(const Sources& sources, const Process& process);

// Whether that is empty.
Result<bool> servesThisMachine(const Sources& sources, const Process& process);

// The account with the id `uid` for the service of `process`: "unknown" in a container, whose ids
// are not those of this machine's accounts.
std::string accountOf(const Sources& sources, const Process& process, uid_t uid);

// Changes the user of each record served by a container's process to "bob@NAME", to distinguish it
// from this machine's bob. Records without a process and console logins are this machine's. A
// record for which this is unknown is left out, and the caller is informed.
void nameContainers(const Sources& sources, std::vector<Connection>* connections);

}  // namespace zevo::connections
