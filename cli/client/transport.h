// Ways to make calls.
#pragma once

#include <sys/types.h>

#include "base/file_descriptor.h"
#include "base/result.h"

namespace cli {

// A connection for one request and one answer.
struct Link {
  zevo::FileDescriptor connection;
  pid_t child = -1;  // the child that serves it; -1: none
};

class Transport {
 public:
  Transport() = default;
  virtual ~Transport() = default;
  Transport(const Transport&) = delete;
  Transport& operator=(const Transport&) = delete;

  virtual zevo::Result<Link> connect() = 0;
};

}  // namespace cli
