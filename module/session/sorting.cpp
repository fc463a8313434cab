#include "session/sorting.h"

#include "session/merge.h"

SortKey sortKeyOf(const std::string& text) {
  SortKey key{};
  const std::size_t length = std::min(text.size(), key.size() * sizeof(std::uint64_t));
  for (std::size_t i = 0; i < length; ++i) {
    const auto byte = static_cast<std::uint64_t>(static_cast<unsigned char>(text[i]));
    key[i / 8] |= byte << (56 - 8 * (i % 8));
  }
  return key;
}

void sortServices(SessionList& list) {
  sortByKey(
      list,
      [](const Session& session) {
        return SortKey{session.pid, 0, 0};
      },
      SDKSessionCmp);
}

void sortSessions(SessionList& list, SessionSortField field, bool ascending) {
  const auto keyOf = [field, ascending](const Session& session) {
    SortKey key = sortKeyOf(fieldOf(session, field));
    if (!ascending) {
      for (std::uint64_t& part : key) part = ~part;
    }
    return key;
  };
  sortByKey(list, keyOf, Session::Compare(field, ascending));
}
