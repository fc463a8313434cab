// What a reading of the registry gives.
#pragma once

#include <vector>

#include "zevo/read_notes.h"

#include "services/connection.h"

namespace zevo::connections {

struct ConnectionList {
  std::vector<Connection> connections;
  std::vector<ReadNote> notes;  // on what it lacks

  bool operator==(const ConnectionList&) const = default;
};

}  // namespace zevo::connections
