// The clients of the kernel's NFS server: version 4 clients by their state, version 3 clients by
// the mount table.
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
  std::string version;  // "NFSv4.2"; "NFSv4" if the minor version is unknown
  std::string time;     // local time at which the server created the client; not in its info

  bool operator==(const NfsClient&) const = default;
};

// Parses the file info of a client. Nothing if the client is not, or no longer, confirmed or if
// `info` is malformed. Older kernels write no status: their clients count as confirmed.
std::optional<NfsClient> parseNfsClient(std::string_view info);

// Replaces *clients by those in the directory clients/ of the kernel's server; by none if there is
// no such server, or before Linux 5.3. Fails if one cannot be read; *clients then has the others.
Result<void> readNfsClients(const Paths& paths, std::vector<NfsClient>* clients);

// A line of the mount table.
struct NfsMount {
  std::string from;    // numeric address
  std::string folder;  // path of the export or of a directory in it

  bool operator==(const NfsMount&) const = default;
};

// Parses the table's lines "10.0.0.9:/srv/media:0x00000001". Lines with client names are left out,
// since looking up their addresses could hang, and so are mounts with a count of 0.
std::vector<NfsMount> parseRmtab(std::string_view table);

// Whether the kernel's server runs; without it the mount table is a leftover.
bool isKernelNfsRunning(const Paths& paths);

// Replaces *mounts by those of the table, by none if there is no table. Fails if it cannot be read
// or is too long.
Result<void> readRmtab(const Paths& paths, std::vector<NfsMount>* mounts);

}  // namespace zevo::connections
