// A connection found by the collectors, and the block of records that the registry returns.
#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

#include "zevo/connections.h"

namespace zevo::connections {

// One connection to one resource; the fields are those of _tag_ZEVO_CURCONN_. Texts may still
// contain any byte.
struct Connection {
  pid_t pid = 0;
  std::string time = {};
  std::string from = {};
  std::string user = {};
  std::string descr = {};
  ZEVO_CURCONN_TYPE type = ZEVO_CURCONN_LOGIN;

  bool operator==(const Connection&) const = default;
};

// Makes all texts of `connection` valid UTF-8 without control characters.
void cleanTexts(Connection& connection);

// Packs the records and their texts into one block that free() releases; each text ends at its
// first NUL. Null if there are not records or, with ENOMEM in errno, no memory.
_tag_ZEVO_CURCONN_* pack(const std::vector<Connection>& connections);

}  // namespace zevo::connections
