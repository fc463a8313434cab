// The queue of cell texts between the sorted sessions and the printed report.
#pragma once

#include <cstdint>

struct LogInfoNode {
  char* text;  // a copy from malloc; never given back
  LogInfoNode* next;
};

// Consistent while both are null or both are set.
struct LogInfoList {
  LogInfoNode* tail;
  LogInfoNode* head;
};

struct LogInfoTable {
  std::int32_t columns;
  LogInfoList* list;
};

// Number of columns, set by each report.
extern std::uint32_t gLogInfoColumns;
// The text last taken off a list, which a pop yields again when it has no other. Null before the
// first.
extern char* gLogInfoLastText;

// An empty list. Its record is never given back.
LogInfoList* newLogInfoList();

// Appends a copy of `text`. Returns `list`, or null with a log line where `list` is null or
// inconsistent.
LogInfoList* LogInfoListAppend(LogInfoList* list, const char* text);

// Takes the first text off `list`. Yields gLogInfoLastText where there is none, with a log line
// where the list is inconsistent.
const char* LogInfoListPop(LogInfoList* list);
// The same for the list of `table`; without a log line where it has none.
const char* LogInfoListPop(LogInfoTable* table);

// Takes off everything that is left. Does not end on a list that has a head and no tail.
void LogInfoListDrain(LogInfoList* list);

// Ends a report: gives the nodes' memory back. No list that has nodes may be used afterwards.
void LogInfoNodesClear();
