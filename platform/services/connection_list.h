// The result of one read of the registry.
#pragma once

#include <vector>

#include "zevo/read_notes.h"

#include "services/connection.h"

namespace zevo::connections {

struct ConnectionList {
  std::vector<Connection> connections;
  std::vector<ReadNote> notes;  // what the list may lack

  bool operator==(const ConnectionList&) const = default;
};

}  // namespace zevo::connections
