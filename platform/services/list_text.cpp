#include "services/list_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "host/service_table.h"
#include "services/process.h"

namespace zevo::connections {
namespace {

constexpr std::string_view kFormat = "currentconn list 1\n";
constexpr std::int64_t kMostElements = 10'000'000;

// Numbers are eight bytes in native order; a text is its length and its bytes.
class ListWriter {
 public:
  void number(std::int64_t value) {
    text_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void text(std::string_view value) {
    number(static_cast<std::int64_t>(value.size()));
    text_.append(value);
  }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

// After a missing or invalid value, further values are meaningless and isWhole() is false.
class ListReading {
 public:
  explicit ListReading(std::string_view text) : rest_(text) {}

  std::int64_t number() {
    std::int64_t value = 0;
    const std::string_view bytes = take(sizeof value);
    if (bytes.size() == sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
    return value;
  }
  std::string_view text() {
    return take(static_cast<std::size_t>(number(0, static_cast<std::int64_t>(rest_.size()))));
  }
  // One from `least` to `most`; `least` where it is none.
  std::int64_t number(std::int64_t least, std::int64_t most) {
    const std::int64_t value = number();
    if (value < least || value > most) isCut_ = true;
    return isCut_ ? least : value;
  }
  [[nodiscard]] bool isCut() const { return isCut_; }
  [[nodiscard]] bool isWhole() const { return !isCut_ && rest_.empty(); }

 private:
  std::string_view take(std::size_t size) {
    if (size > rest_.size()) isCut_ = true;
    if (isCut_) return {};
    const std::string_view bytes = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return bytes;
  }

  std::string_view rest_;
  bool isCut_ = false;
};

constexpr auto kTypes =
    std::minmax_element(kListedServices.begin(), kListedServices.end(),
                        [](const ListedService& a, const ListedService& b) { return a.id < b.id; });

Connection readConnection(ListReading& reader) {
  Connection connection;
  connection.pid = static_cast<pid_t>(reader.number(0, kPidMax));
  connection.type =
      static_cast<ZEVO_CURCONN_TYPE>(reader.number(kTypes.first->id, kTypes.second->id));
  for (std::string* text :
       {&connection.time, &connection.from, &connection.user, &connection.descr}) {
    *text = reader.text();
  }
  return connection;
}

ReadNote readNote(ListReading& reader) {
  ReadNote note;
  for (std::string* text : {&note.code, &note.service, &note.detail}) *text = reader.text();
  return note;
}

template <typename Element>
void readElements(ListReading& reader, Element (*read)(ListReading&),
                  std::vector<Element>* elements) {
  for (std::int64_t left = reader.number(0, kMostElements); left > 0 && !reader.isCut(); --left) {
    elements->push_back(read(reader));
  }
}

}  // namespace

std::string listText(std::string_view key, const TimedList& list) {
  ListWriter writer;
  writer.text(kFormat);
  writer.text(key);
  writer.number(list.began.count());
  writer.number(list.ended.count());
  writer.number(static_cast<std::int64_t>(list.list.connections.size()));
  for (const Connection& connection : list.list.connections) {
    writer.number(connection.pid);
    writer.number(connection.type);
    for (const std::string* text :
         {&connection.time, &connection.from, &connection.user, &connection.descr}) {
      writer.text(*text);
    }
  }
  writer.number(static_cast<std::int64_t>(list.list.notes.size()));
  for (const ReadNote& note : list.list.notes) {
    for (const std::string* text : {&note.code, &note.service, &note.detail}) writer.text(*text);
  }
  return writer.take();
}

std::optional<TimedList> parseListText(std::string_view text, std::string_view key,
                                       std::chrono::nanoseconds oldest) {
  ListReading reader(text);
  if (reader.text() != kFormat || reader.text() != key) return std::nullopt;
  TimedList list;
  list.began = std::chrono::nanoseconds(reader.number());
  list.ended = std::chrono::nanoseconds(reader.number());
  if (list.began < oldest) return std::nullopt;
  readElements(reader, readConnection, &list.list.connections);
  readElements(reader, readNote, &list.list.notes);
  if (!reader.isWhole()) return std::nullopt;
  return list;
}

}  // namespace zevo::connections
