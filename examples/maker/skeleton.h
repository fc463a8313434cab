// What the skeleton's libraries share.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "zevo/connections.h"
#include "zevo/error.h"

// The skeleton's state is a few text files in one directory. A real platform asks its own services.
inline std::string stateFile(const char* name) {
  const char* folder = std::getenv("MAKER_STATE");
  return std::string(folder != nullptr ? folder : "/run/maker") + "/" + name;
}

inline int fail(int code) {
  ZEVO_ERR_SET(code);
  return -1;
}

// No exception may leave a library. `work` returns the function's result.
template <typename Work>
int guarded(const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return fail(ZEVO_ERR_OUT_OF_MEMORY);
  }
}

struct Connection {
  int pid = 0;
  int type = 0;
  std::string time, from, user, descr;
};

// Packs connections into one block, the array first and its texts behind it, since the module
// releases the whole with one free(). Returns their number.
inline int handOut(const std::vector<Connection>& connections, _tag_ZEVO_CURCONN_** records) {
  std::size_t size = connections.size() * sizeof(_tag_ZEVO_CURCONN_) + 1;
  for (const Connection& c : connections)
    size += c.time.size() + c.from.size() + c.user.size() + c.descr.size() + 4;
  *records = static_cast<_tag_ZEVO_CURCONN_*>(std::malloc(size));
  if (*records == nullptr) return fail(ZEVO_ERR_OUT_OF_MEMORY);
  char* end = reinterpret_cast<char*>(*records + connections.size());
  const auto keep = [&end](const std::string& text) {
    char* const kept = end;
    end += text.copy(kept, text.size());
    *end++ = '\0';
    return kept;
  };
  _tag_ZEVO_CURCONN_* record = *records;
  for (const Connection& c : connections)
    *record++ = {c.pid, keep(c.time), keep(c.from), keep(c.user), keep(c.descr), c.type};
  return static_cast<int>(connections.size());
}
