// SMB sessions as processes and sockets show them: those of which Samba's own tool tells nothing,
// since it does not answer or they are in databases of another smbd than the tool's.
#pragma once

#include <chrono>
#include <vector>

#include "services/sources.h"

namespace zevo::connections {

// A client logs in within fractions of a second after it connected; a server that asks a domain
// controller far away takes a few seconds. Whoever is still unknown to Samba's tool after this time
// is unknown to it for good, or hangs.
inline constexpr std::chrono::seconds kLongestSmbLogin{10};

// Whether a process of this machine's own Samba may serve a client. The tool knows nothing of those
// of containers.
Result<bool> isSmbServed(const Sources& sources);

// One record, with a user and a share that say that they are not known, for each process of a
// client that is at least `age` old and has no record of SMB among `connections` yet. A client that
// has connected and not logged in is among them: nothing tells it apart.
Result<void> appendSmbProcesses(const Sources& sources, std::chrono::milliseconds age,
                                std::vector<Connection>* connections);

}  // namespace zevo::connections
