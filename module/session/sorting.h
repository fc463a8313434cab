// Sorting long lists. Their records lie scattered in memory, so most comparisons are made on keys
// that stand side by side; the result is that of the list's own stable sort.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "session/query.h"
#include "session/session.h"

// A smaller key comes before a greater one; equal keys decide nothing.
using SortKey = std::array<std::uint64_t, 3>;

// The first bytes of `text`, which order as the text does.
SortKey sortKeyOf(const std::string& text);

// Sorts stably by `before`; `keyOf(session)` gives keys that agree with it.
template <typename KeyOf, typename Before>
void sortByKey(SessionList& list, const KeyOf& keyOf, const Before& before) {
  struct Entry {
    SortKey key;
    SessionList::iterator session;
  };
  std::vector<Entry> entries;
  entries.reserve(list.size());
  for (auto it = list.begin(); it != list.end(); ++it) entries.push_back({keyOf(*it), it});
  std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
    return a.key != b.key ? a.key < b.key : before(*a.session, *b.session);
  });
  for (const Entry& entry : entries) list.splice(list.end(), list, entry.session);
}

// By SDKSessionCmp.
void sortServices(SessionList& list);
// By Session::Compare.
void sortSessions(SessionList& list, SessionSortField field, bool ascending);
