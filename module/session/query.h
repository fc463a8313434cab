// Narrowing, ordering and paging a list of sessions as a request asks.
#pragma once

#include <string>

#include "session/session.h"

// Orders two sessions by one field, as text of bytes. Equal keys keep their order in both
// directions, since lists are sorted stably.
class Session::Compare {
 public:
  Compare(SessionSortField field, bool ascending) : field_(field), ascending_(ascending) {}
  bool operator()(const Session& a, const Session& b) const;

 private:
  SessionSortField field_;
  bool ascending_;
};

// Removes every record that does not contain `filter` in any letter case. False, the list
// unchanged, where the filter cannot be upper-cased.
bool FilterSessionList(const std::string& filter, SessionList& list);

// The field named exactly so; `time` for any other text.
SessionSortField sortFieldOf(const std::string& sortBy);
// Whether `sortDirection` is "ASC" in any letter case.
bool isAscending(const std::string& sortDirection);

// A part of a list, by the numbers of its records counted from 0.
struct Page {
  int start = 0;
  int limit = -1;  // 0 or less: the whole list
};

// Size of the buffers that texts are upper-cased into.
inline constexpr int kUpperCaseBufferSize = 4587;
