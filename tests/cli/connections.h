// Connections for tests.
#pragma once

#include <cstdint>
#include <string>

#include "cli/client/connection.h"

namespace cli {

inline Connection connection(std::uint32_t pid, const std::string& who,
                             const std::string& type = "SSH", const std::string& from = "10.20.0.2",
                             const std::string& descr = "pts/3") {
  return {"2026-11-20 21:26:24", who, from, type, descr, pid, type != "NFS", type != "NFS"};
}

}  // namespace cli
