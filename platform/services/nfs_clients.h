// The clients that the kernel's NFS server knows: those of version 4 with their state, those of
// version 3 through the mount table.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/gone.h"
#include "services/paths.h"

namespace zevo::connections {

// A client of version 4.
struct NfsClient {
  std::string from;     // numeric address without port
  std::string version;  // "NFSv4.2"; "NFSv4" where the minor version is not told
  std::string time;     // local time at which the server made the client; not part of its info

  bool operator==(const NfsClient&) const = default;
};

// Parses the file info of a client. Nothing where the client is not confirmed (any longer) or
// `info` is no such text. Older kernels write no status: their clients count as confirmed.
std::optional<NfsClient> parseNfsClient(std::string_view info);

// Replaces *clients by those of the folder clients/ of the kernel's server; by none where there is
// no such server, or one before Linux 5.3. Fails where one cannot be read; *clients then has the
// others.
Result<void> readNfsClients(const Paths& paths, std::vector<NfsClient>* clients);

// A line of the mount table.
struct NfsMount {
  std::string from;    // numeric address
  std::string folder;  // path of the export or of a folder in it

  bool operator==(const NfsMount&) const = default;
};

// Parses the table's lines "10.0.0.9:/srv/media:0x00000001". Left out are lines of clients by name,
// since asking for their addresses could take forever, and of mounts that were counted down to 0.
std::vector<NfsMount> parseRmtab(std::string_view table);

// Whether the kernel's server runs; without it the mount table is a leftover.
bool isKernelNfsRunning(const Paths& paths);

// Replaces *mounts by those of the table, by none where there is no table. Fails where it cannot be
// read or is too long.
Result<void> readRmtab(const Paths& paths, std::vector<NfsMount>* mounts);

}  // namespace zevo::connections
