// SMB sessions from processes and sockets: those that Samba's own tool does not report, because it
// fails or because they are in the databases of another smbd.
#pragma once

#include <chrono>
#include <vector>

#include "services/sources.h"

namespace zevo::connections {

// A client logs in within fractions of a second after connecting; with a distant domain controller
// it takes a few seconds. A client that is still unknown to Samba's tool after this time will
// remain unknown, or hangs.
inline constexpr std::chrono::seconds kLongestSmbLogin{10};

// Whether a process of this machine's own Samba may serve a client. The tool does not know those of
// containers.
Result<bool> isSmbServed(const Sources& sources);

// One record, with an unknown user and share, for each process of a client that is at least `age`
// old and has no SMB record among `connections` yet. Clients that have connected but not logged in
// are included, since they cannot be distinguished.
Result<void> appendSmbProcesses(const Sources& sources, std::chrono::milliseconds age,
                                std::vector<Connection>* connections);

}  // namespace zevo::connections
