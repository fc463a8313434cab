#include "services/connection.h"

#include <cstdlib>
#include <cstring>

#include "base/text.h"

namespace zevo::connections {
namespace {

// Copies `text` with a NUL to *end and moves *end past it.
const char* appendText(const std::string& text, char** end) {
  char* start = *end;
  std::memcpy(start, text.c_str(), text.size() + 1);
  *end += text.size() + 1;
  return start;
}

std::size_t textBytes(const Connection& connection) {
  return connection.time.size() + connection.from.size() + connection.user.size() +
         connection.descr.size() + 4;
}

}  // namespace

void cleanTexts(Connection& connection) {
  connection.time = printable(connection.time);
  connection.from = printable(connection.from);
  connection.user = printable(connection.user);
  connection.descr = printable(connection.descr);
}

_tag_ZEVO_CURCONN_* pack(const std::vector<Connection>& connections) {
  if (connections.empty()) return nullptr;
  const std::size_t arrayBytes = connections.size() * sizeof(_tag_ZEVO_CURCONN_);
  std::size_t bytes = arrayBytes;
  for (const Connection& connection : connections) bytes += textBytes(connection);
  auto* block = static_cast<char*>(std::calloc(1, bytes));
  if (block == nullptr) return nullptr;

  auto* record = reinterpret_cast<_tag_ZEVO_CURCONN_*>(block);
  char* end = block + arrayBytes;
  for (const Connection& connection : connections) {
    record->pid = connection.pid;
    record->time = appendText(connection.time, &end);
    record->from = appendText(connection.from, &end);
    record->user = appendText(connection.user, &end);
    record->descr = appendText(connection.descr, &end);
    record->type = connection.type;
    ++record;
  }
  return reinterpret_cast<_tag_ZEVO_CURCONN_*>(block);
}

}  // namespace zevo::connections
