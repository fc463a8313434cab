// How records look in a failed test.
#pragma once

#include <ostream>

#include "services/connection.h"

namespace zevo::connections {

inline void PrintTo(const Connection& connection, std::ostream* stream) {
  *stream << "{" << connection.pid << ", \"" << connection.time << "\", \"" << connection.from
          << "\", \"" << connection.user << "\", \"" << connection.descr << "\", "
          << connection.type << "}";
}

}  // namespace zevo::connections
