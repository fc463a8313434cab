// Filtering, sorting and paging a list of sessions for a request.
#pragma once

#include <string>

#include "session/session.h"

// Compares two sessions by one field, bytewise. Equal keys keep their order in both directions,
// since lists are sorted stably.
class Session::Compare {
 public:
  Compare(SessionSortField field, bool ascending) : field_(field), ascending_(ascending) {}
  bool operator()(const Session& a, const Session& b) const;

 private:
  SessionSortField field_;
  bool ascending_;
};

// Removes every record that does not contain `filter`, ignoring case. False, with the list
// unchanged, if the filter cannot be upper-cased.
bool FilterSessionList(const std::string& filter, SessionList& list);

// The field with exactly this name; `time` for any other text.
SessionSortField sortFieldOf(const std::string& sortBy);
// Whether `sortDirection` is "ASC", ignoring case.
bool isAscending(const std::string& sortDirection);

// A part of a list, by record numbers from 0.
struct Page {
  int start = 0;
  int limit = -1;  // 0 or less: the whole list
};

// Size of the buffers that texts are upper-cased into.
inline constexpr int kUpperCaseBufferSize = 4587;
